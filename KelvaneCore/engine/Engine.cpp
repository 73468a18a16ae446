#include "engine/Engine.h"

#include "archives/ArchiveTools.h"
#include "documents/DocumentTools.h"
#include "images/ImageTools.h"
#include "media/AudioTools.h"
#include "media/VideoTools.h"
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

path convertVideo(const path& input, Recipe recipe, const ConversionOptions& options,
                  const Progress& progress) {
    if (recipe == Recipe::videoToGIF)
        return VideoTools::gif(input, options, progress);
    if (recipe == Recipe::extractAudio) // "Convert to M4A" given a movie
        return AudioTools::convert(input, Recipe::toM4A, options, progress);
    return VideoTools::convert(input, recipe, options, progress);
}

path convertAudio(const path& input, Recipe recipe, const ConversionOptions& options,
                  const Progress& progress) {
    return AudioTools::convert(input, recipe, options, progress);
}

// One input through the tool family of the recipe's group.
path convertOne(const path& input, Recipe recipe, const ConversionOptions& options,
                const Progress& progress) {
    switch (recipe.group()) {
    case RecipeGroup::documents:
        return convertDocument(input, recipe, options, progress);
    case RecipeGroup::images:
        return ImageTools::convert(input, recipe, options, progress);
    case RecipeGroup::archives:
        if (recipe == Recipe::unzip)
            return ArchiveTools::unzip(input, progress);
        break;
    case RecipeGroup::video:
        return convertVideo(input, recipe, options, progress);
    case RecipeGroup::audio:
        return convertAudio(input, recipe, options, progress);
    }
    throw ConversionError::unsupportedRecipe();
}

std::vector<path> convertCombined(Recipe recipe, const std::vector<path>& inputs,
                                  const ConversionOptions& options, const Progress& progress) {
    if (recipe == Recipe::zip)
        return {ArchiveTools::zip(inputs, progress)};
    if (recipe == Recipe::imagesToPDF)
        return {ImageTools::imagesToPDF(inputs, options, progress)};
    throw ConversionError::unsupportedRecipe();
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
