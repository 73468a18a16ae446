#include "WindowHarness.h"

#include <QtTest/QTest>

namespace kelvane::testing {
namespace {

using State = Job::State;

struct QueueRowTest : WindowHarness {
    QString rowText(int index, const char* name) const {
        return inRow(index, QString::fromLatin1(name))->property("text").toString();
    }
    QObject* menuItem(int index, const char* name) const {
        const QList<QObject*> found = all(row(index), QString::fromLatin1(name));
        if (found.isEmpty())
            throw std::runtime_error(std::string("no menu item ") + name);
        return found.front();
    }
    static QColor textColour(QObject* menuItem) {
        const auto* label = menuItem->property("contentItem").value<QQuickItem*>();
        return label != nullptr ? label->property("color").value<QColor>() : QColor();
    }
    // Opens the row's context menu with a right click; what it offers shows while open.
    void openMenu(int index) {
        click(row(index), Qt::RightButton);
        QObject* menu = all(row(index), QStringLiteral("jobMenu")).value(0);
        ASSERT_NE(menu, nullptr);
        ASSERT_TRUE(waitUntil([&] { return menu->property("opened").toBool(); }));
    }
    void closeMenu(int index) {
        QObject* menu = all(row(index), QStringLiteral("jobMenu")).value(0);
        QTest::keyClick(window, Qt::Key_Escape);
        waitUntil([&] { return !menu->property("visible").toBool(); });
        QTest::qWait(50);
    }
};

TEST_F(QueueRowTest, EachStateShowsItsOwnStatusLineAndARunningRowCanBeStopped) {
    store.seedDemo(RecipeGroup::images);
    EXPECT_TRUE(inRow(0, "percentLine")->isVisible());
    EXPECT_EQ(rowText(0, "percentLine"), "64%");
    EXPECT_FALSE(inRow(0, "doneLine")->isVisible());
    EXPECT_EQ(rowText(1, "doneLine"), "Hero banner (shrunk).jpg");
    EXPECT_EQ(rowText(1, "sizeLine"), "6.8 MB → 984 KB (-86%)");
    EXPECT_TRUE(inRow(1, "openButton")->isVisible());
    EXPECT_FALSE(inRow(1, "retryButton")->isVisible());
    EXPECT_EQ(rowText(4, "jobTitle"), "4 files");
    EXPECT_EQ(rowText(4, "doneLine"), "Images.pdf");
    EXPECT_TRUE(inRow(5, "waitingLine")->isVisible());
    EXPECT_EQ(rowText(5, "waitingLine"), "Waiting…");
    EXPECT_FALSE(inRow(5, "openButton")->isVisible());
    // A running row can be stopped, and then tried again.
    EXPECT_FALSE(inRow(1, "stopButton")->isVisible());
    click(inRow(0, "stopButton"));
    EXPECT_EQ(store.jobs()[0].state, State::stopped);
    EXPECT_FALSE(inRow(0, "percentLine")->isVisible());
    EXPECT_TRUE(inRow(0, "stoppedLine")->isVisible());
    EXPECT_EQ(rowText(0, "stoppedLine"), "Stopped");
    EXPECT_TRUE(inRow(0, "retryButton")->isVisible());

    store.seedDemo(RecipeGroup::documents);
    EXPECT_TRUE(inRow(3, "failureLine")->isVisible());
    EXPECT_EQ(rowText(3, "failureLine"), "Convert to Plain Text needs documents.");
    EXPECT_TRUE(inRow(3, "retryButton")->isVisible());
    EXPECT_EQ(rowText(0, "sizeLine"), "48 KB → 212 KB (+339%)");
}

TEST_F(QueueRowTest, OpenAndShowInFolderActOnTheResultsOfThatRow) {
    store.setRecipe(Recipe::docToTXT);
    dropFiles({temp.write("first.txt", "1"), temp.write("second.txt", "2")});
    ASSERT_TRUE(waitForIdle());
    ASSERT_EQ(store.jobs()[1].state, State::done);

    click(inRow(1, "openButton"));
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_EQ(opened[0], temp / "second (converted).txt");
    EXPECT_TRUE(std::filesystem::exists(opened[0]));

    click(inRow(0, "revealButton"));
    ASSERT_EQ(revealed.size(), 1u);
    EXPECT_EQ(revealed[0], std::vector{temp / "first (converted).txt"});
}

TEST_F(QueueRowTest, TryAgainRequeuesTheSameInputsAsANewJob) {
    store.setRecipe(Recipe::docToTXT);
    const auto damaged = temp.write("Broken.docx", "PK\x03\x04 this is no zip package");
    dropFiles({damaged});
    ASSERT_TRUE(waitForIdle());
    ASSERT_EQ(store.jobs().size(), 1u);
    const Job failed = store.jobs()[0];
    ASSERT_EQ(failed.state, State::failed);
    EXPECT_EQ(rowText(0, "failureLine"), *failed.message);

    store.setRecipe(Recipe::docToPDF); // the retry keeps the job's own recipe
    click(inRow(0, "retryButton"));
    ASSERT_EQ(store.jobs().size(), 1u);
    const Job again = store.jobs()[0];
    EXPECT_NE(again.id, failed.id);
    EXPECT_EQ(again.inputs, failed.inputs);
    EXPECT_EQ(again.recipe, Recipe::docToTXT);
    EXPECT_FALSE(again.fromDock);
    ASSERT_TRUE(waitForIdle());
    EXPECT_EQ(store.jobs()[0].message, failed.message);
}

TEST_F(QueueRowTest, RemoveFromQueueAndDeleteAreRefusedWhileAJobRuns) {
    store.seedDemo(RecipeGroup::documents); // done, done, running, failed
    openMenu(2);                            // running
    EXPECT_FALSE(menuItem(2, "menuRemove")->property("enabled").toBool());
    EXPECT_TRUE(menuItem(2, "menuRemove")->property("visible").toBool());
    EXPECT_FALSE(menuItem(2, "menuOpen")->property("visible").toBool());
    EXPECT_FALSE(menuItem(2, "menuRetry")->property("visible").toBool());
    for (const bool dark : {false, true}) { // looks disabled in either appearance
        appearance.force(dark);
        const QColor disabled = textColour(menuItem(2, "menuRemove"));
        EXPECT_TRUE(disabled.isValid());
        EXPECT_NE(disabled, appearance.text()) << (dark ? "dark" : "light");
        EXPECT_LT(disabled.alphaF(), 0.8) << (dark ? "dark" : "light");
    }
    appearance.force(std::nullopt);
    closeMenu(2);

    openMenu(0); // done
    EXPECT_TRUE(menuItem(0, "menuRemove")->property("enabled").toBool());
    EXPECT_EQ(textColour(menuItem(0, "menuRemove")), appearance.text());
    EXPECT_TRUE(menuItem(0, "menuOpen")->property("visible").toBool());
    EXPECT_TRUE(menuItem(0, "menuReveal")->property("visible").toBool());
    EXPECT_FALSE(menuItem(0, "menuRetry")->property("visible").toBool());
    closeMenu(0);

    openMenu(3); // failed
    EXPECT_TRUE(menuItem(3, "menuRetry")->property("visible").toBool());
    EXPECT_FALSE(menuItem(3, "menuOpen")->property("visible").toBool());
    EXPECT_TRUE(menuItem(3, "menuRemove")->property("enabled").toBool());
    closeMenu(3);

    model.jobs()->remove(2);
    EXPECT_EQ(store.jobs().size(), 4u);
    EXPECT_EQ(store.jobs()[2].state, State::running);

    QMetaObject::invokeMethod(menuItem(0, "menuRemove"), "triggered");
    ASSERT_EQ(store.jobs().size(), 3u);
    EXPECT_EQ(store.jobs()[0].title(), "Meeting notes.rtf");

    // Delete removes the selected row only when it has finished.
    store.seedDemo(RecipeGroup::documents);
    click(row(2)); // running
    QTest::keyClick(window, Qt::Key_Delete);
    EXPECT_EQ(store.jobs().size(), 4u);

    click(row(1)); // done
    EXPECT_EQ(item("queueList")->property("currentIndex").toInt(), 1);
    QTest::keyClick(window, Qt::Key_Delete);
    ASSERT_EQ(store.jobs().size(), 3u);
    EXPECT_EQ(store.jobs()[1].title(), "Invoice 0142.pdf");
}

} // namespace
} // namespace kelvane::testing
