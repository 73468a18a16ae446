// The Drop Dock on a real X server: a file dragged in another application, driven by
// xdotool, slides the dock in, and a drop on one of its tiles queues the job. Starts its
// own Xvfb (and openbox, when installed); skipped where no X server can be started.
#include "DropDock/DesktopDock.h"
#include "DropDock/PinnedDock.h"
#include "Kelvane/DropDock/DockFakes.h"
#include "MainViews/Appearance.h"
#include "MainViews/Symbols.h"
#include "MainViews/WindowModel.h"
#include "Store/Store.h"
#include "fixtures/TempFolder.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScopeGuard>

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

// Xlib's headers define macros that clash with Qt's: they come last.
#include <X11/Xlib.h>

extern char** environ;

namespace kelvane::testing {
namespace {

// The virtual desktop the tests run on.
struct Desktop {
    pid_t server = 0;
    pid_t windowManager = 0;
    std::string whyNot;
};
Desktop desktop;

pid_t spawn(std::vector<std::string> arguments) {
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    return posix_spawnp(&pid, argv[0], nullptr, nullptr, argv.data(), environ) == 0 ? pid : 0;
}

// Xvfb picks a free display and writes its number to a pipe once it accepts clients.
Desktop startDesktop() {
    Desktop started;
    int ready[2];
    if (pipe(ready) != 0)
        return {0, 0, "no pipe for Xvfb"};
    started.server = spawn({"Xvfb", "-displayfd", std::to_string(ready[1]), "-screen", "0",
                            "1280x800x24", "-nolisten", "tcp"});
    close(ready[1]);
    char number[16] = {};
    pollfd waiting{ready[0], POLLIN, 0};
    const bool answered = started.server != 0 && poll(&waiting, 1, 15000) == 1 &&
                          read(ready[0], number, sizeof number - 1) > 0;
    close(ready[0]);
    if (!answered) {
        if (started.server != 0)
            kill(started.server, SIGTERM);
        return {0, 0, "no X server could be started (is Xvfb installed?)"};
    }
    setenv("DISPLAY", (":" + std::string(number, std::strcspn(number, "\n"))).c_str(), 1);
    started.windowManager = spawn({"openbox"});
    usleep(300000);
    return started;
}

void stopDesktop() {
    for (const pid_t pid : {desktop.windowManager, desktop.server})
        if (pid != 0) {
            kill(pid, SIGTERM);
            waitpid(pid, nullptr, 0);
        }
}

// Runs xdotool while this process keeps handling its events (the drop lands here).
void xdotool(const QStringList& arguments) {
    QProcess tool;
    tool.start(QStringLiteral("xdotool"), arguments);
    ASSERT_TRUE(waitUntil([&] { return tool.state() == QProcess::NotRunning; }));
    ASSERT_EQ(tool.exitCode(), 0) << tool.readAllStandardError().toStdString();
}

// Pointer motion to `to` in small steps, as a hand would drag.
QStringList glide(QPoint from, QPoint to) {
    QStringList steps;
    constexpr int count = 12;
    for (int step = 1; step <= count; ++step) {
        const QPoint at = from + (to - from) * step / count;
        steps << QStringLiteral("mousemove") << QString::number(at.x()) << QString::number(at.y())
              << QStringLiteral("sleep") << QStringLiteral("0.03");
    }
    return steps;
}

// The application's dock in an engine of its own, over a store that runs nothing.
struct WatchingDock {
    Store store;
    Appearance appearance;
    WindowModel model{store};
    QQmlEngine engine;
    std::unique_ptr<DesktopDock> dock;

