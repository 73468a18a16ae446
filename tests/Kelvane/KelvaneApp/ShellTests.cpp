#include "KelvaneApp/Alerts.h"
#include "KelvaneApp/BatchNotifier.h"
#include "KelvaneApp/Commands.h"
#include "KelvaneApp/DropDockStart.h"
#include "KelvaneApp/OffscreenRender.h"
#include "KelvaneApp/Preferences.h"
#include "MainViews/Appearance.h"
#include "MainViews/MainViews.h"
#include "MainViews/WindowModel.h"
#include "Store/Store.h"
#include "Worker/WorkerRunner.h"
#include "fixtures/LongClip.h"
#include "fixtures/OurWorkers.h"
#include "fixtures/TempFolder.h"
#include "fixtures/WaitUntil.h"

#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QSettings>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace kelvane {
namespace {

QString settingsFile(const fixtures::TempFolder& temp) {
    return QString::fromStdString((temp.path() / "settings.ini").string());
}

// Each switch is written at once and signals on its own; a value of another type reads as
// the switch's default.
TEST(Preferences, SwitchesAreWrittenAtOnceAndOtherTypesReadAsTheDefault) {
    fixtures::TempFolder temp;
    {
        QSettings settings(settingsFile(temp), QSettings::IniFormat);
        Preferences preferences(&settings);
        QSignalSpy dock(&preferences, &Preferences::dropDockEnabledChanged);
        QSignalSpy menuBar(&preferences, &Preferences::showMenuBarChanged);
        preferences.setDropDockEnabled(false);
        preferences.setDropDockEnabled(false);
        EXPECT_EQ(dock.count(), 1);
        EXPECT_EQ(menuBar.count(), 0);
    }
    QSettings settings(settingsFile(temp), QSettings::IniFormat);
    EXPECT_FALSE(Preferences(&settings).dropDockEnabled());
    EXPECT_TRUE(Preferences(&settings).showMenuBar());

    settings.setValue(QStringLiteral("dropDockEnabled"), 0);
    settings.setValue(QStringLiteral("showMenuBar"), QStringList{"false", "no"});
    EXPECT_TRUE(Preferences(&settings).dropDockEnabled());
    EXPECT_TRUE(Preferences(&settings).showMenuBar());
    settings.setValue(QStringLiteral("dropDockEnabled"), QStringLiteral("off"));
    settings.setValue(QStringLiteral("showMenuBar"), false);
    EXPECT_TRUE(Preferences(&settings).dropDockEnabled());
    EXPECT_FALSE(Preferences(&settings).showMenuBar());
}

// Answers every question with the button it was told to press.
struct AnsweringAlerts : Alerts {
    void present(const Alert& alert, std::function<void(int)> answered) override {
        asked.push_back(alert);
        pending = std::move(answered);
    }
    std::vector<Alert> asked;
    std::function<void(int)> pending;
};

struct CommandsTest : ::testing::Test {
    Store store;
    Preferences preferences;
    AnsweringAlerts alerts;
    int stops = 0;
    int quits = 0;
    Commands commands{store, preferences, alerts, reach()};

