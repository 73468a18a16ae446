#include "KelvaneApp/Application.h"
#include "KelvaneApp/OpenRequest.h"
#include "KelvaneApp/SingleInstance.h"
#include "KelvaneApp/SnapshotMode.h"
#include "MainViews/PortalChooser.h"

#include <QApplication>
#include <QQuickWindow>

#include <atomic>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

// Archive and file names reach C libraries through the locale: make sure it speaks UTF-8.
void useUtf8Locale() {
    const char* current = std::setlocale(LC_CTYPE, "");
    if (current == nullptr || std::strstr(current, "UTF-8") == nullptr)
        std::setlocale(LC_CTYPE, "C.UTF-8");
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
    std::string error;
    const auto request = kelvane::requestFromArguments(argc, argv, error);
    if (!request) {
        std::fprintf(stderr, "kelvane: %s\n", error.c_str());
        return 2;
    }
    const kelvane::OpenRequest& opened = *request;
    // A running instance takes the files of a later launch, before this one builds anything.
    // Snapshot runs stand alone.
    const bool snapshots = kelvane::SnapshotMode::requestedDirectory().has_value();
    const QString socket = kelvane::SingleInstance::socketPath();
    if (!snapshots) {
        switch (kelvane::SingleInstance::forward(opened, socket)) {
        case kelvane::SingleInstance::Forwarded::taken:
            return 0;
        case kelvane::SingleInstance::Forwarded::refused:
            return 1;
        case kelvane::SingleInstance::Forwarded::noInstance:
            break;
        }
    }

    kelvane::PortalChooser::preferWhereOffered();
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Kelvane"));
    QApplication::setApplicationName(QStringLiteral("Kelvane"));
    // No display name: Qt would append it to every window title, "Kelvane — … — Kelvane".
    QApplication::setDesktopFileName(QStringLiteral("app.kelvane.Kelvane"));
    // The tray panel and the Drop Dock outlive the window; Quit ends the application.
    QApplication::setQuitOnLastWindowClosed(false);

    kelvane::Application kelvane;
    if (!snapshots)
        kelvane.listenForLaunches(socket);
    if (!kelvane.launch(opened))
        return 1;
    for (QWindow* window : QGuiApplication::topLevelWindows())
        if (auto* quickWindow = qobject_cast<QQuickWindow*>(window)) {
            reportFirstFrame(*quickWindow);
            break;
        }
    return QApplication::exec();
}
