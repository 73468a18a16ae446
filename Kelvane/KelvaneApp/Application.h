#pragma once

#include "KelvaneApp/Alerts.h"
#include "KelvaneApp/DropDockStart.h"
#include "KelvaneApp/OpenRequest.h"
#include "KelvaneApp/Preferences.h"
#include "MainViews/Appearance.h"
#include "MainViews/WindowModel.h"
#include "Store/Store.h"

#include <QQmlApplicationEngine>
#include <QSettings>
#include <QWindow>

#include <memory>

class QNetworkAccessManager;
class QQuickWindow;

namespace kelvane {

class BatchNotifier;
class Commands;
class DesktopDock;
class FirstRows;
class SingleInstance;
class SnapshotMode;
class TrayPanel;

// The application around the converter: one store for the process, the main window, the
// Settings window, the tray panel, the menu commands, files opened from outside, the
// Drop Dock's start, snapshot mode and the quiet update check.
class Application : public QObject {
    Q_OBJECT

public:
    Application();
    ~Application() override;

    // Launches: the windows, then the dock, the snapshot check and, outside snapshot mode,
    // one quiet update check. `opened` is queued at once. False when the views don't load.
    bool launch(const OpenRequest& opened);

    // Takes files from later launches, through a socket at this path.
    bool listenForLaunches(const QString& socketPath);

    // Queues the files with the request's recipe (the current one when none) and brings the
    // main window forward unless the request is quiet.
    void open(const OpenRequest& request);
    void showMainWindow();
    void showSettings();
    void checkForUpdates(bool userInitiated);

private:
    // A quiet launch that starts the application leaves the window out of the way: the tray
    // icon and the batch notification report the jobs.
    void keepWindowBehind();
    void placeOverMainWindow(QWindow& secondary) const;

    QSettings settings_;
    Preferences preferences_;
    Store store_;
    Appearance appearance_;
    WindowModel model_;
    MessageBoxAlerts alerts_;
    DropDockStatus dropDock_;
    std::unique_ptr<FirstRows> panelJobs_;
    std::unique_ptr<Commands> commands_;
    std::unique_ptr<QNetworkAccessManager> network_;
    std::unique_ptr<SingleInstance> instance_;
    std::unique_ptr<SnapshotMode> snapshots_;
    QQmlApplicationEngine engine_;
    QQuickWindow* window_ = nullptr;
    std::unique_ptr<QQuickWindow> settingsWindow_;
    std::unique_ptr<TrayPanel> tray_;
    std::unique_ptr<BatchNotifier> notifier_;
    // After the engine, so that the dock's windows go before it.
    std::unique_ptr<DesktopDock> desktopDock_;
};

} // namespace kelvane
