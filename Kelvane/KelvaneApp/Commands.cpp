#include "KelvaneApp/Commands.h"

#include "KelvaneApp/Alerts.h"
#include "KelvaneApp/Preferences.h"
#include "Store/Store.h"

namespace kelvane {

Commands::Commands(Store& store, Preferences& preferences, Alerts& alerts, Reach reach,
                   QObject* parent)
    : QObject(parent)
    , store_(store)
    , preferences_(preferences)
    , alerts_(alerts)
    , reach_(std::move(reach)) {
    connect(&store_, &Store::jobsChanged, this, &Commands::queueChanged);
    connect(&store_, &Store::jobsUpdated, this, &Commands::queueChanged);
    connect(&store_, &Store::showOptionsChanged, this, &Commands::optionsTitleChanged);
}

bool Commands::canClearFinished() const {
    return store_.finishedCount() != 0;
}

bool Commands::canStopAll() const {
    return store_.activeCount() != 0;
}

QString Commands::optionsTitle() const {
    return store_.showOptions() ? QStringLiteral("Hide Options") : QStringLiteral("Show Options");
}

QVariantList Commands::recipeGroups() {
    QVariantList groups;
    int position = 1;
    for (const RecipeGroup group : RecipeGroup::allCases()) {
        const Recipe first = group.recipes().front();
        groups << QVariantMap{
            {QStringLiteral("title"), QString::fromUtf8(group.title()) + QStringLiteral(": ") +
                                          QString::fromUtf8(first.title())},
            {QStringLiteral("shortcut"), QStringLiteral("Ctrl+%1").arg(position++)},
        };
    }
    return groups;
}

void Commands::setPanelInMenu(bool offered) {
    if (offered == panelInMenu_)
        return;
    panelInMenu_ = offered;
    emit panelInMenuChanged();
}

QString Commands::quitQuestion(int running) {
    return running == 1
               ? QStringLiteral("1 conversion is still running. Quit anyway?")
               : QStringLiteral("%1 conversions are still running. Quit anyway?").arg(running);
}

void Commands::addFiles() {
    call(reach_.chooseFiles);
}

void Commands::clearFinished() {
    if (canClearFinished())
        store_.clearFinished();
}

void Commands::stopAll() {
    if (canStopAll())
        call(reach_.stopAllJobs);
}

void Commands::toggleDropDock() {
    preferences_.setDropDockEnabled(!preferences_.dropDockEnabled());
}

void Commands::chooseGroup(int position) {
    const auto groups = RecipeGroup::allCases();
    if (position < 1 || position > static_cast<int>(groups.size()))
        return;
    store_.setRecipe(groups[static_cast<std::size_t>(position - 1)].recipes().front());
}

void Commands::toggleOptions() {
    store_.setShowOptions(!store_.showOptions());
}

void Commands::resetAllOptions() {
    store_.setOptions(ConversionOptions());
}

void Commands::checkForUpdates() {
    call(reach_.checkForUpdates);
}

void Commands::openSettings() {
    call(reach_.openSettings);
}

void Commands::openPanel() {
    call(reach_.openPanel);
}

void Commands::openMainWindow() {
    call(reach_.openMainWindow);
}

void Commands::quit() {
    const int running = store_.activeCount();
    if (running == 0) {
        call(reach_.quitNow);
        return;
    }
    if (asking_)
        return; // the question is already on screen
    asking_ = true;
    alerts_.present({quitQuestion(running), {}, {QStringLiteral("Quit"), QStringLiteral("Cancel")}},
                    [this](int button) {
                        asking_ = false;
                        if (button != 0)
                            return;
                        call(reach_.stopAllJobs);
                        call(reach_.quitNow);
                    });
}

void Commands::call(const std::function<void()>& action) {
    if (action)
        action();
}

} // namespace kelvane
