#include "KelvaneApp/SnapshotMode.h"
#include "MainViews/Appearance.h"
#include "MainViews/MainViews.h"
#include "MainViews/WindowModel.h"
#include "Store/Store.h"
#include "Worker/WorkerRunner.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QSettings>

#include <atomic>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

// Archive and file names reach C libraries through the locale: make sure it speaks UTF-8.
void useUtf8Locale() {
    const char* current = std::setlocale(LC_CTYPE, "");
    if (current == nullptr || std::strstr(current, "UTF-8") == nullptr)
        std::setlocale(LC_CTYPE, "C.UTF-8");
}

// Files named on the command line are queued with the current recipe, as if dropped.
std::vector<std::filesystem::path> filesFromArguments(const QStringList& arguments) {
    std::vector<std::filesystem::path> files;
    for (qsizetype index = 1; index < arguments.size(); ++index)
        files.emplace_back(QDir::current().absoluteFilePath(arguments[index]).toStdString());
    return files;
}

// With KELVANE_FIRST_FRAME set (bench/startup.sh), the window prints the wall-clock time of
// its first frame, "first frame <nanoseconds since the epoch>", and quits.
void reportFirstFrame(QQuickWindow& window) {
    if (qEnvironmentVariableIsEmpty("KELVANE_FIRST_FRAME"))
        return;
    QObject::connect(
        &window, &QQuickWindow::frameSwapped, &window,
        [] {
            static std::atomic_bool reported = false;
            if (reported.exchange(true))
                return;
            const auto now = std::chrono::system_clock::now().time_since_epoch();
            std::printf("first frame %lld\n",
                        static_cast<long long>(
                            std::chrono::duration_cast<std::chrono::nanoseconds>(now).count()));
            std::fflush(stdout);
            QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                                      Qt::QueuedConnection);
        },
        Qt::DirectConnection);
}

} // namespace

int main(int argc, char** argv) {
    useUtf8Locale();
    QGuiApplication application(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("Kelvane"));
    QGuiApplication::setApplicationName(QStringLiteral("Kelvane"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Kelvane"));
    QGuiApplication::setDesktopFileName(QStringLiteral("kelvane"));

    QSettings settings(QStringLiteral("Kelvane"), QStringLiteral("Kelvane"));
    kelvane::Store store(&settings);
    // A file that crashes or hangs a decoder fails its own job, not the window.
    store.setRunner(kelvane::WorkerRunner());
    kelvane::Appearance appearance;
    kelvane::WindowModel model(store);
    QQmlApplicationEngine engine;
    QQuickWindow* window = kelvane::MainViews::load(engine, model, appearance);
    if (window == nullptr)
        return 1;
    reportFirstFrame(*window);

    const auto opened = filesFromArguments(QGuiApplication::arguments());
    if (!opened.empty())
        store.add(opened);

    std::unique_ptr<kelvane::SnapshotMode> snapshots;
    if (const auto directory = kelvane::SnapshotMode::requestedDirectory()) {
        snapshots = std::make_unique<kelvane::SnapshotMode>(
            *directory, kelvane::SnapshotMode::stayRequested(), store, appearance, *window);
        snapshots->start();
    }
    return QGuiApplication::exec();
}
