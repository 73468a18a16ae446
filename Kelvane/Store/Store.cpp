#include "Store/Store.h"

#include "Store/FolderExpansion.h"
#include "catalogue/FileSize.h"
#include "naming/PendingOutput.h"

#include <QSettings>

#include <algorithm>
#include <atomic>
#include <exception>
#include <memory>
#include <utility>

namespace kelvane {
namespace {

using std::filesystem::path;

constexpr double progressStep = 0.004;
const char* const recipeKey = "recipe";
const char* const optionsKey = "options";

std::int64_t totalSize(const std::vector<path>& paths) {
    std::int64_t total = 0;
    for (const path& item : paths)
        total += FileSize::of(item);
    return total;
}

// The results of a job that was stopped while they were being made.
void removeAll(const std::vector<path>& outputs) {
    std::error_code ignored;
    for (const path& output : outputs)
        std::filesystem::remove_all(output, ignored);
}

bool exists(const path& item) {
    std::error_code error;
    return std::filesystem::exists(item, error);
}

// Recipes whose result is a different kind of thing, not a smaller copy of the input.
bool countsAsSaving(Recipe recipe) {
    switch (recipe) {
    case Recipe::imagesToPDF:
    case Recipe::videoToGIF:
    case Recipe::extractAudio:
    case Recipe::pdfToPNG:
    case Recipe::pdfToJPG:
    case Recipe::zip:
    case Recipe::unzip:
        return false;
    default:
        return recipe.group() != RecipeGroup::documents;
    }
}

Recipe restoredRecipe(const QSettings* settings) {
    if (settings == nullptr)
        return Recipe::toJPG;
    const auto stored = Recipe::fromRawValue(settings->value(recipeKey).toString().toStdString());
    return stored.value_or(Recipe::toJPG);
}

ConversionOptions restoredOptions(const QSettings* settings) {
    if (settings == nullptr)
        return {};
    return ConversionOptions::restored(settings->value(optionsKey).toByteArray());
}

} // namespace

Store::Store(QSettings* settings, QObject* parent)
    : QObject(parent)
    , settings_(settings)
    , recipe_(restoredRecipe(settings))
    , options_(restoredOptions(settings))
    , runner_([](Recipe recipe, const std::vector<path>& inputs, const ConversionOptions& options,
                 const Engine::Progress& progress,
                 const StopSignal&) { return Engine::run(recipe, inputs, options, progress); }) {
    pool_.setMaxThreadCount(maxParallel);
}

Store::~Store() {
    // Runs still under way post their results to this object; stop them and let them end
    // first. What they post is dropped with the object.
    for (const auto& [id, signal] : stopSignals_)
        signal->request();
    pool_.waitForDone();
}

void Store::setRecipe(Recipe recipe) {
    if (recipe == recipe_)
        return;
    recipe_ = recipe;
    if (settings_ != nullptr)
        settings_->setValue(recipeKey, QString::fromUtf8(recipe.rawValue()));
    emit recipeChanged();
}

void Store::setOptions(const ConversionOptions& options) {
    if (options == options_)
        return;
    options_ = options;
    if (settings_ != nullptr)
        settings_->setValue(optionsKey, options.toJSON());
    emit optionsChanged();
}

void Store::setShowOptions(bool show) {
    if (show == showOptions_)
        return;
    showOptions_ = show;
    emit showOptionsChanged();
}

int Store::activeCount() const {
    return static_cast<int>(std::count_if(jobs_.begin(), jobs_.end(),
                                          [](const Job& job) { return !job.isFinished(); }));
}

int Store::finishedCount() const {
    return static_cast<int>(jobs_.size()) - activeCount();
}

std::int64_t Store::savedBytes() const {
    std::int64_t saved = 0;
    for (const Job& job : jobs_)
        if (job.state == Job::State::done && countsAsSaving(job.recipe))
            saved += std::max<std::int64_t>(0, job.inputBytes - job.outputBytes);
    return saved;
}

QString Store::describe(FileKindSet kinds) {
    static const std::pair<FileKind::Value, const char*> names[] = {
        {FileKind::image, "images"},       {FileKind::pdf, "PDFs"},
        {FileKind::video, "videos"},       {FileKind::audio, "audio"},
        {FileKind::document, "documents"}, {FileKind::archive, "zip archives"},
        {FileKind::other, "files"},
    };
    QStringList described;
    for (const auto& [kind, name] : names)
        if (kinds.contains(kind))
            described << QString::fromLatin1(name);
    if (described.size() >= 5)
        return QStringLiteral("files");
    std::sort(described.begin(), described.end()); // code point order: "PDFs" first
    return described.join(QStringLiteral(" or "));
}

Job Store::newJob(Recipe recipe, std::vector<path> inputs, bool fromDock) {
    Job job(recipe, std::move(inputs));
    job.fromDock = fromDock;
    job.sequence = nextSequence_++;
    return job;
}

Job Store::failedJob(Recipe recipe, const path& input, QString message) {
    Job job = newJob(recipe, {input}, false);
    job.state = Job::State::failed;
    job.message = std::move(message);
    return job;
}

// "“Holiday” has no images to convert."
QString Store::nothingToConvert(const path& folder, Recipe recipe) {
    return QStringLiteral("“%1” has no %2 to convert.")
        .arg(QString::fromStdString(folder.filename().string()), describe(recipe.accepts()));
}

void Store::insertOnTop(Job job) {
    jobs_.insert(jobs_.begin(), std::move(job));
}

void Store::add(const std::vector<path>& urls, std::optional<Recipe> recipe, bool fromDock) {
    const Recipe chosen = recipe.value_or(recipe_);
    std::vector<path> present;
    std::copy_if(urls.begin(), urls.end(), std::back_inserter(present), exists);
    if (present.empty())
        return;

    std::vector<path> accepted;
    for (const path& url : present) {
        if (FolderExpansion::expands(url, chosen)) {
            const std::vector<path> files = FolderExpansion::filesFor(url, chosen);
            if (files.empty())
                insertOnTop(failedJob(chosen, url, nothingToConvert(url, chosen)));
            accepted.insert(accepted.end(), files.begin(), files.end());
            continue;
        }
        if (chosen.accepts().contains(FileKind::of(url))) {
            accepted.push_back(url);
            continue;
        }
        insertOnTop(failedJob(chosen, url,
                              QString::fromUtf8(chosen.title()) + " needs " +
                                  describe(chosen.accepts()) + "."));
    }
    if (chosen.combinesInputs()) {
        if (!accepted.empty())
            insertOnTop(newJob(chosen, accepted, fromDock));
    } else {
        // Made in the given order, inserted so that the first file stands highest.
        std::vector<Job> made;
        made.reserve(accepted.size());
        for (const path& url : accepted)
            made.push_back(newJob(chosen, {url}, fromDock));
        jobs_.insert(jobs_.begin(), std::make_move_iterator(made.begin()),
                     std::make_move_iterator(made.end()));
    }
    emit jobsChanged();
    pump();
}

std::size_t Store::countToQueue(const std::vector<path>& urls, std::optional<Recipe> recipe) const {
    const Recipe chosen = recipe.value_or(recipe_);
    if (chosen.combinesInputs())
        return urls.empty() ? 0 : 1;
    std::size_t count = 0;
    for (const path& url : urls)
        count += FolderExpansion::expands(url, chosen)
                     ? FolderExpansion::filesFor(url, chosen).size()
                     : 1;
    return count;
}

void Store::retry(const QUuid& id) {
    const int row = rowOf(id);
    if (row < 0)
        return;
    const Job job = jobs_[static_cast<std::size_t>(row)];
    std::erase_if(jobs_, [&](const Job& each) { return each.id == id; });
    emit jobsChanged();
    add(job.inputs, job.recipe, false);
}

void Store::remove(const QUuid& id) {
    const auto removed = std::erase_if(
        jobs_, [&](const Job& job) { return job.id == id && job.state != Job::State::running; });
    if (removed > 0)
        emit jobsChanged();
}

void Store::clearFinished() {
    if (std::erase_if(jobs_, [](const Job& job) { return job.isFinished(); }) > 0)
        emit jobsChanged();
}

void Store::stop(const QUuid& id) {
    const int row = rowOf(id);
    if (row < 0)
        return;
    markStopped(static_cast<std::size_t>(row));
    pump();
}

// Nothing is left waiting, so nothing is started: stopping one job at a time would hand each
// freed place to the next in line, starting every waiting job only to stop it.
void Store::stopAll() {
    for (std::size_t row = 0; row < jobs_.size(); ++row)
        markStopped(row);
}

void Store::markStopped(std::size_t row) {
    Job& job = jobs_[row];
    if (job.isFinished())
        return;
    if (const auto signal = stopSignals_.find(job.id); signal != stopSignals_.end())
        signal->second->request();
    job.state = Job::State::stopped;
    emit jobUpdated(static_cast<int>(row));
}

int Store::rowOf(const QUuid& id) const {
    const auto found =
        std::find_if(jobs_.begin(), jobs_.end(), [&](const Job& job) { return job.id == id; });
    return found == jobs_.end() ? -1 : static_cast<int>(found - jobs_.begin());
}

void Store::pump() {
    for (;;) {
        const auto running = std::count_if(jobs_.begin(), jobs_.end(), [](const Job& job) {
            return job.state == Job::State::running;
        });
        if (running >= maxParallel)
            return;
        const Job* oldestQueued = nullptr;
        for (const Job& job : jobs_)
            if (job.state == Job::State::queued &&
                (oldestQueued == nullptr || job.sequence < oldestQueued->sequence))
                oldestQueued = &job;
        if (oldestQueued == nullptr)
            return;
        start(oldestQueued->id);
    }
}

void Store::start(const QUuid& id) {
    const int row = rowOf(id);
    if (row < 0)
        return;
    Job& job = jobs_[static_cast<std::size_t>(row)];
    job.state = Job::State::running;
    job.inputBytes = totalSize(job.inputs);
    emit jobUpdated(row);
    clearAbandonedOutput(job.inputs);
    auto stopSignal = std::make_shared<StopSignal>();
    stopSignals_[id] = stopSignal;

    const Recipe recipe = job.recipe;
    const std::vector<path> inputs = job.inputs;
    const ConversionOptions options = options_;
    // Reports come from any thread; only those that move the bar travel to this one.
    auto lastPosted = std::make_shared<std::atomic<double>>(0.0);
    const Engine::Progress progress = [this, id, lastPosted](double fraction) {
        if (std::abs(fraction - lastPosted->load()) <= progressStep)
            return;
        lastPosted->store(fraction);
        QMetaObject::invokeMethod(
            this, [this, id, fraction] { setProgress(id, fraction); }, Qt::QueuedConnection);
    };
    pool_.start([this, id, recipe, inputs, options, progress, stopSignal, runner = runner_] {
        std::vector<path> outputs;
        std::optional<QString> error;
        try {
            outputs = runner(recipe, inputs, options, progress, *stopSignal);
            if (stopSignal->requested())
                removeAll(std::exchange(outputs, {}));
        } catch (const JobStopped& stopped) {
            error = QString::fromUtf8(stopped.what());
        } catch (const std::exception& failure) {
            error = QString::fromUtf8(failure.what());
        } catch (...) {
            error = QStringLiteral("The conversion failed unexpectedly.");
        }
        QMetaObject::invokeMethod(
            this, [this, id, outputs, error] { finish(id, outputs, error); }, Qt::QueuedConnection);
    });
}

// What an earlier run that was killed left in the folders this job writes to, once per
// folder: staging folders and temporaries whose process is gone.
void Store::clearAbandonedOutput(const std::vector<path>& inputs) {
    for (const path& input : inputs) {
        const path folder = input.parent_path();
        if (sweptFolders_.insert(folder).second)
            removeAbandoned(folder);
    }
}

void Store::setProgress(const QUuid& id, double progress) {
    const int row = rowOf(id);
    if (row < 0)
        return;
    Job& job = jobs_[static_cast<std::size_t>(row)];
    if (job.state != Job::State::running || std::abs(job.progress - progress) <= progressStep)
        return;
    job.progress = progress;
    emit jobUpdated(row);
}

void Store::finish(const QUuid& id, std::vector<path> outputs, std::optional<QString> error) {
    stopSignals_.erase(id);
    const int row = rowOf(id);
    if (row < 0)
        return;
    Job& job = jobs_[static_cast<std::size_t>(row)];
    if (job.state == Job::State::stopped) {
        // Stopped after the run had already ended: what it made goes too.
        removeAll(outputs);
        pump();
        return;
    }
    job.progress = 1.0;
    job.outputs = std::move(outputs);
    job.outputBytes = totalSize(job.outputs);
    job.state = error ? Job::State::failed : Job::State::done;
    job.message = std::move(error);
    emit jobUpdated(row);
    pump();
}

} // namespace kelvane
