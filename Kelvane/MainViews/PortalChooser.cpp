#include "MainViews/PortalChooser.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFileInfo>
#include <QLibraryInfo>

namespace kelvane::PortalChooser {
namespace {

const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");

bool themeInstalled() {
    return QFileInfo::exists(QLibraryInfo::path(QLibraryInfo::PluginsPath) +
                             QStringLiteral("/platformthemes/libqxdgdesktopportal.so"));
}

// Running already, or started by the bus on the first call.
bool portalReachable() {
    const QString name = QStringLiteral("kelvane-portal-probe");
    bool reachable = false;
    {
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
        if (bus.isConnected() && bus.interface() != nullptr) {
            const auto running = bus.interface()->isServiceRegistered(portal);
            const auto activatable = bus.interface()->activatableServiceNames();
            reachable = (running.isValid() && running.value()) ||
                        (activatable.isValid() && activatable.value().contains(portal));
        }
    }
    QDBusConnection::disconnectFromBus(name);
    return reachable;
}

} // namespace

void preferWhereOffered() {
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORMTHEME") || !themeInstalled() ||
        !portalReachable())
        return;
    qputenv("QT_QPA_PLATFORMTHEME", "xdgdesktopportal");
}

} // namespace kelvane::PortalChooser
