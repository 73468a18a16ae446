// The archive family's module: zip and unzip.
#include "archives/ArchiveTools.h"
#include "engine/ToolFamily.h"
#include "naming/ConversionError.h"

namespace kelvane {
namespace {

using std::filesystem::path;

path convertOne(const path& input, Recipe recipe, const ConversionOptions&,
                const Engine::Progress& progress) {
    if (recipe != Recipe::unzip)
        throw ConversionError::unsupportedRecipe();
    return ArchiveTools::unzip(input, progress);
}

path combine(const std::vector<path>& inputs, Recipe recipe, const ConversionOptions&,
             const Engine::Progress& progress) {
    if (recipe != Recipe::zip)
        throw ConversionError::unsupportedRecipe();
    return ArchiveTools::zip(inputs, progress);
}

const ToolFamily archiveTools{convertOne, combine, nullptr};

} // namespace
} // namespace kelvane

KELVANE_TOOL_FAMILY(kelvane::archiveTools)
