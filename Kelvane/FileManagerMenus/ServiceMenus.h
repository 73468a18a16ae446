#pragma once

#include "catalogue/Recipe.h"

#include <QStringList>

#include <vector>

namespace kelvane::FileManagerMenus {

// How many files a service menu shows for.
enum class SelectionSize { any, one, several };

// One service menu: the recipes offered, in the window's order, when every selected file has
// one of `mimeTypes`. These file managers match a type by inheritance too (a DOCX is a ZIP, a
// CSV plain text) and ordering across menu files is theirs, so every set of types sharing one
// list of recipes gets a file of its own, and `excludedTypes` keeps the types that inherit
// them, but are offered other recipes, out of it.
struct ServiceMenu {
    QStringList mimeTypes;
    QStringList excludedTypes;
    std::vector<Recipe> recipes;
    SelectionSize selection;
};

// The menus for the types the catalogue reads, the types that inherit them, and, last, one
// offering "Compress to Zip" on every other file and on folders.
std::vector<ServiceMenu> serviceMenus();

} // namespace kelvane::FileManagerMenus
