#pragma once

#include <QObject>
#include <QString>

namespace kelvane {

class Appearance;
class Preferences;
class Store;

// What the rest of the application knows of the Drop Dock. Settings reads why the dock
// cannot watch drags on this desktop, when it cannot; the dock sets it.
class DropDockStatus : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString unavailableReason READ unavailableReason NOTIFY unavailableReasonChanged)

public:
    using QObject::QObject;

    // Empty while the dock can watch drags.
    QString unavailableReason() const { return unavailableReason_; }
    void setUnavailableReason(const QString& reason);

signals:
    void unavailableReasonChanged();

private:
    QString unavailableReason_;
};

// Starts the Drop Dock's watch on drags, once, at launch.
void startDropDock(DropDockStatus& status, Store& store, Preferences& preferences,
                   Appearance& appearance);

} // namespace kelvane
