// The image family's module: still images, images into one PDF, PDF pages into images.
#include "engine/ToolFamily.h"
#include "images/ImageTools.h"
#include "naming/ConversionError.h"

namespace kelvane {
namespace {

using std::filesystem::path;

path convertOne(const path& input, Recipe recipe, const ConversionOptions& options,
                const Engine::Progress& progress) {
    if (recipe == Recipe::pdfToPNG || recipe == Recipe::pdfToJPG)
        return ImageTools::pdfPages(input, recipe == Recipe::pdfToPNG, options, progress);
    return ImageTools::convert(input, recipe, options, progress);
}

path combine(const std::vector<path>& inputs, Recipe recipe, const ConversionOptions& options,
             const Engine::Progress& progress) {
    if (recipe != Recipe::imagesToPDF)
        throw ConversionError::unsupportedRecipe();
    return ImageTools::imagesToPDF(inputs, options, progress);
}

const ToolFamily imageTools{convertOne, combine, nullptr};

} // namespace
} // namespace kelvane

KELVANE_TOOL_FAMILY(kelvane::imageTools)
