#pragma once

#include "catalogue/Recipe.h"
#include "options/ConversionOptions.h"

#include <filesystem>
#include <functional>
#include <vector>

namespace kelvane::Engine {

// Called with the run's progress from 0 to 1, from whatever thread a tool reports on.
using Progress = std::function<void(double)>;

// Runs one recipe over its inputs and returns the results in input order: one for a
// combining recipe, one per input otherwise. Blocking; run it off the interface thread.
// Throws ConversionError (or a tool's own error) on the first failure; results written
// for earlier inputs stay on disk.
std::vector<std::filesystem::path> run(Recipe recipe,
                                       const std::vector<std::filesystem::path>& inputs,
                                       const ConversionOptions& options, const Progress& progress);

} // namespace kelvane::Engine
