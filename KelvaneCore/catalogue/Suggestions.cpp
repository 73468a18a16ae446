#include "catalogue/Recipe.h"

#include <algorithm>
#include <set>
#include <string>

namespace kelvane {
namespace {

using R = Recipe;

// The extensions that already are a given output format.
bool isAlreadyInFormat(std::string_view extension, std::string_view output) {
    if (output == "jpg")
        return extension == "jpg" || extension == "jpeg";
    if (output == "tiff")
        return extension == "tif" || extension == "tiff";
    if (output == "html")
        return extension == "html" || extension == "htm";
    if (output == "txt")
        return extension == "txt" || extension == "text";
    return extension == output;
}

// A file of each extension among `urls`, in order. Whether a recipe fits a file depends on
// its extension alone, so a thousand photos are looked at as one.
std::vector<std::filesystem::path> onePerExtension(const std::vector<std::filesystem::path>& urls) {
    std::vector<std::filesystem::path> distinct;
    std::set<std::string> seen;
    for (const auto& url : urls)
        if (seen.insert(lowercaseExtension(url)).second)
            distinct.push_back(url);
    return distinct;
}

} // namespace

std::vector<Recipe> Recipe::offeredFor(FileKind kind) {
    switch (kind) {
    case FileKind::image:
        return {R::toPNG,         R::toJPG,       R::shrink, R::toHEIC, R::resize,
                R::stripMetadata, R::imagesToPDF, R::toTIFF, R::toGIF,  R::toBMP};
    case FileKind::video:
        return {R::toMP4,     R::toMOV,      R::video720,     R::video1080,
                R::videoHEVC, R::videoToGIF, R::extractAudio, R::toWAV};
    case FileKind::audio:
        return {R::toM4A, R::toWAV, R::toAIFF, R::toCAF};
    case FileKind::document:
        return {R::docToPDF, R::docToDOCX, R::docToRTF, R::docToTXT, R::docToHTML, R::docToODT};
    case FileKind::pdf:
        return {R::pdfToPNG, R::pdfToJPG};
    case FileKind::archive:
        return {R::unzip};
    case FileKind::other:
        break;
    }
    return {};
}

bool Recipe::fits(const std::filesystem::path& url) const {
    if (!accepts().contains(FileKind::of(url)))
        return false;
    const auto output = outputExtension();
    if (!output)
        return true;
    if (group() == RecipeGroup::archives || value_ == imagesToPDF || value_ == zip ||
        value_ == shrink)
        return true;
    return !isAlreadyInFormat(lowercaseExtension(url), *output);
}

std::vector<Recipe> Recipe::suggestions(const std::vector<std::filesystem::path>& urls) {
    if (urls.empty())
        return {};
    const auto distinct = onePerExtension(urls);
    std::set<FileKind::Value> kinds;
    for (const auto& url : distinct)
        kinds.insert(FileKind::of(url));

    std::vector<Recipe> candidates =
        kinds.size() == 1 ? offeredFor(*kinds.begin()) : std::vector<Recipe>{};
    if (urls.size() == 1 && kinds.count(FileKind::image) == 1) {
        // One image makes a one-page PDF, the least likely wish: offer it last.
        const auto pdf = std::find(candidates.begin(), candidates.end(), imagesToPDF);
        std::rotate(pdf, pdf + 1, candidates.end());
    }

    std::vector<Recipe> suggested;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(suggested),
                 [&](Recipe recipe) {
                     return std::all_of(distinct.begin(), distinct.end(),
                                        [&](const auto& url) { return recipe.fits(url); });
                 });

    const bool singleArchive =
        urls.size() < 2 && std::find(suggested.begin(), suggested.end(), unzip) != suggested.end();
    if (!singleArchive)
        suggested.push_back(zip);
    return suggested;
}

} // namespace kelvane
