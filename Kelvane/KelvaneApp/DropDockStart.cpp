#include "KelvaneApp/DropDockStart.h"

#include "DropDock/DesktopDock.h"
#include "KelvaneApp/Preferences.h"

namespace kelvane {

void DropDockStatus::setUnavailableReason(const QString& reason) {
    if (reason == unavailableReason_)
        return;
    unavailableReason_ = reason;
    emit unavailableReasonChanged();
}

void DropDockStatus::setKeepOpen(bool keep) {
    if (keep == keepOpen_)
        return;
    keepOpen_ = keep;
    emit keepOpenChanged();
}

std::unique_ptr<DesktopDock> startDropDock(DropDockStatus& status, QQmlEngine& engine, Store& store,
                                           Preferences& preferences) {
    auto dock = std::make_unique<DesktopDock>(
        engine, store, [&preferences] { return preferences.dropDockEnabled(); });
    status.setUnavailableReason(dock->watching() ? QString() : dock->unavailableReason());
    status.setKeepOpen(dock->keepOpen());
    QObject::connect(&status, &DropDockStatus::keepOpenChanged, dock.get(),
                     [&status, dock = dock.get()] { dock->setKeepOpen(status.keepOpen()); });
    dock->start();
    return dock;
}

} // namespace kelvane
