#include "KelvaneApp/Application.h"
#include "KelvaneApp/OpenRequest.h"
#include "KelvaneApp/SingleInstance.h"
#include "KelvaneApp/SnapshotMode.h"
#include "MainViews/PortalChooser.h"

#include <QApplication>

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
    return QApplication::exec();
}
