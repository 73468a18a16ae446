#include "DropDock/DockSnapshot.h"
#include "DropDock/DropDock.h"
#include "DropDock/PinnedDock.h"
#include "Kelvane/DropDock/DockFakes.h"
#include "MainViews/Appearance.h"
#include "MainViews/Symbols.h"
#include "MainViews/WindowModel.h"
#include "Store/Store.h"
#include "fixtures/TempFolder.h"

#include <QElapsedTimer>
#include <QMimeData>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include <gtest/gtest.h>

namespace kelvane::testing {
namespace {

// The dock's real views in a QML engine under the offscreen platform, over a real store.
class DockViewTest : public ::testing::Test {
protected:
    DockViewTest() {
        store.setRunner([](auto&&...) { return std::vector<std::filesystem::path>{}; });
        Symbols::fontFamily();
        engine.rootContext()->setContextProperty(QStringLiteral("store"), &window);
        engine.rootContext()->setContextProperty(QStringLiteral("appearance"), &appearance);
    }

    static QQuickItem* find(QQuickWindow* in, const QString& name) {
        return findItem(in->contentItem(), name);
    }

    fixtures::TempFolder temp;
    Store store;
    Appearance appearance;
    WindowModel window{store};
    QQmlEngine engine;
    FakeDragSource source;
    FakeClock clock;
    DropDock dock{{source,
                   clock,
                   store,
                   [] { return true; },
                   {},
                   [this](DockModel& model, std::optional<Recipe> highlight, bool dark) {
                       return renderDockView(engine, model, highlight, dark);
                   }}};
};

TEST_F(DockViewTest, SnapshotDrawsTheFilesAndOnlyTheSecondTileHotOnEitherBackdrop) {
    const std::filesystem::path desk = "/Users/demo/Desktop";
    for (const bool dark : {false, true}) {
        appearance.force(dark);
        const QImage picture = dock.renderSnapshot(
            {desk / "IMG_4021.HEIC", desk / "IMG_4022.HEIC", desk / "Hero banner.png"}, dark);
        ASSERT_FALSE(picture.isNull());
        if (qEnvironmentVariableIsSet("DOCK_PICTURES"))
            picture.save(qEnvironmentVariable("DOCK_PICTURES") +
                         (dark ? "/dark.png" : "/light.png"));
        EXPECT_EQ(picture.width(), qRound((232 + 60) * picture.devicePixelRatio()));
        // Header, nine tiles and the padding make a tall picture.
        EXPECT_GT(picture.height(), 9 * 40 + 60);
        EXPECT_EQ(qGray(picture.pixel(4, 4)), dark ? 41 : 219);
    }
    EXPECT_EQ(dock.model()->fileLine(), QStringLiteral("3 items · drop on a recipe"));
    EXPECT_EQ(dock.model()->recipes().size(), 9U);

    dock.renderSnapshot({"/x/Clip.mov"}, false);
    EXPECT_EQ(dock.model()->fileLine(), QStringLiteral("Clip.mov"));
}

TEST_F(DockViewTest, PinnedTabWidensOnAFileDragAndADropOnATileQueuesTheFiles) {
    const auto photo = temp.write("Beach.jpg", "jpeg");
    PinnedDock pinned(engine, dock);
    pinned.show();
    QQuickWindow* tab = pinned.window();
    ASSERT_NE(tab, nullptr);
    ASSERT_TRUE(waitUntil([&] { return tab->isExposed(); }));
    EXPECT_EQ(tab->width(), PinnedDock::tabWidth);

    QMimeData text;
    text.setText(QStringLiteral("just words"));
    QDragEnterEvent words(QPoint(5, 20), Qt::CopyAction, &text, Qt::LeftButton, {});
    QCoreApplication::sendEvent(tab, &words);
    EXPECT_FALSE(pinned.expanded()) << "only files widen the tab";
    QDragLeaveEvent away;
    QCoreApplication::sendEvent(tab, &away);

    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(QString::fromStdString(photo.string()))});
    QDragEnterEvent enter(QPoint(5, 20), Qt::CopyAction, &files, Qt::LeftButton, {});
    QCoreApplication::sendEvent(tab, &enter);
    ASSERT_TRUE(pinned.expanded());
    EXPECT_EQ(tab->width(), 242);
    EXPECT_GT(tab->height(), 9 * 40) << "as tall as its nine tiles";
    EXPECT_EQ(dock.model()->urls(), std::vector{photo});

    ASSERT_TRUE(waitUntil([&] { return tab->contentItem()->width() == 242; }));
    tab->grabWindow(); // lays the tiles out
    QQuickItem* tile = find(tab, QStringLiteral("dockTile2"));
    ASSERT_NE(tile, nullptr);
    const QPoint onTile =
        tile->mapToScene(QPointF(tile->width() / 2, tile->height() / 2)).toPoint();
    QDragMoveEvent over(onTile, Qt::CopyAction, &files, Qt::LeftButton, {});
    QCoreApplication::sendEvent(tab, &over);
    EXPECT_TRUE(tile->property("hot").toBool());
    QDropEvent dropped(onTile, Qt::CopyAction | Qt::MoveAction, &files, Qt::LeftButton, {});
    QCoreApplication::sendEvent(tab, &dropped);
    EXPECT_EQ(dropped.dropAction(), Qt::CopyAction) << "never a move of the originals";

    const Recipe third = Recipe::suggestions({photo}).at(2);
    ASSERT_EQ(store.jobs().size(), 1U);
    EXPECT_EQ(store.jobs()[0].recipe, third);
    EXPECT_TRUE(store.jobs()[0].fromDock);
    EXPECT_TRUE(find(tab, QStringLiteral("dockConfirmation"))->isVisible());
    EXPECT_EQ(dock.model()->acceptedTitle(), QString::fromUtf8(third.title()));
    EXPECT_TRUE(waitUntil([&] { return !pinned.expanded(); })) << "narrows after the drop";
    EXPECT_EQ(tab->width(), PinnedDock::tabWidth);
}

} // namespace
} // namespace kelvane::testing
