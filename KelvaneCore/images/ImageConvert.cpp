#include "images/ImageOutput.h"
#include "naming/ConversionError.h"
#include "naming/OutputNaming.h"

#include <algorithm>

namespace kelvane::ImageTools {
namespace {

constexpr double stripQualityFloor = 0.92;

// These encoders take the rows in order as they are decoded, so decoding and encoding run
// side by side instead of one after the other.
Residence residenceFor(ImageType type) {
    const bool takesRows =
        type == ImageType::jpeg || type == ImageType::png || type == ImageType::tiff;
    return takesRows ? Residence::streamed : Residence::inMemoryOrStreamed;
}

std::filesystem::path convertFormat(const std::filesystem::path& input, Recipe recipe,
                                    const ConversionOptions& options, const Progress& progress) {
    const auto extension = recipe.outputExtension();
    if (!extension)
        throw ConversionError::unsupportedRecipe();
    const std::optional<int> cap =
        options.limitDimension ? std::optional(options.maxDimension) : std::nullopt;
    const Format format{typeForExtension(*extension), std::string(*extension)};
    const Loaded loaded = load(input, cap, residenceFor(format.type), progress);
    return writeBeside(loaded, input, format, options.quality, options.keepMetadata,
                       OutputNaming::suffix, options.keepMetadata, progress);
}

// The loader never enlarges, so an image already within maxDimension keeps its size.
std::filesystem::path resize(const std::filesystem::path& input, const ConversionOptions& options,
                             const Progress& progress) {
    const Format format = sameFormat(input);
    const Loaded loaded = load(input, options.maxDimension, residenceFor(format.type), progress);
    return writeBeside(loaded, input, format, options.quality, options.keepMetadata, "resized",
                       options.keepMetadata, progress);
}

std::filesystem::path stripMetadata(const std::filesystem::path& input,
                                    const ConversionOptions& options, const Progress& progress) {
    const Format format = sameFormat(input);
    const Loaded loaded = load(input, std::nullopt, residenceFor(format.type), progress);
    return writeBeside(loaded, input, format, std::max(options.quality, stripQualityFloor), false,
                       "clean", options.keepMetadata, progress);
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
