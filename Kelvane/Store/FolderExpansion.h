#pragma once

#include "catalogue/Recipe.h"

#include <filesystem>
#include <vector>

namespace kelvane::FolderExpansion {

// Whether a per-file recipe takes `item` as a folder of files to convert one by one: a
// folder that is not itself something the recipe converts (an RTFD document is a folder).
bool expands(const std::filesystem::path& item, Recipe recipe);

// The files inside `folder`, at any depth, that `recipe` accepts, in natural name order
// ("2.jpg" before "10.jpg", case aside). Hidden files and folders are skipped, and so are
// earlier results: names ending in one of the recipes' suffixes in parentheses,
// "Beach (converted 2).jpg", "Report (pages)".
std::vector<std::filesystem::path> filesFor(const std::filesystem::path& folder, Recipe recipe);

// "Beach (converted).jpg", "Report (pages 2)": a name one of the recipes gave.
bool isEarlierResult(const std::filesystem::path& item);

} // namespace kelvane::FolderExpansion
