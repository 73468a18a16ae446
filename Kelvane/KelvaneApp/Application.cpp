#include "KelvaneApp/Application.h"

#include "DropDock/DesktopDock.h"
#include "KelvaneApp/BatchNotifier.h"
#include "KelvaneApp/Commands.h"
#include "KelvaneApp/FirstRows.h"
#include "KelvaneApp/SingleInstance.h"
#include "KelvaneApp/SnapshotMode.h"
#include "KelvaneApp/TrayPanel.h"
#include "KelvaneApp/UpdateChecker/UpdateCheck.h"
#include "MainViews/MainViews.h"
#include "Store/ShutdownSignals.h"
#include "Worker/WorkerRunner.h"

#include <QNetworkAccessManager>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>

namespace kelvane {

Application::Application()
    : settings_(QStringLiteral("Kelvane"), QStringLiteral("Kelvane"))
    , preferences_(&settings_)
    , store_(&settings_)
    , model_(store_) {
    // A file that crashes or hangs a decoder fails its own job, not the window.
    store_.setRunner(WorkerRunner());
    // Logging out, Ctrl+C or a closed terminal stop every job cleanly, without asking.
    quitCleanlyOnShutdownSignals(store_);
}

Application::~Application() = default;

bool Application::launch(const OpenRequest& opened) {
    panelJobs_ = std::make_unique<FirstRows>(*model_.jobs(), 5);
    commands_ =
        std::make_unique<Commands>(store_, preferences_, alerts_,
                                   Commands::Reach{
                                       .chooseFiles =
                                           [this] {
                                               showMainWindow();
                                               QMetaObject::invokeMethod(window_, "chooseFiles");
                                           },
                                       .openSettings = [this] { showSettings(); },
                                       .openPanel = [this] { tray_->open(); },
                                       .openMainWindow = [this] { showMainWindow(); },
                                       .checkForUpdates = [this] { checkForUpdates(true); },
                                       .stopAllJobs = [this] { store_.stopAll(); },
                                       .quitNow = [] { QCoreApplication::quit(); },
                                   });
    engine_.rootContext()->setContextProperty(QStringLiteral("commands"), commands_.get());
    engine_.rootContext()->setContextProperty(QStringLiteral("panelJobs"), panelJobs_.get());
    engine_.rootContext()->setContextProperty(QStringLiteral("dropDock"), &dropDock_);

    window_ = MainViews::load(engine_, model_, appearance_, &preferences_);
    if (window_ == nullptr)
        return false;
    QQmlComponent menus(&engine_, QUrl(QStringLiteral("qrc:/Kelvane/KelvaneApp/AppMenuBar.qml")));
    if (QObject* bar = menus.create(engine_.rootContext())) {
        bar->setParent(window_);
        window_->setProperty("menuBar", QVariant::fromValue(qobject_cast<QQuickItem*>(bar)));
    } else {
        qWarning("%s", qPrintable(menus.errorString()));
    }

    tray_ = std::make_unique<TrayPanel>(engine_, model_, preferences_);
    const auto offerPanel = [this] {
        commands_->setPanelInMenu(tray_->inMenu());
    };
    connect(tray_.get(), &TrayPanel::inMenuChanged, this, offerPanel);
    offerPanel();
    notifier_ = std::make_unique<BatchNotifier>(store_, *window_, [this] { showMainWindow(); });

    if (opened.quiet)
        keepWindowBehind();
    if (!opened.files.empty())
        open(opened);

    desktopDock_ = startDropDock(dropDock_, engine_, store_, preferences_);
    if (const auto directory = SnapshotMode::requestedDirectory()) {
        snapshots_ = std::make_unique<SnapshotMode>(*directory, SnapshotMode::stayRequested(),
                                                    store_, appearance_, *window_, engine_);
        snapshots_->setDockPicture([this](std::vector<std::filesystem::path> urls, bool dark) {
            return desktopDock_->renderSnapshot(std::move(urls), dark);
        });
        snapshots_->start();
    } else {
        QTimer::singleShot(0, this, [this] { checkForUpdates(false); });
    }
    return true;
}

bool Application::listenForLaunches(const QString& socketPath) {
    instance_ =
        std::make_unique<SingleInstance>([this](const OpenRequest& request) { open(request); });
    return instance_->listen(socketPath);
}

void Application::open(const OpenRequest& request) {
    model_.open(request.files, request.recipe, request.quiet);
    if (!request.quiet)
        showMainWindow();
}

void Application::keepWindowBehind() {
    if (tray_->showsIcon())
        window_->hide();
    else
        window_->showMinimized(); // the only way back to the jobs without a tray
}

void Application::showMainWindow() {
    if (window_ == nullptr)
        return;
    window_->setWindowStates(window_->windowStates() & ~Qt::WindowMinimized);
    window_->show();
    window_->raise();
    window_->requestActivate();
}

// Centres a secondary window over the main one, so it opens where the user is looking rather
// than wherever the window manager finds room.
void Application::placeOverMainWindow(QWindow& secondary) const {
    if (window_ == nullptr)
        return;
    secondary.setTransientParent(window_);
    const QRect main = window_->frameGeometry();
    secondary.setPosition(main.center() - QPoint(secondary.width() / 2, secondary.height() / 2));
}

void Application::showSettings() {
    if (settingsWindow_ == nullptr) {
        QQmlComponent component(&engine_,
                                QUrl(QStringLiteral("qrc:/Kelvane/KelvaneApp/SettingsWindow.qml")));
        settingsWindow_.reset(qobject_cast<QQuickWindow*>(component.create()));
        if (settingsWindow_ == nullptr) {
            qWarning("%s", qPrintable(component.errorString()));
            return;
        }
        placeOverMainWindow(*settingsWindow_);
    }
    settingsWindow_->show();
    settingsWindow_->raise();
    settingsWindow_->requestActivate();
}

void Application::checkForUpdates(bool userInitiated) {
    if (network_ == nullptr)
        network_ = std::make_unique<QNetworkAccessManager>();
    UpdateChecker::check(userInitiated, UpdateChecker::Setup::forThisBuild(*network_, alerts_));
}

} // namespace kelvane
