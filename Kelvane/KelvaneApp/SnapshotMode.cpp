#include "KelvaneApp/SnapshotMode.h"

#include "KelvaneApp/OffscreenRender.h"
#include "MainViews/Appearance.h"
#include "Store/Store.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QQuickWindow>
#include <QScreen>
#include <QTimer>

#include <cstdio>

namespace kelvane {
namespace {

constexpr int setUpMs = 2000;   // the window is being set up
constexpr int resizedMs = 1500; // after the window took its snapshot size
constexpr int settleMs = 1200;  // before each shot, so the interface settles
constexpr QSize windowSize(1120, 720);

QString describe(const QRect& rect) {
    return QStringLiteral("(%1, %2, %3, %4)")
        .arg(rect.x())
        .arg(rect.y())
        .arg(rect.width())
        .arg(rect.height());
}

QString describe(const QSize& size) {
    return QStringLiteral("(%1, %2)").arg(size.width()).arg(size.height());
}

} // namespace

SnapshotMode::SnapshotMode(QString directory, bool stay, Store& store, Appearance& appearance,
                           QQuickWindow& window, QQmlEngine& engine, QObject* parent)
    : QObject(parent)
    , directory_(std::move(directory))
    , stay_(stay)
    , store_(store)
    , appearance_(appearance)
    , window_(window)
    , engine_(engine) {}

std::optional<QString> SnapshotMode::requestedDirectory() {
    if (!qEnvironmentVariableIsSet("KELVANE_SNAPSHOT_DIR"))
        return std::nullopt;
    return qEnvironmentVariable("KELVANE_SNAPSHOT_DIR");
}

bool SnapshotMode::stayRequested() {
    return qEnvironmentVariableIsSet("KELVANE_SNAPSHOT_STAY");
}

QStringList SnapshotMode::shotNames() {
    QStringList names{QStringLiteral("warmup")};
    for (const QString& suffix : {QString(), QStringLiteral("-dark")})
        for (const char* base : {"empty", "queue", "shrink", "video", "document", "dock-images",
                                 "dock-video", "menubar", "settings"})
            names << QLatin1String(base) + suffix;
    return names;
}

void SnapshotMode::start() {
    QDir().mkpath(directory_); // a failure shows up as missing files, never as a stop
    steps_.push_back({setUpMs, [this] {
                          window_.resize(windowSize);
                      }});
    steps_.push_back({resizedMs, [] {
                      }});
    steps_.push_back({settleMs, [this] {
                          shoot(QStringLiteral("warmup"));
                      }});
    stagePass(false);
    stagePass(true);
    steps_.push_back({0, [this] {
                          emit finished();
                          if (!stay_)
                              QGuiApplication::quit();
                      }});
    runFrom(0);
}

// Each shot waits for the interface to settle after the change before it.
void SnapshotMode::stagePass(bool dark) {
    const QString suffix = dark ? QStringLiteral("-dark") : QString();
    const auto staged = [&](auto change, const QString& name) {
        steps_.push_back({0, change});
        steps_.push_back({settleMs, [this, name] {
                              shoot(name);
                          }});
    };
    staged(
        [this, dark] {
            appearance_.force(dark);
            store_.clearAll();
            store_.setRecipe(Recipe::toJPG);
        },
        QStringLiteral("empty") + suffix);
    staged([this] { store_.seedDemo(RecipeGroup::images); }, QStringLiteral("queue") + suffix);
    staged([this] { store_.setRecipe(Recipe::shrink); }, QStringLiteral("shrink") + suffix);
    staged(
        [this] {
            store_.setRecipe(Recipe::videoToGIF);
            store_.seedDemo(RecipeGroup::video);
        },
        QStringLiteral("video") + suffix);
    staged(
        [this] {
            store_.setRecipe(Recipe::docToPDF);
            store_.seedDemo(RecipeGroup::documents);
        },
        QStringLiteral("document") + suffix);
    steps_.push_back(
        {0, [this, dark, suffix] {
             const std::filesystem::path desk = "/Users/demo/Desktop";
             shootDock({desk / "IMG_4021.HEIC", desk / "IMG_4022.HEIC", desk / "Hero banner.png"},
                       dark, QStringLiteral("dock-images") + suffix);
             shootDock({"/x/Clip.mov"}, dark, QStringLiteral("dock-video") + suffix);
             render(QStringLiteral("MenuBarView"), dark, 320, QStringLiteral("menubar") + suffix);
             render(QStringLiteral("SettingsView"), dark, std::nullopt,
                    QStringLiteral("settings") + suffix);
         }});
}

void SnapshotMode::runFrom(std::size_t step) {
    if (step >= steps_.size())
        return;
    QTimer::singleShot(steps_[step].delayMs, this, [this, step] {
        steps_[step].action();
        runFrom(step + 1);
    });
}

void SnapshotMode::shoot(const QString& name) {
    if (!window_.isVisible())
        return;
    const QImage picture = window_.grabWindow();
    const QRect frame = window_.frameGeometry();
    const QRect content = window_.geometry();
    const QRect screen =
        window_.screen() != nullptr ? window_.screen()->availableGeometry() : QRect();
    const QString line = QStringLiteral("[snap] %1 window=%2 content=%3 fitting=%4 screen=%5\n")
                             .arg(name, describe(frame), describe(content),
                                  describe(content.size()), describe(screen));
    std::fputs(line.toUtf8().constData(), stdout);
    std::fflush(stdout);
    if (!picture.isNull())
        picture.save(QDir(directory_).filePath(name + QStringLiteral(".png")), "PNG");
}

void SnapshotMode::render(const QString& view, bool dark, std::optional<int> width,
                          const QString& name) {
    const QUrl url(QStringLiteral("qrc:/Kelvane/KelvaneApp/") + view + QStringLiteral(".qml"));
    const QImage picture = OffscreenRender::render(engine_, url, appearance_, dark, width);
    if (!picture.isNull())
        picture.save(QDir(directory_).filePath(name + QStringLiteral(".png")), "PNG");
}

void SnapshotMode::shootDock(std::vector<std::filesystem::path> urls, bool dark,
                             const QString& name) {
    if (!dockPicture_)
        return;
    const QImage picture = dockPicture_(std::move(urls), dark);
    if (!picture.isNull())
        picture.save(QDir(directory_).filePath(name + QStringLiteral(".png")), "PNG");
}

} // namespace kelvane
