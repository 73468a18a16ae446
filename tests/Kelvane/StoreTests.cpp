#include "Store/Store.h"
#include "fixtures/TempFolder.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSettings>

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

namespace kelvane {
namespace {

using fixtures::TempFolder;
using State = Job::State;
namespace fs = std::filesystem;

// Stands in for the engine: each run waits until the test lets it finish, so the test
// decides when jobs end and can watch the scheduling.
class GatedRunner {
public:
    Store::Runner runner() {
        return [this](Recipe, const std::vector<fs::path>& inputs, const ConversionOptions&,
                      const Engine::Progress& progress) {
            std::unique_lock lock(mutex_);
            ++running_;
            maxRunning_ = std::max(maxRunning_, running_);
            started_.push_back(inputs.front().filename().string());
            progress(0.5);
            released_.wait(lock, [&] { return permits_ > 0; });
            --permits_;
            --running_;
            if (inputs.front().filename().string().starts_with("fail"))
                throw std::runtime_error("It broke.");
            return std::vector<fs::path>{inputs.front().parent_path() / "result.out"};
        };
    }
    void release(int count = 1) {
        {
            const std::lock_guard lock(mutex_);
            permits_ += count;
        }
        released_.notify_all();
    }
    std::vector<std::string> started() const {
        const std::lock_guard lock(mutex_);
        return started_;
    }
    int maxRunning() const {
        const std::lock_guard lock(mutex_);
        return maxRunning_;
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable released_;
    int permits_ = 0;
    int running_ = 0;
    int maxRunning_ = 0;
    std::vector<std::string> started_;
};

bool waitUntil(const std::function<bool()>& condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 10000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return condition();
}

int countIn(const Store& store, State state) {
    return static_cast<int>(std::count_if(store.jobs().begin(), store.jobs().end(),
                                          [&](const Job& job) { return job.state == state; }));
}

struct StoreTest : testing::Test {
    StoreTest() { store.setRunner(gate.runner()); }
    ~StoreTest() override {
        gate.release(100);
        waitUntil([&] { return store.activeCount() == 0; });
    }
    TempFolder temp;
    GatedRunner gate;
    Store store;
};

TEST_F(StoreTest, RunsTwoAtATimeAndStartsTheRestAsOthersFinish) {
    store.add({temp.write("a.png", "1"), temp.write("b.png", "2"), temp.write("c.png", "3")},
              Recipe::toPNG);
    ASSERT_EQ(store.jobs().size(), 3u);
    EXPECT_EQ(store.jobs()[0].title(), "a.png");
    EXPECT_EQ(store.jobs()[2].title(), "c.png");
    EXPECT_EQ(countIn(store, State::running), 2);
    EXPECT_EQ(store.jobs()[2].state, State::queued);
    ASSERT_TRUE(waitUntil([&] { return gate.started().size() == 2; }));
    auto firstTwo = gate.started(); // the two runs begin in either order
    std::sort(firstTwo.begin(), firstTwo.end());
    EXPECT_EQ(firstTwo, (std::vector<std::string>{"a.png", "b.png"}));

    gate.release();
    ASSERT_TRUE(waitUntil([&] { return countIn(store, State::done) == 1; }));
    EXPECT_TRUE(waitUntil([&] { return gate.started().size() == 3; }));
    gate.release(2);
    ASSERT_TRUE(waitUntil([&] { return store.activeCount() == 0; }));
    EXPECT_EQ(gate.maxRunning(), 2);
    EXPECT_EQ(countIn(store, State::done), 3);
    EXPECT_EQ(gate.started().back(), "c.png");
    EXPECT_EQ(store.jobs()[0].outputName(), "result.out");
    EXPECT_DOUBLE_EQ(store.jobs()[0].progress, 1.0);
}

TEST_F(StoreTest, FilesTheRecipeCannotTakeFailAtOnceWithWhatItNeeds) {
    store.add({temp.write("a.png", "1"), temp.write("notes.txt", "2"), temp / "missing.png"},
              Recipe::toPNG);
    ASSERT_EQ(store.jobs().size(), 2u);
    EXPECT_EQ(store.jobs()[0].state, State::running);
    EXPECT_EQ(store.jobs()[1].state, State::failed);
    EXPECT_EQ(store.jobs()[1].message, "Convert to PNG needs images.");

    store.add({temp / "gone.png", temp / "also-gone.txt"}, Recipe::toPNG);
    EXPECT_EQ(store.jobs().size(), 2u);
}

TEST_F(StoreTest, ACombiningRecipeMakesOneJobForAllItsInputs) {
    store.add({temp.write("1.png", "a"), temp.write("2.png", "b"), temp.write("3.jpg", "c"),
               temp.write("4.heic", "d")},
              Recipe::imagesToPDF);
    ASSERT_EQ(store.jobs().size(), 1u);
    EXPECT_EQ(store.jobs()[0].title(), "4 files");
    EXPECT_EQ(store.jobs()[0].inputBytes, 4);
}

TEST_F(StoreTest, AFailingJobCarriesItsSentenceAndOthersGoOn) {
    store.add({temp.write("fail.txt", "x"), temp.write("fine.txt", "y"), temp.write("z.txt", "z")},
              Recipe::docToPDF);
    gate.release(3);
    ASSERT_TRUE(waitUntil([&] { return store.activeCount() == 0; }));
    EXPECT_EQ(store.jobs()[0].state, State::failed);
    EXPECT_EQ(store.jobs()[0].message, "It broke.");
    EXPECT_TRUE(store.jobs()[0].outputs.empty());
    EXPECT_EQ(countIn(store, State::done), 2);
}

TEST_F(StoreTest, RunningJobsCannotBeRemovedAndRemovedQueuedJobsNeverStart) {
    store.add({temp.write("a.txt", "1"), temp.write("b.txt", "2"), temp.write("c.txt", "3")},
              Recipe::docToPDF);
    const QUuid running = store.jobs()[0].id;
    const QUuid queued = store.jobs()[2].id;
    ASSERT_EQ(store.jobs()[2].state, State::queued);
    store.remove(running);
    store.remove(queued);
    EXPECT_EQ(store.jobs().size(), 2u);
    gate.release(5);
    ASSERT_TRUE(waitUntil([&] { return store.activeCount() == 0; }));
    EXPECT_EQ(gate.started().size(), 2u);

    store.clearFinished();
    EXPECT_TRUE(store.jobs().empty());
}

TEST_F(StoreTest, RetryRunsTheJobAgainAsANewJobOnTop) {
    store.add({temp.write("fail-once.txt", "1")}, Recipe::docToPDF);
    gate.release();
    ASSERT_TRUE(waitUntil([&] { return store.activeCount() == 0; }));
    const QUuid first = store.jobs()[0].id;
    store.add({temp.write("other.txt", "2")}, Recipe::docToPDF);
    gate.release();
    ASSERT_TRUE(waitUntil([&] { return store.activeCount() == 0; }));

    store.retry(first);
    ASSERT_EQ(store.jobs().size(), 2u);
    EXPECT_NE(store.jobs()[0].id, first);
    EXPECT_EQ(store.jobs()[0].title(), "fail-once.txt");
    EXPECT_EQ(store.jobs()[0].state, State::running);
}

TEST_F(StoreTest, SavedBytesCountOnlyShrinkingConversions) {
    store.seedDemo(RecipeGroup::images);
    // shrink 6820000→984000, toJPG 2910000→1730000, strip 4480000→4120000; the PDF of
    // scans makes something new and the running and queued jobs have not finished.
    EXPECT_EQ(store.savedBytes(), (6820000 - 984000) + (2910000 - 1730000) + (4480000 - 4120000));
    store.seedDemo(RecipeGroup::documents);
    EXPECT_EQ(store.savedBytes(), 0);
    EXPECT_EQ(store.finishedCount(), 3);
}

TEST(StoreDescribe, NamesKindsInCodePointOrder) {
    EXPECT_EQ(Store::describe(Recipe(Recipe::toWAV).accepts()), "audio or videos");
    EXPECT_EQ(Store::describe({FileKind::pdf, FileKind::image}), "PDFs or images");
    EXPECT_EQ(Store::describe({FileKind::archive}), "zip archives");
    EXPECT_EQ(Store::describe(FileKindSet::all()), "files");
}

TEST(StoreSettings, RecipeAndOptionsSurviveARestartAndBadValuesFallBack) {
    TempFolder temp;
    const QString file = QString::fromStdString((temp / "settings.ini").string());
    {
        QSettings settings(file, QSettings::IniFormat);
        Store store(&settings);
        EXPECT_EQ(store.recipe(), Recipe::toJPG);
        store.setRecipe(Recipe::videoHEVC);
        ConversionOptions options;
        options.gifFPS = 15;
        store.setOptions(options);
    }
    {
        QSettings settings(file, QSettings::IniFormat);
        Store store(&settings);
        EXPECT_EQ(store.recipe(), Recipe::videoHEVC);
        EXPECT_EQ(store.options().gifFPS, 15);
        settings.setValue("recipe", "VideoHEVC");
        settings.setValue("options", QByteArray("{\"quality\":0.5}"));
    }
    QSettings settings(file, QSettings::IniFormat);
    Store store(&settings);
    EXPECT_EQ(store.recipe(), Recipe::toJPG);
    EXPECT_EQ(store.options(), ConversionOptions());
}

} // namespace
} // namespace kelvane