    Commands::Reach reach() {
        Commands::Reach counted;
        counted.stopAllJobs = [this] {
            ++stops;
        };
        counted.quitNow = [this] {
            ++quits;
        };
        return counted;
    }
};

TEST_F(CommandsTest, QueueCommandsAreEnabledOnlyWhenThereIsSomethingToDo) {
    EXPECT_FALSE(commands.canClearFinished());
    EXPECT_FALSE(commands.canStopAll());
    store.seedDemo(RecipeGroup::images); // done, failed, running and waiting jobs
    EXPECT_TRUE(commands.canClearFinished());
    EXPECT_TRUE(commands.canStopAll());
    commands.clearFinished();
    EXPECT_FALSE(commands.canClearFinished());
    EXPECT_TRUE(commands.canStopAll());
    store.clearAll();
    EXPECT_FALSE(commands.canStopAll());
    commands.stopAll();
    EXPECT_EQ(stops, 0);
}

TEST_F(CommandsTest, RecipeGroupsAreNumberedAndPickTheirFirstRecipe) {
    const QVariantList groups = Commands::recipeGroups();
    ASSERT_EQ(groups.size(), 5);
    const QVariantMap video = groups[1].toMap();
    EXPECT_EQ(video[QStringLiteral("shortcut")].toString(), QStringLiteral("Ctrl+2"));
    const Recipe first = RecipeGroup(RecipeGroup::video).recipes().front();
    EXPECT_EQ(video[QStringLiteral("title")].toString(),
              QStringLiteral("Video: ") + QString::fromUtf8(first.title()));
    commands.chooseGroup(2);
    EXPECT_EQ(store.recipe(), first);
    commands.chooseGroup(6);
    EXPECT_EQ(store.recipe(), first);

    EXPECT_EQ(commands.optionsTitle(), QStringLiteral("Hide Options"));
    commands.toggleOptions();
    EXPECT_EQ(commands.optionsTitle(), QStringLiteral("Show Options"));
    commands.toggleDropDock();
    EXPECT_FALSE(preferences.dropDockEnabled());
}

TEST_F(CommandsTest, QuittingWithJobsUnderWayAsksOnceThenStopsThem) {
    store.seedDemo(RecipeGroup::images);
    const int running = store.activeCount();
    ASSERT_GT(running, 1);
    commands.quit();
    commands.quit(); // a second request while the question is open asks nothing more
    ASSERT_EQ(alerts.asked.size(), 1u);
    EXPECT_EQ(alerts.asked[0].message,
              QStringLiteral("%1 conversions are still running. Quit anyway?").arg(running));
    EXPECT_EQ(alerts.asked[0].buttons,
              (QStringList{QStringLiteral("Quit"), QStringLiteral("Cancel")}));
    alerts.pending(1);
    EXPECT_EQ(quits, 0);
    commands.quit();
    ASSERT_EQ(alerts.asked.size(), 2u);
    alerts.pending(0);
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(quits, 1);
    EXPECT_EQ(Commands::quitQuestion(1),
              QStringLiteral("1 conversion is still running. Quit anyway?"));

    store.clearAll();
    commands.quit();
    EXPECT_EQ(alerts.asked.size(), 2u);
    EXPECT_EQ(quits, 2);
}

// Quit from the menu mid-batch, with real workers: two encodes running and one waiting.
TEST(QuitMidBatch, QuitStopsEveryJobAndNothingIsLeftThenOrAfterwards) {
    fixtures::TempFolder temp;
    const std::filesystem::path clip = fixtures::longClip(temp);
    Store store;
    store.setRunner(WorkerRunner());
    Preferences preferences;
    AnsweringAlerts alerts;
    int quits = 0;
    Commands::Reach reach;
    reach.stopAllJobs = [&] {
        store.stopAll();
    };
    reach.quitNow = [&] {
        ++quits;
    };
    Commands commands(store, preferences, alerts, reach);
    store.add({clip, clip, clip}, Recipe::videoHEVC);
    ASSERT_TRUE(fixtures::waitUntil([&] { return store.jobs()[0].progress > 0; }, 30000));

    commands.quit();
    ASSERT_EQ(alerts.asked.size(), 1u);
    EXPECT_EQ(alerts.asked[0].message, Commands::quitQuestion(3));
    alerts.pending(0);
    EXPECT_EQ(quits, 1);
    EXPECT_EQ(store.activeCount(), 0);
    ASSERT_TRUE(fixtures::waitUntil([] { return fixtures::ourWorkers().empty(); }, 30000));
    EXPECT_EQ(temp.entries(), std::vector<std::string>{"clip.mov"});
    fixtures::waitUntil([] { return false; }, 1500); // whatever was under way has had time to land
    EXPECT_EQ(temp.entries(), std::vector<std::string>{"clip.mov"});
}

TEST(BatchNotifier, OneSentenceForTheWholeBatch) {
    Job photo(Recipe::toJPG, {"/d/a.png"});
    photo.state = Job::State::done;
    photo.inputBytes = 15'000'000;
    photo.outputBytes = 2'600'000;
    std::vector<Job> batch(3, photo);
    const auto text = BatchNotifier::describe(batch);
    EXPECT_EQ(text.summary, QStringLiteral("3 files converted · saved 37.2 MB"));

    Job broken(Recipe::toJPG, {"/d/broken.heic"});
    broken.state = Job::State::failed;
    batch.push_back(broken);
    batch.push_back(broken);
    const auto mixed = BatchNotifier::describe(batch);
    EXPECT_EQ(mixed.summary, QStringLiteral("3 files converted · saved 37.2 MB · 2 failed"));
    EXPECT_EQ(mixed.body, QStringLiteral("Couldn’t convert “broken.heic”, “broken.heic”."));
}

// The tray panel and Settings drawn off-screen, as snapshot mode and the dock's pictures do.
TEST(OffscreenRender, DrawsAnyViewAtItsFittingSizeInTheForcedAppearance) {
    Store store;
    store.seedDemo(RecipeGroup::images);
    Appearance appearance;
    WindowModel model(store);
    Preferences preferences;
    AnsweringAlerts alerts;
    Commands commands(store, preferences, alerts, {});
    QQmlApplicationEngine engine;
    MainViews::share(engine, model, appearance, &preferences);
    engine.rootContext()->setContextProperty(QStringLiteral("commands"), &commands);
    engine.rootContext()->setContextProperty(QStringLiteral("panelJobs"), model.jobs());
    DropDockStatus dropDock;
    engine.rootContext()->setContextProperty(QStringLiteral("dropDock"), &dropDock);

    const QImage dark = OffscreenRender::render(
        engine, QUrl(QStringLiteral("qrc:/Kelvane/KelvaneApp/MenuBarView.qml")), appearance, true,
        320);
    ASSERT_FALSE(dark.isNull());
    EXPECT_EQ(dark.width(), 320);
    EXPECT_GT(dark.height(), 250); // header, jobs, switch and buttons
    EXPECT_LT(QColor(dark.pixel(2, dark.height() / 2)).lightnessF(), 0.3);
    EXPECT_TRUE(appearance.dark());

    const QImage light = OffscreenRender::render(
        engine, QUrl(QStringLiteral("qrc:/Kelvane/KelvaneApp/SettingsView.qml")), appearance,
        false);
    ASSERT_FALSE(light.isNull());
    EXPECT_EQ(light.size(), QSize(480, 360));
    EXPECT_GT(QColor(light.pixel(2, 2)).lightnessF(), 0.8);
}

} // namespace
} // namespace kelvane
