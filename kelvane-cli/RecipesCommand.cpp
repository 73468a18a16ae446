#include "Command.h"
#include "Paths.h"
#include "catalogue/Recipe.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace kelvane::cli {
namespace {

QJsonArray acceptedKinds(Recipe recipe) {
    QJsonArray kinds;
    for (FileKind kind : FileKind::allCases())
        if (recipe.accepts().contains(kind))
            kinds.append(text(kind.rawValue()));
    return kinds;
}

QJsonObject recipeObject(Recipe recipe) {
    const auto extension = recipe.outputExtension();
    return {
        {"id", text(recipe.rawValue())},
        {"title", text(recipe.title())},
        {"subtitle", text(recipe.subtitle())},
        {"symbol", text(recipe.symbol())},
        {"accepts", acceptedKinds(recipe)},
        {"outputExtension", extension ? QJsonValue(text(*extension)) : QJsonValue()},
        {"combinesInputs", recipe.combinesInputs()},
        {"dockTitle", QString::fromStdString(recipe.dockTitle(1.0))},
    };
}

void printTable() {
    for (RecipeGroup group : RecipeGroup::allCases()) {
        printLine(text(group.title()));
        for (Recipe recipe : group.recipes()) {
            const auto extension = recipe.outputExtension();
            printLine(QStringLiteral("  %1 %2 %3")
                          .arg(text(recipe.rawValue()), -14)
                          .arg(text(recipe.title()), -22)
                          .arg(extension ? text(*extension) : QStringLiteral("–")));
        }
    }
}

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription("Lists every recipe, grouped as the sidebar shows them.");
    parser.addOption({"json", "Print the catalogue as JSON."});
}

int run(const QCommandLineParser& parser) {
    if (!parser.positionalArguments().isEmpty())
        throw UsageError("recipes takes no files");
    if (!parser.isSet("json")) {
        printTable();
        return success;
    }
    QJsonArray groups;
    for (RecipeGroup group : RecipeGroup::allCases()) {
        QJsonArray recipes;
        for (Recipe recipe : group.recipes())
            recipes.append(recipeObject(recipe));
        groups.append(QJsonObject{{"group", text(group.title())},
                                  {"symbol", text(group.symbol())},
                                  {"recipes", recipes}});
    }
    printJSON(QJsonDocument(groups));
    return success;
}

} // namespace

const Command& recipesCommand() {
    static const Command command{"recipes", "List the recipes by group", describe, run};
    return command;
}

} // namespace kelvane::cli
