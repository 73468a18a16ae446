#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QQmlEngine;

namespace kelvane {

class DesktopDock;
class Preferences;
class Store;

// What the rest of the application knows of the Drop Dock. Settings reads why the dock
// cannot watch drags on this desktop, when it cannot; the dock sets it.
class DropDockStatus : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString unavailableReason READ unavailableReason NOTIFY unavailableReasonChanged)
    // "Keep the Drop Dock open": a tab at the screen's edge where drags can't be watched.
    Q_PROPERTY(bool keepOpen READ keepOpen WRITE setKeepOpen NOTIFY keepOpenChanged)

public:
    using QObject::QObject;

    // Empty while the dock can watch drags.
    QString unavailableReason() const { return unavailableReason_; }
    void setUnavailableReason(const QString& reason);
    bool keepOpen() const { return keepOpen_; }
    void setKeepOpen(bool keep);

signals:
    void unavailableReasonChanged();
    void keepOpenChanged();

private:
    QString unavailableReason_;
    bool keepOpen_ = false;
};

// Starts the Drop Dock's watch on drags, once, at launch, with its panel in `engine`
// (which must know the views' `store` and `appearance`). The dock lives as long as the
// returned object.
std::unique_ptr<DesktopDock> startDropDock(DropDockStatus& status, QQmlEngine& engine, Store& store,
                                           Preferences& preferences);

} // namespace kelvane
