// The video and audio family's module.
#include "engine/ToolFamily.h"
#include "media/AudioTools.h"
#include "media/VideoTools.h"

namespace kelvane {
namespace {

using std::filesystem::path;

path convertOne(const path& input, Recipe recipe, const ConversionOptions& options,
                const Engine::Progress& progress) {
    if (recipe == Recipe::videoToGIF)
        return VideoTools::gif(input, options, progress);
    if (recipe == Recipe::extractAudio) // "Convert to M4A" given a movie
        return AudioTools::convert(input, Recipe::toM4A, options, progress);
    if (recipe.group() == RecipeGroup::video)
        return VideoTools::convert(input, recipe, options, progress);
    return AudioTools::convert(input, recipe, options, progress);
}

const ToolFamily mediaTools{convertOne, nullptr, nullptr};

} // namespace
} // namespace kelvane

KELVANE_TOOL_FAMILY(kelvane::mediaTools)
