#include "engine/Engine.h"

#include "documents/DocumentTools.h"
#include "images/ImageTools.h"
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

path convertDocument(const path& input, Recipe recipe, const ConversionOptions& options,
                     const Progress& progress) {
    if (recipe == Recipe::pdfToPNG || recipe == Recipe::pdfToJPG)
        return ImageTools::pdfPages(input, recipe == Recipe::pdfToPNG, options, progress);
    return DocumentTools::convert(input, recipe, options);
}

// One input through the tool family of the recipe's group. Families whose tools are not
// part of this build refuse with the layer's sentence instead of pretending to work.
path convertOne(const path& input, Recipe recipe, const ConversionOptions& options,
                const Progress& progress) {
    switch (recipe.group()) {
    case RecipeGroup::documents:
        return convertDocument(input, recipe, options, progress);
    case RecipeGroup::images:
        return ImageTools::convert(input, recipe, options);
    case RecipeGroup::video:
    case RecipeGroup::audio:
    case RecipeGroup::archives:
        break;
    }
    throw ConversionError::unsupportedRecipe();
}

std::vector<path> convertCombined(Recipe recipe, const std::vector<path>& inputs,
                                  const ConversionOptions& options, const Progress& progress) {
    if (recipe == Recipe::imagesToPDF)
        return {ImageTools::imagesToPDF(inputs, options, progress)};
    throw ConversionError::unsupportedRecipe(); // zip arrives with the archive tools
}

} // namespace

std::vector<path> run(Recipe recipe, const std::vector<path>& inputs,
                      const ConversionOptions& options, const Progress& progress) {
    validate(recipe, inputs);
    progress(0.0);
    const auto finalReport = qScopeGuard([&] { progress(1.0); });

    if (recipe.combinesInputs())
        return convertCombined(recipe, inputs, options, progress);

    std::vector<path> results;
    const double share = 1.0 / static_cast<double>(inputs.size());
    for (std::size_t index = 0; index < inputs.size(); ++index) {
        const double start = static_cast<double>(index) * share;
        const Progress mapped = [&, start](double fraction) {
            progress(start + fraction * share);
        };
        results.push_back(convertOne(inputs[index], recipe, options, mapped));
    }
    return results;
}

} // namespace kelvane::Engine
