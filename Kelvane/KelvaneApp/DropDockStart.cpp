#include "KelvaneApp/DropDockStart.h"

namespace kelvane {

void DropDockStatus::setUnavailableReason(const QString& reason) {
    if (reason == unavailableReason_)
        return;
    unavailableReason_ = reason;
    emit unavailableReasonChanged();
}

// The dock does not exist yet: there is nothing to start.
void startDropDock(DropDockStatus&, Store&, Preferences&, Appearance&) {}

} // namespace kelvane
