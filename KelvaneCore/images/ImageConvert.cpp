#include "images/ImageOutput.h"
#include "naming/ConversionError.h"
#include "naming/OutputNaming.h"

#include <algorithm>

namespace kelvane::ImageTools {
namespace {

constexpr double stripQualityFloor = 0.92;

std::filesystem::path convertFormat(const std::filesystem::path& input, Recipe recipe,
                                    const ConversionOptions& options, const Progress& progress) {
    const auto extension = recipe.outputExtension();
    if (!extension)
        throw ConversionError::unsupportedRecipe();
    const std::optional<int> cap =
        options.limitDimension ? std::optional(options.maxDimension) : std::nullopt;
    const Loaded loaded = load(input, cap, Residence::inMemoryOrStreamed, progress);
    const Format format{typeForExtension(*extension), std::string(*extension)};
    return writeBeside(loaded, input, format, options.quality, options.keepMetadata,
                       OutputNaming::suffix, options.keepMetadata, progress);
}

// The loader never enlarges, so an image already within maxDimension keeps its size.
std::filesystem::path resize(const std::filesystem::path& input, const ConversionOptions& options,
                             const Progress& progress) {
    const Loaded loaded =
        load(input, options.maxDimension, Residence::inMemoryOrStreamed, progress);
    return writeBeside(loaded, input, sameFormat(input), options.quality, options.keepMetadata,
                       "resized", options.keepMetadata, progress);
}

std::filesystem::path stripMetadata(const std::filesystem::path& input,
                                    const ConversionOptions& options, const Progress& progress) {
    const Loaded loaded = load(input, std::nullopt, Residence::inMemoryOrStreamed, progress);
    return writeBeside(loaded, input, sameFormat(input),
                       std::max(options.quality, stripQualityFloor), false, "clean",
                       options.keepMetadata, progress);
}

bool isSingleImageRecipe(Recipe recipe) {
    return recipe.group() == RecipeGroup::images && !recipe.combinesInputs();
}

} // namespace

std::filesystem::path convert(const std::filesystem::path& input, Recipe recipe,
                              const ConversionOptions& options, const Progress& progress) {
    if (!isSingleImageRecipe(recipe))
        throw ConversionError::unsupportedRecipe();
    switch (recipe) {
    case Recipe::shrink:
        return shrink(input, options, progress);
    case Recipe::resize:
        return resize(input, options, progress);
    case Recipe::stripMetadata:
        return stripMetadata(input, options, progress);
    default:
        return convertFormat(input, recipe, options, progress);
    }
}

} // namespace kelvane::ImageTools
