#include "DropDock/DraggedFiles.h"
#include "DropDock/DropDock.h"
#include "Kelvane/DropDock/DockFakes.h"
#include "Store/Store.h"
#include "fixtures/TempFolder.h"

#include <QUrl>

#include <gtest/gtest.h>

namespace kelvane::testing {
namespace {

class DropDockTest : public ::testing::Test {
protected:
    DropDockTest() {
        store.setRunner([](auto&&...) { return std::vector<std::filesystem::path>{}; });
        dock.start();
    }

    // The button goes down, then the pointer drags `files` (nothing when empty).
    void pressAndDrag(std::vector<std::filesystem::path> files) {
        source.press();
        source.drag();
        if (!files.empty())
            source.offer(std::move(files));
        source.drag();
    }
    // Up to the poll that sees the button up.
    void release() {
        source.pressed = false;
        while (clock.repeating())
            clock.advance(1);
    }
    FakePanel& panel() { return *panelMade; }

    fixtures::TempFolder temp;
    std::filesystem::path photo = temp.write("Photo.jpg", "jpeg");
    std::filesystem::path clip = temp.write("Clip.mov", "mov");
    Store store;
    FakeDragSource source;
    FakeClock clock;
    bool enabled = true;
    double fittingHeight = 380;
    FakePanel* panelMade = nullptr;
    int panelsMade = 0;
    DropDock dock{{source,
                   clock,
                   store,
                   [this] { return enabled; },
                   [this] {
                       ++panelsMade;
                       auto panel = std::make_unique<FakePanel>(clock, fittingHeight);
                       panelMade = panel.get();
                       return panel;
                   },
                   {}}};
};

TEST_F(DropDockTest, DragWithNewFilesShowsOnceAtTheRightEdgeAndIsNeverRefilled) {
    source.press();
    source.drag();
    EXPECT_FALSE(dock.visible()) << "nothing new was put up for dragging since the press";
    EXPECT_TRUE(clock.repeating());

    source.offer({clip});
    clock.advance(DropDock::pollMs);
    ASSERT_TRUE(dock.visible());
    EXPECT_EQ(dock.model()->urls(), std::vector{clip});
    EXPECT_EQ(dock.model()->recipes(), Recipe::suggestions({clip}));
    EXPECT_TRUE(dock.model()->choosing());
    ASSERT_TRUE(panel().onScreen);
    // Slides in from beyond the edge, 10 points in from the free area's right edge, centred.
    ASSERT_EQ(panel().moves.size(), 1U);
    EXPECT_EQ(panel().moves[0].to, QRectF(1920 - 232 - 10, 555 - 190, 232, 380));
    EXPECT_EQ(panel().moves[0].ms, 220);
    EXPECT_EQ(panel().moves[0].opacity, 1.0);

    // More files in the same drag, and further motion: the dock keeps the first drag.
    source.offer({photo});
    source.drag();
    clock.advance(5 * DropDock::pollMs);
    EXPECT_EQ(dock.model()->urls(), std::vector{clip});
    EXPECT_EQ(source.reads, 1);
    EXPECT_EQ(panel().rebuilds, 1);
}

TEST_F(DropDockTest, ReleaseHidesAfterAPauseThatIsLongerOnceADropWasAccepted) {
    pressAndDrag({photo});
    ASSERT_TRUE(dock.visible());
    release();
    EXPECT_FALSE(clock.repeating()) << "no polling once the button is up";
    clock.advance(DropDock::hideWhileChoosingMs - 1);
    EXPECT_TRUE(dock.visible());
    clock.advance(1);
    EXPECT_FALSE(dock.visible());
    EXPECT_TRUE(panel().onScreen) << "still sliding out";
    EXPECT_EQ(panel().moves.back().to.left(), 1920 - 10 + 20);
    EXPECT_EQ(panel().moves.back().opacity, 0.0);
    clock.advance(DropDock::slideOutMs);
    EXPECT_FALSE(panel().onScreen);

    // A drop on a tile queues the files from the dock and confirms until 1.4 s after.
    pressAndDrag({clip});
    ASSERT_TRUE(dock.visible());
    const Recipe chosen = dock.model()->recipes().at(1);
    dock.accept(QString::fromUtf8(chosen.rawValue()));
    EXPECT_EQ(dock.model()->acceptedTitle(), QString::fromUtf8(chosen.title()));
    ASSERT_EQ(store.jobs().size(), 1U);
    EXPECT_EQ(store.jobs()[0].recipe, chosen);
    EXPECT_EQ(store.jobs()[0].inputs, std::vector{clip});
    EXPECT_TRUE(store.jobs()[0].fromDock);
    clock.advance(1000);
    release(); // the hide now counts from the release
    clock.advance(DropDock::hideAfterAcceptMs - 1);
    EXPECT_TRUE(dock.visible());
    clock.advance(1);
    EXPECT_FALSE(dock.visible());
}

TEST_F(DropDockTest, ShowsNothingWhenOffOrWhenTheDragHoldsNoFiles) {
    enabled = false;
    pressAndDrag({photo});
    EXPECT_FALSE(dock.visible());
    release();

    enabled = true;
    pressAndDrag({}); // text, say: the count moves but no files come
    source.offer({});
    clock.advance(3 * DropDock::pollMs);
    EXPECT_FALSE(dock.visible());
    EXPECT_EQ(panelsMade, 0);
    EXPECT_EQ(source.reads, 1) << "a drag is read once";
}

TEST_F(DropDockTest, ANewShowDuringTheSlideOutKeepsThePanel) {
    pressAndDrag({photo});
    release();
    clock.advance(DropDock::hideWhileChoosingMs + DropDock::slideOutMs / 2);
    ASSERT_FALSE(dock.visible());
    pressAndDrag({clip});
    clock.advance(DropDock::slideOutMs);
    EXPECT_TRUE(dock.visible());
    EXPECT_TRUE(panel().onScreen);
    EXPECT_EQ(dock.model()->urls(), std::vector{clip});
    EXPECT_EQ(panelsMade, 1);
}

TEST_F(DropDockTest, OffersAtMostNineRecipesInAPanelNoTallerThanTheScreenAllows) {
    source.desktop = {{QRect(0, 0, 1280, 800), QRect(0, 0, 1280, 800)},
                      {QRect(1280, 0, 1024, 420), QRect(1280, 20, 1024, 400)}};
    source.at = QPoint(1500, 200);
    fittingHeight = 520;
    const auto heif = temp.write("Shot.heif", "heif");
    pressAndDrag({heif});
    ASSERT_EQ(Recipe::suggestions({heif}).size(), 11U);
    const auto& offered = dock.model()->recipes();
    ASSERT_EQ(offered.size(), 9U);
    EXPECT_EQ(std::count(offered.begin(), offered.end(), Recipe::imagesToPDF), 0);
    EXPECT_EQ(std::count(offered.begin(), offered.end(), Recipe::zip), 0);
    EXPECT_EQ(dock.model()->tiles().size(), 9);
    // On the screen under the pointer, capped at its free height less 40.
    EXPECT_EQ(panel().moves[0].to, QRectF(1280 + 1024 - 242, 20 + 200 - 180, 232, 360));
}

// A drag's list is read by hand for speed: it must agree with how sources write URLs.
TEST(DraggedFiles, AreThePathsSourcesEncodedAndNothingElse) {
    QByteArray list = "# from a file manager\r\n";
    const std::vector<std::string> names = {"/tmp/café au lait.jpg", "/tmp/100% #1 ?.png",
                                            "/tmp/a+b=c&d;e,[f]@g.txt"};
    for (const auto& name : names)
        list += QUrl::fromLocalFile(QString::fromStdString(name)).toEncoded() + "\r\n";
    // A name that is not UTF-8 keeps its bytes.
    list += "file:///tmp/%FF%fe%20raw.bin\nfile://localhost/tmp/host.png\nfile:/tmp/"
            "short.png\nFILE:///tmp/upper.png\n"
            "file://server/share/remote.png\nhttps://example.com/web.png\n"
            "file:file:///tmp/relative.png\nfile:///tmp/zero%00.png\nfile:///tmp/cut%2\n"
            "file:///tmp/bare space.png\nfile:///tmp/query.png?size=2#top\n\n";

    std::vector<std::filesystem::path> expected(names.begin(), names.end());
    for (const char* path : {"/tmp/\xff\xfe raw.bin", "/tmp/host.png", "/tmp/short.png",
                             "/tmp/upper.png", "/tmp/query.png"})
        expected.emplace_back(path);
    EXPECT_EQ(draggedFiles(list), expected);
}

} // namespace
} // namespace kelvane::testing
