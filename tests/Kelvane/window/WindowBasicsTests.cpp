#include "MainViews/ByteCount.h"
#include "MainViews/DropLoading.h"
#include "MainViews/JobText.h"
#include "MainViews/Symbols.h"
#include "WindowHarness.h"

#include <QGuiApplication>
#include <QPalette>
#include <QRawFont>
#include <QtTest/QTest>

#include <set>

namespace kelvane::testing {
namespace {

struct KeyboardTest : WindowHarness {
    QString focusName() const {
        const QQuickItem* focused = window->activeFocusItem();
        return focused != nullptr ? focused->objectName() : QString();
    }
};

TEST_F(KeyboardTest, ArrowKeysInTheSidebarChooseTheNeighbouringRecipe) {
    click(item("recipe-toJPG"));
    ASSERT_TRUE(item("recipeList")->hasActiveFocus());
    QTest::keyClick(window, Qt::Key_Down);
    EXPECT_EQ(store.recipe(), Recipe::toPNG);
    QTest::keyClick(window, Qt::Key_Down);
    QTest::keyClick(window, Qt::Key_Down);
    EXPECT_EQ(store.recipe(), Recipe::toTIFF);
    QTest::keyClick(window, Qt::Key_Up);
    EXPECT_EQ(store.recipe(), Recipe::toHEIC);
    QTest::keyClick(window, Qt::Key_End);
    EXPECT_EQ(store.recipe(), Recipe::unzip);
    QTest::keyClick(window, Qt::Key_Down); // stays on the last
    EXPECT_EQ(store.recipe(), Recipe::unzip);
    QTest::keyClick(window, Qt::Key_Home);
    EXPECT_EQ(store.recipe(), Recipe::toJPG);
}

TEST_F(KeyboardTest, TabReachesEveryControlOfTheWindow) {
    store.seedDemo(RecipeGroup::images);
    std::set<QString> reached;
    for (int press = 0; press < 40; ++press) {
        QTest::keyClick(window, Qt::Key_Tab);
        reached.insert(focusName());
    }
    // The lists pass focus on to their current row.
    EXPECT_TRUE(reached.count(QStringLiteral("recipe-toJPG")));
    for (const char* name :
         {"Add Files", "Clear Finished", "Options", "openButton", "revealButton",
          "queueClearFinished", "qualitySlider", "limitToggleSwitch", "exifToggleSwitch"})
        EXPECT_TRUE(reached.count(QString::fromLatin1(name))) << name;

    store.clearAll();
    reached.clear();
    for (int press = 0; press < 30; ++press) {
        QTest::keyClick(window, Qt::Key_Tab);
        reached.insert(focusName());
    }
    EXPECT_TRUE(reached.count(QStringLiteral("chooseFilesButton")));
}

struct AppearanceTest : WindowHarness {
    ~AppearanceTest() override { QGuiApplication::setPalette(QPalette()); }
};

TEST_F(AppearanceTest, FollowsTheSystemPaletteUnlessForced) {
    QPalette light;
    light.setColor(QPalette::Window, QColor(240, 240, 240));
    QGuiApplication::setPalette(light);
    EXPECT_FALSE(appearance.dark());
    const QColor lightWindow = window->color();
    EXPECT_EQ(lightWindow, appearance.window());

    QPalette dark;
    dark.setColor(QPalette::Window, QColor(40, 40, 44));
    QGuiApplication::setPalette(dark);
    ASSERT_TRUE(waitUntil([&] { return appearance.dark(); }));
    EXPECT_EQ(window->color(), appearance.window());
    EXPECT_LT(window->color().lightnessF(), 0.2);
    EXPECT_GT(appearance.text().lightnessF(), 0.8);

    appearance.force(false);
    EXPECT_FALSE(appearance.dark());
    EXPECT_EQ(window->color(), lightWindow);
    appearance.force(std::nullopt);
    EXPECT_TRUE(appearance.dark());
}

// Decimal units as a file manager counts them; a size line shows both sizes and the change.
TEST(JobText, DecimalUnitsSizeLinesAndLabelsThatFallBack) {
    const std::pair<std::int64_t, const char*> counts[] = {
        {1, "1 byte"},    {999, "999 bytes"},      {48300, "48 KB"},
        {999600, "1 MB"}, {147100000, "147.1 MB"}, {1240000000, "1.24 GB"},
    };
    for (const auto& [bytes, text] : counts)
        EXPECT_EQ(ByteCount::format(bytes), text);
    EXPECT_EQ(JobText::sizeLine(2400000, 1100000), "2.4 MB → 1.1 MB (-54%)");
    EXPECT_EQ(JobText::sizeLine(1000000, 1120000), "1 MB → 1.1 MB (+12%)");
    EXPECT_EQ(JobText::sizeLine(500000, 500000), "500 KB → 500 KB");
    EXPECT_EQ(JobText::sizeLine(0, 984000), "984 KB");
    EXPECT_EQ(JobText::sizeLine(3000, 0), "Zero KB");

    // Labels fall back when there is nothing to name.
    Job job(Recipe::toPNG, {"/tmp/a.png"});
    EXPECT_EQ(JobText::doneLabel(job), "Done");
    EXPECT_EQ(JobText::failureLabel(job), "Something went wrong.");
    job.message = QStringLiteral("It broke.");
    EXPECT_EQ(JobText::failureLabel(job), "It broke.");
    EXPECT_EQ(JobText::percent(0.425), "43%"); // to the nearest whole number
    Job combined(Recipe::imagesToPDF, {"/tmp/a.png", "/tmp/b.png"});
    EXPECT_EQ(JobText::fileTypeSymbol(combined),
              JobText::fileTypeSymbol(Job(Recipe::toPNG, {"/x.pdf"})));
}

TEST(LoadURLs, KeepsLocalFilesInNaturalNameOrderFromUrlsOrAUriList) {
    const QList<QUrl> urls = {
        QUrl::fromLocalFile("/d/Page 10.png"), QUrl("https://example.com/Page 3.png"),
        QUrl::fromLocalFile("/a/page 2.png"),  QUrl::fromLocalFile("/c/Page 1.png"),
        QUrl("mailto:someone@example.com"),
    };
    EXPECT_EQ(loadURLs(urls), (std::vector<std::filesystem::path>{"/c/Page 1.png", "/a/page 2.png",
                                                                  "/d/Page 10.png"}));
    EXPECT_TRUE(loadURLs({QUrl("https://example.com/a.png")}).empty());

    // Found by fuzzing: "file:file:///…" parses as a local file whose path is relative,
    // which would have been taken from wherever the application was started.
    const QByteArray list = "# dragged from a file manager\r\n"
                            "file:///home/u/Scan%2010.png\r\n"
                            "file:///home/u/Scan%209.png\r\n\r\n"
                            "file:file:///tmp/caf///%C3%A9%20\n";
    EXPECT_EQ(loadURLs(urlsFromUriList(list)),
              (std::vector<std::filesystem::path>{"/home/u/Scan 9.png", "/home/u/Scan 10.png"}));
}

TEST(Symbols, EverySymbolTheWindowUsesHasAGlyphInTheIconFont) {
    const QString family = Symbols::fontFamily();
    ASSERT_FALSE(family.isEmpty());
    const QRawFont font = QRawFont::fromFont(QFont(family));
    ASSERT_TRUE(font.isValid());
    std::vector<std::string> used;
    for (Recipe recipe : Recipe::allCases())
        used.emplace_back(recipe.symbol());
    for (RecipeGroup group : RecipeGroup::allCases())
        used.emplace_back(group.symbol());
    for (const QString& name : Symbols::names())
        used.push_back(name.toStdString());
    for (const std::string& name : used) {
        EXPECT_TRUE(Symbols::isKnown(name)) << name;
        EXPECT_TRUE(font.supportsCharacter(Symbols::glyph(name).at(0))) << name;
    }
}

} // namespace
} // namespace kelvane::testing