    explicit WatchingDock(bool keepOpen = false) {
        store.setRunner([](auto&&...) { return std::vector<std::filesystem::path>{}; });
        Symbols::fontFamily();
        engine.rootContext()->setContextProperty(QStringLiteral("store"), &model);
        engine.rootContext()->setContextProperty(QStringLiteral("appearance"), &appearance);
        dock = std::make_unique<DesktopDock>(engine, store, [] { return true; });
        dock->setKeepOpen(keepOpen);
        dock->start();
    }
};

// The drag-source program, started with these arguments; returns where to press it.
QPoint startSource(QProcess& source, const QStringList& arguments) {
    source.start(QStringLiteral(KELVANE_DRAG_SOURCE_PATH), arguments);
    if (!waitUntil([&] { return source.canReadLine(); }))
        return {};
    const QStringList ready = QString::fromUtf8(source.readLine()).split(QLatin1Char(' '));
    return ready.size() == 3 ? QPoint(ready[1].toInt(), ready[2].toInt()) : QPoint();
}

// The next line the source prints, without its line end.
QByteArray nextLine(QProcess& source) {
    if (!waitUntil([&] { return source.canReadLine(); }))
        return {};
    return source.readLine().trimmed();
}

QStringList pressAt(QPoint at, int button = 1) {
    return {QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y()),
            QStringLiteral("sleep"),     QStringLiteral("0.2"),   QStringLiteral("mousedown"),
            QString::number(button),     QStringLiteral("sleep"), QStringLiteral("0.1")};
}

QStringList releaseWith(int button = 1) {
    return {QStringLiteral("sleep"), QStringLiteral("0.3"), QStringLiteral("mouseup"),
            QString::number(button)};
}

void expectOffersFor(const DockModel& shown, const std::vector<std::filesystem::path>& files) {
    EXPECT_EQ(shown.urls(), files);
    const auto suggested = Recipe::suggestions(files);
    ASSERT_FALSE(shown.recipes().empty());
    EXPECT_TRUE(std::equal(shown.recipes().begin(), shown.recipes().end(), suggested.begin()));
}

// Skipped where no X server could be started; a source still running at the end is killed.
struct DesktopDrag : ::testing::Test {
    void SetUp() override {
        if (desktop.server == 0)
            GTEST_SKIP() << "Skipped: " << desktop.whyNot;
    }
    ~DesktopDrag() override {
        source.kill();
        source.waitForFinished();
    }
    fixtures::TempFolder temp;
    QProcess source;
};

TEST_F(DesktopDrag, AFileDraggedElsewhereSlidesTheDockInAndADropOnTheSecondTileQueuesIt) {
    const auto photo = temp.write("Holiday.png", "png");
    WatchingDock watching;
    DesktopDock& dock = *watching.dock;
    ASSERT_TRUE(dock.watching()) << dock.unavailableReason().toStdString();

    const QPoint start = startSource(source, {QString::fromStdString(photo.string())});
    ASSERT_FALSE(start.isNull()) << "the drag source never showed";
    xdotool(pressAt(start) + glide(start, start + QPoint(200, 40)));
    ASSERT_TRUE(waitUntil([&] { return dock.visible(); })) << "the dock did not appear";
    DockModel& shown = *dock.dock().model();
    expectOffersFor(shown, {photo});
    const auto suggested = Recipe::suggestions({photo});
    ASSERT_GE(shown.recipes().size(), 2U);

    QQuickWindow* panel = dock.panelWindow();
    ASSERT_NE(panel, nullptr);
    ASSERT_TRUE(waitUntil([&] { return panel->opacity() == 1.0; })) << "still sliding in";
    auto* tile = findItem(panel->contentItem(), QStringLiteral("dockTile1"));
    ASSERT_NE(tile, nullptr);
    const QPoint target =
        tile->mapToGlobal(QPointF(tile->width() / 2, tile->height() / 2)).toPoint();
    xdotool(glide(start + QPoint(200, 40), target) + releaseWith());

    Store& store = watching.store;
    ASSERT_TRUE(waitUntil([&] { return !store.jobs().empty(); })) << "nothing was queued";
    ASSERT_EQ(store.jobs().size(), 1U);
    EXPECT_EQ(store.jobs()[0].recipe, suggested[1]);
    EXPECT_EQ(store.jobs()[0].inputs, std::vector{photo});
    EXPECT_TRUE(store.jobs()[0].fromDock);
    EXPECT_EQ(shown.acceptedTitle(), QString::fromUtf8(suggested[1].title()));
    EXPECT_EQ(nextLine(source), QByteArray("dropped 1")) << "taken as a copy";
    EXPECT_TRUE(waitUntil([&] { return !dock.visible(); })) << "the dock did not slide out";
}

// Sources hand long lists out in pieces; one that never stops is given up on.
TEST_F(DesktopDrag, AThousandFilesSentInPiecesAreOfferedAndAnEndlessListShowsNothing) {
    std::vector<std::filesystem::path> files;
    QStringList arguments{QStringLiteral("--in-pieces")};
    const std::string longName(180, 'a');
    for (int n = 0; n < 1000; ++n) {
        const std::string name =
            "Summer trip " + std::to_string(n) + " with a name " + longName + " and many words.jpg";
        files.push_back(temp.write(name, "jpg"));
        arguments << QString::fromStdString(files.back().string());
    }
    WatchingDock watching;
    DesktopDock& dock = *watching.dock;

    QProcess endless;
    QPoint start = startSource(endless, {QStringLiteral("--endless"), arguments.last()});
    ASSERT_FALSE(start.isNull());
    xdotool(pressAt(start) + glide(start, start + QPoint(200, 40)));
    EXPECT_EQ(nextLine(endless), QByteArray("stalled")) << "the reader kept taking pieces";
    EXPECT_FALSE(dock.visible());
    xdotool(releaseWith());
    endless.kill();
    endless.waitForFinished();

    start = startSource(source, arguments);
    ASSERT_FALSE(start.isNull());
    xdotool(pressAt(start) + glide(start, start + QPoint(200, 40)));
    ASSERT_TRUE(waitUntil([&] { return dock.visible(); })) << "the dock did not appear";
    expectOffersFor(*dock.dock().model(), files);
    EXPECT_GT(nextLine(source).sliced(7).toInt(), 1) << "the list came in one piece";
    xdotool(releaseWith());
    EXPECT_TRUE(waitUntil([&] { return !dock.visible(); }));
}

TEST_F(DesktopDrag, WithTheButtonsSwappedForTheLeftHandTheRightButtonDrags) {
    const auto photo = temp.write("Holiday.png", "png");
    Display* display = XOpenDisplay(nullptr);
    ASSERT_NE(display, nullptr);
    WatchingDock watching; // it learns of the new map as it changes
    DesktopDock& dock = *watching.dock;
    // The map must keep its length; only the first and third buttons trade places.
    unsigned char map[32] = {};
    const int buttons = XGetPointerMapping(display, map, sizeof map);
    ASSERT_GE(buttons, 3);
    std::swap(map[0], map[2]);
    ASSERT_EQ(XSetPointerMapping(display, map, buttons), MappingSuccess);
    XSync(display, False);
    const auto restore = qScopeGuard([&] {
        std::swap(map[0], map[2]);
        XSetPointerMapping(display, map, buttons);
        XCloseDisplay(display);
    });

    const QPoint start = startSource(source, {QString::fromStdString(photo.string())});
    xdotool(pressAt(start, 3) + glide(start, start + QPoint(200, 40)));
    EXPECT_TRUE(waitUntil([&] { return dock.visible(); })) << "the dock did not appear";
    xdotool(releaseWith(3));
    EXPECT_TRUE(waitUntil([&] { return !dock.visible(); })) << "the release was not seen";
}

// Under XWayland drags between Wayland apps can't be seen: the tab kept open at the edge
// takes the drop instead, through the display's own drag and drop.
TEST_F(DesktopDrag, InAWaylandSessionTheTabKeptOpenWidensOnADragAndADropOnItQueues) {
    const auto photo = temp.write("Beach.jpg", "jpeg");
    setenv("WAYLAND_DISPLAY", "wayland-kelvane-test", 1);
    const auto leaveWayland = qScopeGuard([] { unsetenv("WAYLAND_DISPLAY"); });
    WatchingDock kept(true);
    DesktopDock& dock = *kept.dock;
    Store& store = kept.store;
    EXPECT_FALSE(dock.watching());
    EXPECT_FALSE(dock.unavailableReason().isEmpty());
    QQuickWindow* tab = dock.pinnedWindow();
    ASSERT_NE(tab, nullptr);
    ASSERT_TRUE(waitUntil([&] { return tab->isExposed(); }));

    const QPoint start = startSource(source, {QString::fromStdString(photo.string())});
    ASSERT_FALSE(start.isNull());
    const QPoint onTab = tab->geometry().center();
    xdotool(pressAt(start) + glide(start, onTab));
    ASSERT_TRUE(waitUntil([&] { return dock.visible(); })) << "the tab did not widen";
    expectOffersFor(*dock.dock().model(), {photo});
    ASSERT_TRUE(waitUntil([&] { return tab->contentItem()->width() > PinnedDock::tabWidth; }));
    QQuickItem* tile = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        tile = findItem(tab->contentItem(), QStringLiteral("dockTile1"));
        return tile != nullptr && tile->width() > 0;
    }));
    const QPoint target =
        tile->mapToGlobal(QPointF(tile->width() / 2, tile->height() / 2)).toPoint();
    xdotool(glide(onTab, target) + releaseWith());

    ASSERT_TRUE(waitUntil([&] { return !store.jobs().empty(); })) << "nothing was queued";
    EXPECT_EQ(store.jobs()[0].recipe, Recipe::suggestions({photo}).at(1));
    EXPECT_TRUE(store.jobs()[0].fromDock);
    EXPECT_EQ(nextLine(source), QByteArray("dropped 1")) << "taken as a copy";
    EXPECT_TRUE(waitUntil([&] { return !dock.visible(); })) << "the tab did not narrow";
}

} // namespace
} // namespace kelvane::testing

// Mesa's GL and D-Bus, loaded by the X11 platform, leave allocations behind at exit in
// modules that are already unloaded, so no suppression can name them. The dock's own
// objects are checked for leaks by the offscreen tests.
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options() {
    return "detect_leaks=0";
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const bool listing = ::testing::GTEST_FLAG(list_tests);
    // The session these tests run in says nothing of the desktop they start, and the setting
    // the tab test turns on stays in a folder of its own.
    unsetenv("WAYLAND_DISPLAY");
    unsetenv("XDG_SESSION_TYPE");
    char settings[] = "/tmp/kelvane-drag-settings-XXXXXX";
    if (mkdtemp(settings) != nullptr)
        setenv("XDG_CONFIG_HOME", settings, 1);
    if (!listing)
        kelvane::testing::desktop = kelvane::testing::startDesktop();
    setenv("QT_QPA_PLATFORM", kelvane::testing::desktop.server != 0 ? "xcb" : "offscreen", 1);
    int result = 0;
    {
        QGuiApplication application(argc, argv);
        result = RUN_ALL_TESTS();
    }
    kelvane::testing::stopDesktop();
    std::filesystem::remove_all(settings);
    return result;
}
