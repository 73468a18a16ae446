#include "engine/Engine.h"

#include "engine/ToolFamilies.h"
#include "naming/ConversionError.h"

#include <QScopeGuard>

namespace kelvane::Engine {
namespace {

using std::filesystem::path;

void validate(Recipe recipe, const std::vector<path>& inputs) {
    if (inputs.empty())
        throw ConversionError::nothingToConvert();
    for (const path& input : inputs)
        if (!recipe.accepts().contains(FileKind::of(input)))
            throw ConversionError::recipeDoesNotWorkWith(recipe.title(), input.filename().string());
}

std::vector<path> convertCombined(const ToolFamily& tools, Recipe recipe,
                                  const std::vector<path>& inputs, const ConversionOptions& options,
                                  const Progress& progress) {
    if (tools.combine == nullptr)
        throw ConversionError::unsupportedRecipe();
    return {tools.combine(inputs, recipe, options, progress)};
}

} // namespace

std::vector<path> run(Recipe recipe, const std::vector<path>& inputs,
                      const ConversionOptions& options, const Progress& progress) {
    validate(recipe, inputs);
    progress(0.0);
    const auto finalReport = qScopeGuard([&] { progress(1.0); });

    // Each recipe's tools are in the module of its family, loaded on the first job.
    const ToolFamily& tools = ToolFamilies::load(ToolFamilies::familyOf(recipe));
    if (recipe.combinesInputs())
        return convertCombined(tools, recipe, inputs, options, progress);

    std::vector<path> results;
    const double share = 1.0 / static_cast<double>(inputs.size());
    for (std::size_t index = 0; index < inputs.size(); ++index) {
        const double start = static_cast<double>(index) * share;
        const Progress mapped = [&, start](double fraction) {
            progress(start + fraction * share);
        };
        results.push_back(tools.convertOne(inputs[index], recipe, options, mapped));
    }
    return results;
}

} // namespace kelvane::Engine
