#include "Command.h"
#include "OptionFlags.h"
#include "Paths.h"
#include "ProgressDisplay.h"
#include "Store/ShutdownSignals.h"
#include "Store/Store.h"
#include "Worker/WorkerRunner.h"
#include "catalogue/Recipe.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <optional>
#include <string_view>
#include <unistd.h>

namespace kelvane::cli {
namespace {

// One runner for the whole run, so the worker started ahead serves the first job.
const WorkerRunner& sharedRunner() {
    static const WorkerRunner runner;
    return runner;
}

// The value of --recipe, read from the raw arguments before Qt has parsed them.
std::optional<Recipe> recipeArgument(int argc, char* argv[]) {
    for (int index = 2; index < argc; ++index) {
        std::string_view argument(argv[index]);
        if (argument.starts_with("--"))
            argument.remove_prefix(1);
        if (argument == "-recipe" && index + 1 < argc)
            return Recipe::fromRawValue(argv[index + 1]);
        if (argument.starts_with("-recipe="))
            return Recipe::fromRawValue(argument.substr(8));
    }
    return std::nullopt;
}

Recipe recipeNamed(const QCommandLineParser& parser) {
    if (!parser.isSet("recipe"))
        throw UsageError("convert needs --recipe NAME (see 'kelvane-cli recipes')");
    const QString name = parser.value("recipe");
    const auto recipe = Recipe::fromRawValue(name.toStdString());
    if (!recipe)
        throw UsageError(
            ("unknown recipe '" + name + "' (see 'kelvane-cli recipes')").toStdString());
    return *recipe;
}

std::vector<std::filesystem::path> existingInputs(const QStringList& files) {
    if (files.isEmpty())
        throw UsageError("convert needs at least one FILE");
    std::vector<std::filesystem::path> inputs = localPaths(files);
    for (std::size_t index = 0; index < inputs.size(); ++index) {
        std::error_code error;
        if (!std::filesystem::exists(inputs[index], error))
            throw UsageError(
                ("no such file: '" + files[static_cast<qsizetype>(index)] + "'").toStdString());
        inputs[index] = std::filesystem::absolute(inputs[index]);
    }
    return inputs;
}

// The jobs of one run, in the order the files were given.
std::vector<const Job*> inGivenOrder(const Store& store) {
    std::vector<const Job*> jobs;
    for (const Job& job : store.jobs())
        jobs.push_back(&job);
    return jobs;
}

QJsonArray pathsJSON(const std::vector<std::filesystem::path>& paths) {
    QJsonArray array;
    for (const auto& path : paths)
        array.append(QString::fromStdString(path.string()));
    return array;
}

void report(const std::vector<const Job*>& jobs, bool asJSON) {
    QJsonArray results;
    for (const Job* job : jobs) {
        if (asJSON) {
            results.append(
                QJsonObject{{"recipe", text(job->recipe.rawValue())},
                            {"inputs", pathsJSON(job->inputs)},
                            {"outputs", pathsJSON(job->outputs)},
                            {"error", job->message ? QJsonValue(*job->message) : QJsonValue()}});
            continue;
        }
        if (job->message)
            printLine(QStringLiteral("%1: %2").arg(job->title(), *job->message));
        else if (job->state == Job::State::stopped)
            printLine(QStringLiteral("%1: Stopped.").arg(job->title()));
        for (const auto& output : job->outputs)
            printLine(output.string());
    }
    if (asJSON)
        printJSON(QJsonDocument(results));
}

// Runs the jobs through the same store as the window, two at a time, until all are done.
// Ctrl+C (or SIGTERM, SIGHUP) stops them all and records the signal in `interruption`.
std::vector<const Job*> runJobs(Store& store, Recipe recipe,
                                const std::vector<std::filesystem::path>& inputs,
                                int& interruption) {
    ProgressDisplay display(::isatty(STDERR_FILENO) != 0);
    ShutdownSignals signalWatcher;
    QObject::connect(&signalWatcher, &ShutdownSignals::received, [&](int number) {
        interruption = number;
        store.stopAll();
    });
    QObject::connect(&store, &Store::jobsUpdated, [&] {
        display.show(inGivenOrder(store));
        if (store.activeCount() == 0)
            QCoreApplication::quit();
    });
    store.add(inputs, recipe);
    display.show(inGivenOrder(store));
    if (store.activeCount() > 0)
        QCoreApplication::exec();
    return inGivenOrder(store);
}

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        "Runs one recipe over the given files, two at a time. Results land beside the inputs "
        "under new names; nothing is ever replaced. Progress goes to standard error, results "
        "to standard output.");
    parser.addOption({"recipe", "The recipe to run, by id (see 'kelvane-cli recipes').", "NAME"});
    addOptionFlags(parser);
    parser.addOption({"json", "Print the results as JSON."});
    parser.addOption(
        {"in-process", "Convert inside this process instead of one worker process per job."});
    parser.addPositionalArgument("files", "Files or folders to convert.", "FILE…");
}

int run(const QCommandLineParser& parser) {
    const Recipe recipe = recipeNamed(parser);
    Store store;
    if (!parser.isSet("in-process"))
        store.setRunner(sharedRunner());
    store.setOptions(optionsFromFlags(parser));
    const auto inputs = existingInputs(parser.positionalArguments());
    int interruption = 0;
    const auto jobs = runJobs(store, recipe, inputs, interruption);
    report(jobs, parser.isSet("json"));
    if (interruption != 0)
        return 128 + interruption; // the shell's convention for a process ended by a signal
    const bool allDone = std::all_of(jobs.begin(), jobs.end(),
                                     [](const Job* job) { return job->state == Job::State::done; });
    return allDone ? success : someInputFailed;
}

} // namespace

void startConvertWorker(int argc, char* argv[]) {
    if (argc < 2 || std::string_view(argv[1]) != "convert")
        return;
    if (const auto recipe = recipeArgument(argc, argv)) {
        try {
            sharedRunner().startAhead(*recipe);
        } catch (const std::exception&) {
            // The first job starts its worker itself, and reports why it could not.
        }
    }
}

const Command& convertCommand() {
    static const Command command{"convert", "Run a recipe over files", describe, run};
    return command;
}

} // namespace kelvane::cli
