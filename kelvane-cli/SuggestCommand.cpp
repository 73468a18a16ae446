#include "Command.h"
#include "Paths.h"
#include "catalogue/Recipe.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace kelvane::cli {
namespace {

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        "Ranks the recipes that fit all the given files together, best first.");
    parser.addOption({"json", "Print the ranking as JSON."});
    parser.addPositionalArgument("files", "Files or folders; they need not exist.", "FILE…");
}

int run(const QCommandLineParser& parser) {
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty())
        throw UsageError("suggest needs at least one FILE");
    const std::vector<Recipe> ranked = Recipe::suggestions(localPaths(files));
    if (parser.isSet("json")) {
        QJsonArray recipes;
        for (Recipe recipe : ranked)
            recipes.append(
                QJsonObject{{"id", text(recipe.rawValue())}, {"title", text(recipe.title())}});
        printJSON(QJsonDocument(recipes));
        return success;
    }
    for (Recipe recipe : ranked)
        printLine(
            QStringLiteral("%1 %2").arg(text(recipe.rawValue()), -14).arg(text(recipe.title())));
    return success;
}

} // namespace

const Command& suggestCommand() {
    static const Command command{"suggest", "Rank the recipes that fit some files", describe, run};
    return command;
}

} // namespace kelvane::cli
