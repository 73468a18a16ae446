#pragma once

#include <QObject>
#include <QVariantList>

#include <functional>

namespace kelvane {

class Alerts;
class Preferences;
class Store;

// The menu commands: what each does and when it is enabled. The menu bar (AppMenuBar.qml)
// shows them with their shortcuts; the tray panel shares the ones it offers. QML sees this
// object as `commands`.
class Commands : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool canClearFinished READ canClearFinished NOTIFY queueChanged)
    Q_PROPERTY(bool canStopAll READ canStopAll NOTIFY queueChanged)
    Q_PROPERTY(QString optionsTitle READ optionsTitle NOTIFY optionsTitleChanged)
    // {title, shortcut} for each recipe group, in catalogue order.
    Q_PROPERTY(QVariantList recipeGroups READ recipeGroups CONSTANT)
    // Whether the main window's menu offers the panel, for desktops without a tray.
    Q_PROPERTY(bool panelInMenu READ panelInMenu NOTIFY panelInMenuChanged)

public:
    // What the commands reach beyond the store: windows, the update check, stopping jobs,
    // quitting. Unset ones do nothing.
    struct Reach {
        std::function<void()> chooseFiles;
        std::function<void()> openSettings;
        std::function<void()> openPanel;
        std::function<void()> openMainWindow;
        std::function<void()> checkForUpdates;
        // Stops every running and waiting job and removes their partial output.
        std::function<void()> stopAllJobs;
        std::function<void()> quitNow;
    };

    Commands(Store& store, Preferences& preferences, Alerts& alerts, Reach reach,
             QObject* parent = nullptr);

    bool canClearFinished() const;
    bool canStopAll() const;
    QString optionsTitle() const;
    static QVariantList recipeGroups();
    bool panelInMenu() const { return panelInMenu_; }
    void setPanelInMenu(bool offered);

    // "2 conversions are still running. Quit anyway?"
    static QString quitQuestion(int running);

    Q_INVOKABLE void addFiles();
    Q_INVOKABLE void clearFinished();
    Q_INVOKABLE void stopAll();
    Q_INVOKABLE void toggleDropDock();
    Q_INVOKABLE void chooseGroup(int position);
    Q_INVOKABLE void toggleOptions();
    // Every conversion option back to its default; the switches stay as they are.
    Q_INVOKABLE void resetAllOptions();
    Q_INVOKABLE void checkForUpdates();
    Q_INVOKABLE void openSettings();
    Q_INVOKABLE void openPanel();
    Q_INVOKABLE void openMainWindow();
    // Quits at once when nothing is running or waiting, else asks first.
    Q_INVOKABLE void quit();

signals:
    void queueChanged();
    void optionsTitleChanged();
    void panelInMenuChanged();

private:
    static void call(const std::function<void()>& action);

    Store& store_;
    Preferences& preferences_;
    Alerts& alerts_;
    Reach reach_;
    bool panelInMenu_ = false;
    bool asking_ = false;
};

} // namespace kelvane
