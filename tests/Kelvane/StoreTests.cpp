#include "Store/ShutdownSignals.h"
#include "Store/Store.h"
#include "Worker/WorkerRunner.h"
#include "fixtures/LongClip.h"
#include "fixtures/OurWorkers.h"
#include "fixtures/TempFolder.h"
#include "fixtures/WaitUntil.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSettings>

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <mutex>

namespace kelvane {
namespace {

using fixtures::ourWorkers;
using fixtures::TempFolder;
using fixtures::waitUntil;
using State = Job::State;
namespace fs = std::filesystem;

// Stands in for the engine: each run waits until the test lets it finish, so the test
// decides when jobs end and can watch the scheduling.
class GatedRunner {
public:
    Store::Runner runner() {
        return [this](Recipe, const std::vector<fs::path>& inputs, const ConversionOptions&,
                      const Engine::Progress& progress, const StopSignal&) {
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

TEST_F(StoreTest, FilesTheRecipeCannotTakeFailAtOnceAndCombiningRecipesMakeOneJob) {
    store.add({temp.write("a.png", "1"), temp.write("notes.txt", "2"), temp / "missing.png"},
              Recipe::toPNG);
    ASSERT_EQ(store.jobs().size(), 2u);
    EXPECT_EQ(store.jobs()[0].state, State::running);
    EXPECT_EQ(store.jobs()[1].state, State::failed);
    EXPECT_EQ(store.jobs()[1].message, "Convert to PNG needs images.");

    store.add({temp / "gone.png", temp / "also-gone.txt"}, Recipe::toPNG);
    EXPECT_EQ(store.jobs().size(), 2u);
    // What a recipe needs names the kinds in code point order.
    EXPECT_EQ(Store::describe(Recipe(Recipe::toWAV).accepts()), "audio or videos");
    EXPECT_EQ(Store::describe({FileKind::pdf, FileKind::image}), "PDFs or images");
    EXPECT_EQ(Store::describe({FileKind::archive}), "zip archives");
    EXPECT_EQ(Store::describe(FileKindSet::all()), "files");

    // A combining recipe makes one job for all its inputs.
    store.add({temp.write("1.png", "a"), temp.write("2.png", "b"), temp.write("3.jpg", "c"),
               temp.write("4.heic", "d")},
              Recipe::imagesToPDF);
    ASSERT_EQ(store.jobs().size(), 3u);
    EXPECT_EQ(store.jobs().front().title(), "4 files");
    EXPECT_EQ(store.jobs().front().inputBytes, 4);
}

TEST_F(StoreTest, AFailingJobCarriesItsSentenceOthersGoOnAndItCanBeTriedAgain) {
    store.add({temp.write("fail.txt", "x"), temp.write("fine.txt", "y"), temp.write("z.txt", "z")},
              Recipe::docToPDF);
    gate.release(3);
    ASSERT_TRUE(waitUntil([&] { return store.activeCount() == 0; }));
    EXPECT_EQ(store.jobs()[0].state, State::failed);
    EXPECT_EQ(store.jobs()[0].message, "It broke.");
    EXPECT_TRUE(store.jobs()[0].outputs.empty());
    EXPECT_EQ(countIn(store, State::done), 2);

    // Trying again runs the job as a new job on top.
    const QUuid failed = store.jobs()[0].id;
    store.add({temp.write("other.txt", "2")}, Recipe::docToPDF);
    gate.release();
    ASSERT_TRUE(waitUntil([&] { return store.activeCount() == 0; }));
    store.retry(failed);
    ASSERT_EQ(store.jobs().size(), 4u);
    EXPECT_NE(store.jobs()[0].id, failed);
    EXPECT_EQ(store.jobs()[0].title(), "fail.txt");
    EXPECT_EQ(store.jobs()[0].state, State::running);
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

TEST_F(StoreTest, SavedBytesCountOnlyShrinkingConversions) {
    store.seedDemo(RecipeGroup::images);
    // shrink 6820000→984000, toJPG 2910000→1730000, strip 4480000→4120000; the PDF of
    // scans makes something new and the running and queued jobs have not finished.
    EXPECT_EQ(store.savedBytes(), (6820000 - 984000) + (2910000 - 1730000) + (4480000 - 4120000));
    store.seedDemo(RecipeGroup::documents);
    EXPECT_EQ(store.savedBytes(), 0);
    EXPECT_EQ(store.finishedCount(), 3);
    store.clearAll(); // the demonstration's running jobs never end
}

TEST_F(StoreTest, FoldersExpandToTheFilesAPerFileRecipeTakesInNaturalOrder) {
    const fs::path holiday = temp.makeFolder("Holiday");
    for (const char* name :
         {"b/IMG 10.jpg", "b/img 2.png", "a.heic", "b/c.JPG", "notes.txt", ".hidden.jpg",
          ".cache/x.jpg", "a (converted).jpg", "a (converted 2).jpg", "a (resized).png",
          "Report (pages)/p 1.png", "Walk (2019).jpg"})
        temp.write("Holiday/" + std::string(name), "x");
    temp.makeFolder("Nothing here/deeper");
    temp.write("Nothing here/deeper/readme.txt", "x");
    EXPECT_EQ(store.countToQueue({holiday}, Recipe::toPNG), 5u);

    store.add({holiday, temp / "Nothing here"}, Recipe::toPNG);
    std::vector<std::string> queued;
    for (const Job& job : store.jobs())
        queued.push_back(job.inputs.front().lexically_relative(holiday).string());
    EXPECT_EQ(queued, (std::vector<std::string>{"a.heic", "b/c.JPG", "b/img 2.png", "b/IMG 10.jpg",
                                                "Walk (2019).jpg", "../Nothing here"}));
    EXPECT_EQ(store.jobs().back().state, State::failed);
    EXPECT_EQ(store.jobs().back().message, "“Nothing here” has no images to convert.");

    // Combining recipes take the folder as it is: a zip of the whole folder, and images to
    // PDF say what they need.
    store.add({holiday}, Recipe::zip);
    EXPECT_EQ(store.jobs().front().inputs, std::vector<fs::path>{holiday});
    store.add({holiday}, Recipe::imagesToPDF);
    EXPECT_EQ(store.jobs().front().message, "Images to PDF needs images.");
}

TEST_F(StoreTest, StoppedJobsEndAtOnceLeaveNothingAndCanBeTriedAgain) {
    store.add({temp.write("a.txt", "1"), temp.write("b.txt", "2"), temp.write("c.txt", "3"),
               temp.write("d.txt", "4")},
              Recipe::docToPDF);
    ASSERT_TRUE(waitUntil([&] { return gate.started().size() == 2; }));
    const QUuid first = store.jobs()[0].id;
    store.stop(first);
    EXPECT_EQ(store.jobs()[0].state, State::stopped);
    EXPECT_EQ(store.jobs()[2].state, State::running) << "the freed place goes to the next job";

    store.stopAll();
    EXPECT_EQ(countIn(store, State::stopped), 4);
    EXPECT_EQ(store.activeCount(), 0);
    // These runs cannot be interrupted: what they deliver afterwards is removed.
    temp.write("result.out", "made just as the stop came");
    gate.release(3);
    ASSERT_TRUE(waitUntil([&] { return !fs::exists(temp / "result.out"); }));
    EXPECT_EQ(countIn(store, State::stopped), 4);
    const auto started = gate.started();
    EXPECT_EQ(std::count(started.begin(), started.end(), "d.txt"), 0)
        << "a job stopped while waiting never starts";

    store.retry(first);
    EXPECT_EQ(store.jobs()[0].title(), "a.txt");
    EXPECT_EQ(store.jobs()[0].state, State::running);
}

TEST(StoreWithWorkers, AStoppedOrKilledEncodeLeavesNoFileAndSaysWhatHappened) {
    TempFolder temp;
    const fs::path clip = fixtures::longClip(temp);
    Store store;
    store.setRunner(WorkerRunner());
    store.add({clip}, Recipe::videoHEVC);
    const auto encoding = [&] {
        return store.jobs()[0].state == State::running && store.jobs()[0].progress > 0;
    };
    ASSERT_TRUE(waitUntil(encoding));

    QElapsedTimer timer;
    timer.start();
    store.stop(store.jobs()[0].id);
    EXPECT_EQ(store.jobs()[0].state, State::stopped);
    ASSERT_TRUE(waitUntil([] { return ourWorkers().empty(); }));
    std::printf("the worker was gone %lld ms after Stop\n",
                static_cast<long long>(timer.elapsed()));
    EXPECT_EQ(temp.entries(), std::vector<std::string>{"clip.mov"});

    store.retry(store.jobs()[0].id);
    ASSERT_EQ(store.jobs().size(), 1u);
    ASSERT_TRUE(waitUntil(encoding));
    EXPECT_EQ(temp.entries(), std::vector<std::string>{"clip.mov"}) << "visible mid-encode";
    for (const pid_t worker : ourWorkers())
        ::kill(worker, SIGKILL);
    ASSERT_TRUE(waitUntil([&] { return store.jobs()[0].state == State::failed; }));
    EXPECT_EQ(store.jobs()[0].message, "“clip.mov” stopped the converter unexpectedly.");
    EXPECT_EQ(temp.entries(), std::vector<std::string>{"clip.mov"});
}

// What the application does on SIGTERM (logging out), SIGINT and SIGHUP.
TEST(StoreWithWorkers, ASignalStopsEveryJobLeavesNothingAndQuitsWithZero) {
    TempFolder temp;
    const fs::path clip = fixtures::longClip(temp);
    auto store = std::make_unique<Store>();
    store->setRunner(WorkerRunner());
    quitCleanlyOnShutdownSignals(*store);
    store->add({clip, clip, clip}, Recipe::videoHEVC);
    ASSERT_TRUE(waitUntil([&] { return store->jobs()[0].progress > 0; }));

    QElapsedTimer timer;
    timer.start();
    ::raise(SIGTERM);
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(countIn(*store, State::stopped), 3);
    store.reset();
    std::printf("workers gone %lld ms after SIGTERM\n", static_cast<long long>(timer.elapsed()));
    EXPECT_TRUE(ourWorkers().empty());
    EXPECT_EQ(temp.entries(), std::vector<std::string>{"clip.mov"});
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
