#pragma once

#include "catalogue/FileKind.h"
#include "catalogue/Recipe.h"

#include <QStringList>

#include <vector>

namespace kelvane::FileManagerMenus {

// The files one right-click action applies to, by the names file managers match on.
struct FileTypes {
    QStringList extensions; // lower case, without the dot
    QStringList mimeTypes;  // the shared MIME database's name for each extension's files
};

// One recipe offered on files: exactly the types it fits (a JPG is not offered "Convert to
// JPG").
struct RecipeAction {
    Recipe recipe;
    FileTypes types;
};

// The command a file manager runs: queue the selected files with one recipe, quietly.
QString command(Recipe recipe, const QString& filesPlaceholder);
// "Convert to JPG with Kelvane", for menus that can't nest the actions under one item.
QString flatLabel(Recipe recipe);

// Every recipe but "Compress to Zip" with the types it fits, in the order the kinds' menus
// list them.
std::vector<RecipeAction> recipeActions();

} // namespace kelvane::FileManagerMenus
