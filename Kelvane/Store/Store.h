#pragma once

#include "Store/Job.h"
#include "Worker/StopSignal.h"
#include "engine/Engine.h"
#include "options/ConversionOptions.h"

#include <QObject>
#include <QThreadPool>

#include <functional>
#include <map>
#include <memory>
#include <set>

class QSettings;

namespace kelvane {

// The application's one model: the chosen recipe, the current options and the queue of
// jobs. Lives on the main thread and takes no locks: tool work runs on its own pool and
// comes back through queued calls. At most `maxParallel` jobs run at once, oldest first.
class Store : public QObject {
    Q_OBJECT

public:
    static constexpr int maxParallel = 2;

    // How a job's work is done; the engine unless a test substitutes its own. A runner that
    // can stop its work watches the signal and throws JobStopped; one that cannot (the
    // engine in this process) runs on, and what it writes is removed when it ends.
    using Runner = std::function<std::vector<std::filesystem::path>(
        Recipe, const std::vector<std::filesystem::path>&, const ConversionOptions&,
        const Engine::Progress&, const StopSignal&)>;

    // With settings, the recipe and options are restored from and saved to them at once on
    // every change; without, nothing is kept.
    explicit Store(QSettings* settings = nullptr, QObject* parent = nullptr);
    ~Store() override;

    Recipe recipe() const { return recipe_; }
    void setRecipe(Recipe recipe);
    const ConversionOptions& options() const { return options_; }
    void setOptions(const ConversionOptions& options);
    bool showOptions() const { return showOptions_; }
    void setShowOptions(bool show);

    // Newest first.
    const std::vector<Job>& jobs() const { return jobs_; }
    int activeCount() const;
    int finishedCount() const;
    // What finished conversions saved, leaving out recipes that make new kinds of files.
    std::int64_t savedBytes() const;

    // Queues files for a recipe (the current one when none): missing paths are skipped,
    // inputs the recipe cannot take become failed jobs saying what it needs. For a per-file
    // recipe a folder stands for the files inside it that the recipe takes, at any depth, in
    // natural name order (see FolderExpansion); a folder without any is one failed job.
    void add(const std::vector<std::filesystem::path>& urls,
             std::optional<Recipe> recipe = std::nullopt, bool fromDock = false);
    // How many jobs add() would queue for these files, folders expanded: the window asks
    // before queuing more than askAbove at once.
    std::size_t countToQueue(const std::vector<std::filesystem::path>& urls,
                             std::optional<Recipe> recipe = std::nullopt) const;
    static constexpr std::size_t askAbove = 10'000;
    void retry(const QUuid& id);
    // A running job cannot be removed.
    void remove(const QUuid& id);
    void clearFinished();
    // Stops a running job at once: its state becomes stopped, its worker is told and killed
    // 2 s later, and its partial output is removed. A queued job is stopped before it starts.
    void stop(const QUuid& id);
    // Stops every running and queued job. The work ends on the runners' threads; destroying
    // the store waits for it, so quitting after this leaves nothing behind.
    void stopAll();
    // Replaces the queue with fixed demonstration jobs; nothing is started.
    void seedDemo(RecipeGroup group);
    // Empties the queue, running jobs included (what they deliver later is dropped): for
    // snapshot mode, which replaces the queue wholesale between shots.
    void clearAll();

    // "images", "audio or videos", "files": what a recipe accepting these kinds needs.
    static QString describe(FileKindSet kinds);

    void setRunner(Runner runner) { runner_ = std::move(runner); }

signals:
    void recipeChanged();
    void optionsChanged();
    void showOptionsChanged();
    // The list itself changed: jobs added, removed or reordered.
    void jobsChanged();
    // Fields of the job at this row changed.
    void jobUpdated(int row);

private:
    void pump();
    void start(const QUuid& id);
    void setProgress(const QUuid& id, double progress);
    void finish(const QUuid& id, std::vector<std::filesystem::path> outputs,
                std::optional<QString> error);
    int rowOf(const QUuid& id) const;
    void markStopped(std::size_t row);
    void insertOnTop(Job job);
    Job newJob(Recipe recipe, std::vector<std::filesystem::path> inputs, bool fromDock);
    Job failedJob(Recipe recipe, const std::filesystem::path& input, QString message);
    static QString nothingToConvert(const std::filesystem::path& folder, Recipe recipe);
    void clearAbandonedOutput(const std::vector<std::filesystem::path>& inputs);

    QSettings* settings_;
    Recipe recipe_ = Recipe::toJPG;
    ConversionOptions options_;
    bool showOptions_ = true;
    std::vector<Job> jobs_;
    Runner runner_;
    std::uint64_t nextSequence_ = 0;
    std::map<QUuid, std::shared_ptr<StopSignal>> stopSignals_; // of running jobs
    std::set<std::filesystem::path> sweptFolders_;
    QThreadPool pool_;
};

} // namespace kelvane
