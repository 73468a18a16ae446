#pragma once

#include <QObject>

#include <memory>

class QQmlEngine;
class QQuickWindow;
class QSystemTrayIcon;

namespace kelvane {

class Preferences;
class WindowModel;

// The tray icon and its panel (MenuBarView in a frameless window beside the icon), shown
// while the "showMenuBar" switch is on. Where the desktop has no tray, the panel opens from
// the main window's menu instead.
class TrayPanel : public QObject {
    Q_OBJECT

public:
    TrayPanel(QQmlEngine& engine, WindowModel& store, Preferences& preferences,
              QObject* parent = nullptr);
    ~TrayPanel() override;

    // Whether the desktop shows tray icons.
    static bool trayAvailable();
    // Whether the panel is reached through the main window's menu.
    bool inMenu() const;
    // Whether an icon in the tray shows the jobs' progress.
    bool showsIcon() const;

    // Shows the panel beside the tray icon, or near the pointer without one.
    void open();

signals:
    void inMenuChanged();

private:
    void follow();
    QQuickWindow* panel();

    QQmlEngine& engine_;
    WindowModel& store_;
    Preferences& preferences_;
    std::unique_ptr<QSystemTrayIcon> icon_;
    std::unique_ptr<QQuickWindow> panel_;
};

} // namespace kelvane
