#include "Command.h"
#include "OptionFlags.h"
#include "Paths.h"
#include "catalogue/Recipe.h"
#include "naming/ConversionError.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace kelvane::cli {
namespace {

struct Outcome {
    std::filesystem::path input;
    std::optional<std::filesystem::path> output;
    std::string error;
};

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
    std::vector<std::filesystem::path> inputs;
    for (const QString& file : files) {
        std::error_code error;
        if (!std::filesystem::exists(localPath(file), error))
            throw UsageError(("no such file: '" + file + "'").toStdString());
        inputs.push_back(std::filesystem::absolute(localPath(file)));
    }
    return inputs;
}

// The conversion tools are not part of this build yet: every input fails with the layer's
// own sentence rather than pretending to work.
std::vector<Outcome> convert(Recipe, const ConversionOptions&,
                             const std::vector<std::filesystem::path>& inputs) {
    std::vector<Outcome> outcomes;
    for (const auto& input : inputs)
        outcomes.push_back({input, std::nullopt, ConversionError::unsupportedRecipe().message()});
    return outcomes;
}

void report(const std::vector<Outcome>& outcomes, bool asJSON) {
    QJsonArray results;
    for (const Outcome& outcome : outcomes) {
        const QString input = QString::fromStdString(outcome.input.string());
        const QString output =
            outcome.output ? QString::fromStdString(outcome.output->string()) : QString();
        const QString error = QString::fromStdString(outcome.error);
        if (asJSON)
            results.append(
                QJsonObject{{"input", input},
                            {"output", outcome.output ? QJsonValue(output) : QJsonValue()},
                            {"error", outcome.error.empty() ? QJsonValue() : QJsonValue(error)}});
        else
            printLine(outcome.output ? output : QStringLiteral("%1: %2").arg(input, error));
    }
    if (asJSON)
        printJSON(QJsonDocument(results));
}

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        "Runs one recipe over the given files. Results land beside the inputs under new names; "
        "nothing is ever replaced.");
    parser.addOption({"recipe", "The recipe to run, by id (see 'kelvane-cli recipes').", "NAME"});
    addOptionFlags(parser);
    parser.addOption({"json", "Print the results as JSON."});
    parser.addPositionalArgument("files", "Files or folders to convert.", "FILE…");
}

int run(const QCommandLineParser& parser) {
    const Recipe recipe = recipeNamed(parser);
    const ConversionOptions options = optionsFromFlags(parser);
    const auto inputs = existingInputs(parser.positionalArguments());
    const auto outcomes = convert(recipe, options, inputs);
    report(outcomes, parser.isSet("json"));
    const bool allSucceeded =
        std::all_of(outcomes.begin(), outcomes.end(),
                    [](const Outcome& outcome) { return outcome.error.empty(); });
    return allSucceeded ? success : someInputFailed;
}

} // namespace

const Command& convertCommand() {
    static const Command command{"convert", "Run a recipe over files", describe, run};
    return command;
}

} // namespace kelvane::cli
