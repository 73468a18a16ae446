#include "WindowHarness.h"
#include "fixtures/PdfProbe.h"

#include <QElapsedTimer>
#include <QSignalSpy>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace kelvane::testing {
namespace {

using State = Job::State;
namespace fs = std::filesystem;

struct WorkspaceTest : WindowHarness {};

std::vector<QString> inputNames(const Store& store) {
    std::vector<QString> names;
    for (const Job& job : store.jobs())
        names.push_back(job.title());
    return names;
}

// The queue follows the store with one insertion per batch: a folder of 10 000 photos is
// one change for the list, not 10 000. Prints how long the rows took to arrive.
TEST_F(WorkspaceTest, DroppedFilesQueueInNaturalNameOrderAndTheSubtitleCountsThem) {
    EXPECT_EQ(textOf("windowSubtitle"), "Offline file converter");
    EXPECT_FALSE(shows("workingCapsule"));
    store.setRecipe(Recipe::docToTXT);
    dropFiles({temp.write("Page 10.txt", "ten\n"), temp.write("page 2.txt", "two\n"),
               temp.write("Page 1.txt", "one\n")});
    // Results come back through the event loop, so all three are still active here.
    EXPECT_EQ(textOf("windowSubtitle"), "3 converting…");
    EXPECT_TRUE(shows("workingCapsule"));
    // Ending with the name, so that the platform does not add it a second time.
    EXPECT_EQ(window->title(), "3 converting… — Kelvane");

    ASSERT_EQ(inputNames(store), (std::vector<QString>{"Page 1.txt", "page 2.txt", "Page 10.txt"}));
    for (const Job& job : store.jobs()) {
        EXPECT_EQ(job.recipe, Recipe::docToTXT);
        EXPECT_FALSE(job.fromDock);
    }
    EXPECT_EQ(inRow(0, "jobTitle")->property("text").toString(), "Page 1.txt");
    EXPECT_EQ(inRow(2, "jobTitle")->property("text").toString(), "Page 10.txt");

    ASSERT_TRUE(waitForIdle());
    EXPECT_EQ(textOf("windowSubtitle"), "Offline file converter");
    EXPECT_FALSE(shows("workingCapsule"));
    for (const Job& job : store.jobs())
        EXPECT_EQ(job.state, State::done) << job.message.value_or("").toStdString();
    EXPECT_EQ(fixtures::readFile(temp / "Page 10 (converted).txt").substr(0, 3), "ten");
    EXPECT_EQ(inRow(0, "doneLine")->property("text").toString(), "Page 1 (converted).txt");

    store.seedDemo(RecipeGroup::images); // one running, one queued
    EXPECT_EQ(item("workingCapsule")->childItems().front()->property("text").toString(),
              "2 working");
}

TEST_F(WorkspaceTest, FilesTheRecipeCannotTakeBecomeFailedRowsSayingWhatItNeeds) {
    store.setRecipe(Recipe::docToPDF);
    dropFiles({temp.write("photo.png", "not really"), temp.write("notes.txt", "Hello there.\n")});

    // The accepted file stands on top, the rejected one below it, already failed.
    ASSERT_EQ(store.jobs().size(), 2u);
    EXPECT_EQ(store.jobs()[1].state, State::failed);
    EXPECT_EQ(inRow(1, "failureLine")->property("text").toString(),
              "Document to PDF needs documents.");
    EXPECT_TRUE(inRow(1, "failureLine")->isVisible());
    EXPECT_TRUE(inRow(1, "retryButton")->isVisible());

    ASSERT_TRUE(waitForIdle());
    ASSERT_EQ(store.jobs()[0].state, State::done) << store.jobs()[0].message->toStdString();
    fixtures::PdfProbe pdf(store.jobs()[0].outputs.front());
    ASSERT_TRUE(pdf.isValid());
    EXPECT_TRUE(pdf.text(0).contains("Hello there."));
}

TEST_F(WorkspaceTest, ADragOverTheWorkspaceTurnsTheDropZoneToRelease) {
    store.setRecipe(Recipe::docToPDF);
    EXPECT_EQ(textOf("dropTitle"), "Drop files to document to pdf");
    dragOver({QUrl::fromLocalFile(QString::fromStdString(temp.write("a.txt", "a").string()))});
    EXPECT_TRUE(item("dropZone")->property("targeted").toBool());
    EXPECT_EQ(textOf("dropTitle"), "Release to document to pdf");
    dragAway();
    EXPECT_FALSE(item("dropZone")->property("targeted").toBool());
    EXPECT_EQ(textOf("dropTitle"), "Drop files to document to pdf");
    EXPECT_TRUE(store.jobs().empty());

    store.seedDemo(RecipeGroup::documents);
    dragOver({QUrl::fromLocalFile(QString::fromStdString((temp / "a.txt").string()))});
    EXPECT_EQ(textOf("compactTitle"), "Release to document to pdf");
    dragAway();
    EXPECT_EQ(textOf("compactTitle"), "Drop more files here");
}

TEST_F(WorkspaceTest, TheQueueReplacesTheHintsOnceThereAreJobs) {
    drop({QUrl(QStringLiteral("https://example.com/photo.png"))}); // no local file: no job
    drop({});
    EXPECT_TRUE(store.jobs().empty());
    EXPECT_TRUE(shows("hintStrip"));
    EXPECT_FALSE(shows("queueView"));
    EXPECT_TRUE(shows("chooseFilesButton"));
    EXPECT_FALSE(item("dropZone")->property("compact").toBool());
    EXPECT_FALSE(shows("savedSummary")); // until something was saved

    store.seedDemo(RecipeGroup::images);
    EXPECT_FALSE(shows("hintStrip"));
    EXPECT_TRUE(shows("queueView"));
    EXPECT_TRUE(item("dropZone")->property("compact").toBool());
    EXPECT_FALSE(shows("chooseFilesButton"));
    EXPECT_EQ(item("queueList")->property("count").toInt(), 6);
    EXPECT_TRUE(shows("savedSummary"));
    EXPECT_EQ(model.savedText(), "7.4 MB");

    store.clearAll();
    EXPECT_TRUE(shows("hintStrip"));
    EXPECT_FALSE(item("dropZone")->property("compact").toBool());
}

TEST_F(WorkspaceTest, ClearFinishedWaitsForAFinishedJobAndKeepsTheActiveOnes) {
    QQuickItem* clear = item("Clear Finished");
    EXPECT_FALSE(clear->isEnabled());
    EXPECT_FALSE(shows("queueClearFinished"));

    store.seedDemo(RecipeGroup::video);
    EXPECT_TRUE(clear->isEnabled());
    click(clear);
    EXPECT_EQ(store.jobs().size(), 3u);
    EXPECT_EQ(store.finishedCount(), 0);
    EXPECT_FALSE(clear->isEnabled());
}

TEST_F(WorkspaceTest, TheAcceptLineAndHeaderFollowTheChosenRecipe) {
    const std::pair<Recipe, const char*> lines[] = {
        {Recipe::unzip, "ZIP archives"},
        {Recipe::pdfToJPG, "PDF documents"},
        {Recipe::imagesToPDF, "JPG, PNG, HEIC, TIFF, WebP, AVIF… all become one PDF"},
        {Recipe::toWAV, "MP3, M4A, WAV, AIFF, CAF, FLAC — or a video’s soundtrack"},
        {Recipe::video720, "MOV, MP4, MKV, WebM and other videos this computer plays"},
        {Recipe::zip, "Any files or folders"},
    };
    click(item("recipe-stripMetadata")); // choosing in the sidebar sets the store's recipe
    EXPECT_EQ(store.recipe(), Recipe::stripMetadata);
    EXPECT_EQ(textOf("dropTitle"), "Drop files to strip metadata");
    for (const auto& [recipe, line] : lines) {
        store.setRecipe(recipe);
        EXPECT_EQ(textOf("acceptLine"), QString::fromUtf8(line));
        EXPECT_EQ(textOf("recipeTitle"), QString::fromUtf8(recipe.title().data()));
        EXPECT_EQ(item("recipeList")->property("currentIndex").toInt(),
                  static_cast<int>(static_cast<Recipe::Value>(recipe)));
    }
}

TEST_F(WorkspaceTest, CompressToZipAlsoOffersToChooseAFolder) {
    EXPECT_FALSE(shows("chooseFolderButton"));
    store.setRecipe(Recipe::zip);
    ASSERT_TRUE(shows("chooseFolderButton"));
    QObject* chooser = object("folderChooser");
    click(item("chooseFolderButton"));
    ASSERT_TRUE(waitUntil([&] { return chooser->property("visible").toBool(); }));

    const fs::path folder = temp.path() / "Holiday";
    fs::create_directory(folder);
    temp.write("Holiday/a.txt", "a");
    chooser->setProperty("selectedFolder", QUrl::fromLocalFile(QString::fromStdString(folder)));
    QMetaObject::invokeMethod(chooser, "accept");
    ASSERT_EQ(store.jobs().size(), 1u);
    EXPECT_EQ(store.jobs()[0].recipe, Recipe::zip);
    EXPECT_EQ(store.jobs()[0].inputs, std::vector<fs::path>{folder});

    store.setRecipe(Recipe::toPNG);
    EXPECT_FALSE(shows("chooseFolderButton"));
}

TEST_F(WorkspaceTest, AFolderOfMoreThanTenThousandFilesIsAskedAboutOnceUnlessQueuedQuietly) {
    // The two jobs that start pretend to convert; the rest wait, as the test never turns the
    // event loop that would start them.
    store.setRunner([](auto&&...) { return std::vector<fs::path>{}; });
    const fs::path scans = temp.makeFolder("Scans");
    for (std::size_t number = 0; number <= Store::askAbove; ++number)
        ::close(::creat((scans / ("scan " + std::to_string(number) + ".png")).c_str(), 0644));
    store.setRecipe(Recipe::toJPG);
    std::vector<int> asked;
    QObject::connect(&model, &WindowModel::manyFilesToConfirm,
                     [&](int count) { asked.push_back(count); });
    QObject* dialog = object("manyFilesDialog");
    const QList<QUrl> folder{QUrl::fromLocalFile(QString::fromStdString(scans))};

    drop(folder);
    ASSERT_EQ(asked, std::vector<int>{10'001});
    ASSERT_TRUE(waitUntil([&] { return dialog->property("visible").toBool(); }));
    QMetaObject::invokeMethod(dialog, "reject");
    EXPECT_TRUE(store.jobs().empty());

    drop(folder);
    ASSERT_EQ(asked.size(), 2u);
    ASSERT_TRUE(waitUntil([&] { return dialog->property("visible").toBool(); }));
    QSignalSpy inserted(model.jobs(), &QAbstractItemModel::rowsInserted);
    QElapsedTimer timer;
    timer.start();
    QMetaObject::invokeMethod(dialog, "accept");
    ASSERT_EQ(store.jobs().size(), 10'001u);
    QCoreApplication::processEvents();
    std::printf("10 001 rows arrived in %lld ms\n", static_cast<long long>(timer.elapsed()));
    EXPECT_EQ(inserted.count(), 1) << "the whole folder arrives as one insertion";
    EXPECT_EQ(inRow(0, QStringLiteral("jobTitle"))->property("text").toString(),
              QStringLiteral("scan 0.png"));

    model.open({scans}, Recipe::resize, true);
    EXPECT_EQ(asked.size(), 2u);
    ASSERT_EQ(store.jobs().size(), 20'002u);
    EXPECT_EQ(store.jobs().front().recipe, Recipe::resize);
}

} // namespace
} // namespace kelvane::testing
