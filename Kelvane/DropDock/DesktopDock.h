#pragma once

#include "DropDock/DockClock.h"
#include "DropDock/DropDock.h"

#include <QObject>

#include <functional>
#include <memory>

class QQmlEngine;
class QQuickWindow;

namespace kelvane {

class PinnedDock;
class QuickDockPanel;
class Store;

// The Drop Dock as the application runs it: the desktop's drag watch, the event loop's
// clock and the panel in the application's QML engine, which must already know the views'
// `store` and `appearance`. Where drags in other applications can't be watched, the dock
// stays off and can be kept open as a tab at the screen's edge instead. QML sees it as
// `dropDock` (the sidebar's status row and Settings read it).
class DesktopDock : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool watching READ watching CONSTANT)
    Q_PROPERTY(QString unavailableReason READ unavailableReason CONSTANT)
    Q_PROPERTY(bool visible READ visible NOTIFY visibleChanged)
    Q_PROPERTY(bool keepOpen READ keepOpen WRITE setKeepOpen NOTIFY keepOpenChanged)

public:
    // `enabled` reads the "dropDockEnabled" preference.
    DesktopDock(QQmlEngine& engine, Store& store, std::function<bool()> enabled,
                QObject* parent = nullptr);
    ~DesktopDock() override;

    // Starts watching drags, or shows the kept-open tab where they can't be watched.
    void start();

    bool watching() const;
    QString unavailableReason() const;
    bool visible() const;
    // "Keep the Drop Dock open": only offered where drags can't be watched.
    bool keepOpen() const { return keepOpen_; }
    void setKeepOpen(bool keep);

    DropDock& dock() { return *dock_; }
    // The dock as a picture, for snapshot mode.
    QImage renderSnapshot(std::vector<std::filesystem::path> urls, bool dark) {
        return dock_->renderSnapshot(std::move(urls), dark);
    }
    // The sliding panel's window once it was first shown; the pinned dock's window.
    QQuickWindow* panelWindow() const;
    QQuickWindow* pinnedWindow() const;

signals:
    void visibleChanged();
    void keepOpenChanged();

private:
    void showPinned();

    QQmlEngine& engine_;
    std::unique_ptr<DragSource> source_;
    QtDockClock clock_;
    std::unique_ptr<DropDock> dock_;
    QuickDockPanel* panel_ = nullptr;
    std::unique_ptr<PinnedDock> pinned_;
    bool keepOpen_ = false;
    bool started_ = false;
};

} // namespace kelvane
