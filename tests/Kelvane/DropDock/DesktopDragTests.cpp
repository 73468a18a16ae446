// The Drop Dock on a real X server: a file dragged in another application, driven by
// xdotool, slides the dock in, and a drop on one of its tiles queues the job. Starts its
// own Xvfb (and openbox, when installed); skipped where no X server can be started.
#include "DropDock/DesktopDock.h"
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

#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

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

TEST(DesktopDrag, AFileDraggedElsewhereSlidesTheDockInAndADropOnTheSecondTileQueuesIt) {
    if (desktop.server == 0)
        GTEST_SKIP() << "Skipped: " << desktop.whyNot;
    fixtures::TempFolder temp;
    const auto photo = temp.write("Holiday.png", "png");
    Store store;
    store.setRunner([](auto&&...) { return std::vector<std::filesystem::path>{}; });
    Appearance appearance;
    WindowModel model(store);
    QQmlEngine engine;
    Symbols::fontFamily();
    engine.rootContext()->setContextProperty(QStringLiteral("store"), &model);
    engine.rootContext()->setContextProperty(QStringLiteral("appearance"), &appearance);
    DesktopDock dock(engine, store, [] { return true; });
    ASSERT_TRUE(dock.watching()) << dock.unavailableReason().toStdString();
    dock.start();

    QProcess source;
    source.start(QStringLiteral(KELVANE_DRAG_SOURCE_PATH),
                 {QString::fromStdString(photo.string())});
    ASSERT_TRUE(waitUntil([&] { return source.canReadLine(); })) << "the drag source never showed";
    const QStringList ready = QString::fromUtf8(source.readLine()).split(QLatin1Char(' '));
    ASSERT_EQ(ready.size(), 3);
    const QPoint start(ready[1].toInt(), ready[2].toInt());

    QStringList press{
        QStringLiteral("mousemove"), QString::number(start.x()), QString::number(start.y()),
        QStringLiteral("sleep"),     QStringLiteral("0.2"),      QStringLiteral("mousedown"),
        QStringLiteral("1"),         QStringLiteral("sleep"),    QStringLiteral("0.1")};
    xdotool(press + glide(start, start + QPoint(200, 40)));
    ASSERT_TRUE(waitUntil([&] { return dock.visible(); })) << "the dock did not appear";
    DockModel& shown = *dock.dock().model();
    EXPECT_EQ(shown.urls(), std::vector{photo});
    const auto suggested = Recipe::suggestions({photo});
    ASSERT_GE(shown.recipes().size(), 2U);
    EXPECT_TRUE(std::equal(shown.recipes().begin(), shown.recipes().end(), suggested.begin()));

    QQuickWindow* panel = dock.panelWindow();
    ASSERT_NE(panel, nullptr);
    ASSERT_TRUE(waitUntil([&] { return panel->opacity() == 1.0; })) << "still sliding in";
    auto* tile = findItem(panel->contentItem(), QStringLiteral("dockTile1"));
    ASSERT_NE(tile, nullptr);
    const QPoint target =
        tile->mapToGlobal(QPointF(tile->width() / 2, tile->height() / 2)).toPoint();
    xdotool(glide(start + QPoint(200, 40), target) +
            QStringList{QStringLiteral("sleep"), QStringLiteral("0.3"), QStringLiteral("mouseup"),
                        QStringLiteral("1")});

    ASSERT_TRUE(waitUntil([&] { return !store.jobs().empty(); })) << "nothing was queued";
    ASSERT_EQ(store.jobs().size(), 1U);
    EXPECT_EQ(store.jobs()[0].recipe, suggested[1]);
    EXPECT_EQ(store.jobs()[0].inputs, std::vector{photo});
    EXPECT_TRUE(store.jobs()[0].fromDock);
    EXPECT_EQ(shown.acceptedTitle(), QString::fromUtf8(suggested[1].title()));
    ASSERT_TRUE(waitUntil([&] { return source.canReadLine(); }));
    EXPECT_EQ(source.readLine().trimmed(), QByteArray("dropped 1")) << "taken as a copy";
    EXPECT_TRUE(waitUntil([&] { return !dock.visible(); })) << "the dock did not slide out";
    source.kill();
    source.waitForFinished();
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
    if (!listing)
        kelvane::testing::desktop = kelvane::testing::startDesktop();
    setenv("QT_QPA_PLATFORM", kelvane::testing::desktop.server != 0 ? "xcb" : "offscreen", 1);
    int result = 0;
    {
        QGuiApplication application(argc, argv);
        result = RUN_ALL_TESTS();
    }
    kelvane::testing::stopDesktop();
    return result;
}
