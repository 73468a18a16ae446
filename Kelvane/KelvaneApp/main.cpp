#include "KelvaneApp/SnapshotMode.h"
#include "MainViews/Appearance.h"
#include "MainViews/MainViews.h"
#include "MainViews/WindowModel.h"
#include "Store/ShutdownSignals.h"
#include "Store/Store.h"
#include "Worker/WorkerRunner.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QSettings>

#include <clocale>
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
    kelvane::quitCleanlyOnShutdownSignals(store);
    kelvane::Appearance appearance;
    kelvane::WindowModel model(store);
    QQmlApplicationEngine engine;
    QQuickWindow* window = kelvane::MainViews::load(engine, model, appearance);
    if (window == nullptr)
        return 1;

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
