#include "catalogue/Recipe.h"

#include <gtest/gtest.h>
#include <tuple>

namespace kelvane {
namespace {

using R = Recipe;

std::vector<std::string_view> suggested(std::vector<std::filesystem::path> urls) {
    std::vector<std::string_view> names;
    for (Recipe recipe : Recipe::suggestions(urls))
        names.push_back(recipe.rawValue());
    return names;
}

using Names = std::vector<std::string_view>;

// One image leaves out its own format and offers the PDF last; several keep the table's order
// and drop what any of them already is; a single archive only expands; mixed kinds, folders
// and unknown files get zip only.
TEST(Suggestions, FollowTheKindsAndFormatsOfTheFiles) {
    const std::pair<std::vector<std::filesystem::path>, Names> table[] = {
        {{"photo.png"},
         {"toJPG", "shrink", "toHEIC", "resize", "stripMetadata", "toTIFF", "toGIF", "toBMP",
          "imagesToPDF", "zip"}},
        {{"scan.JPEG"},
         {"toPNG", "shrink", "toHEIC", "resize", "stripMetadata", "toTIFF", "toGIF", "toBMP",
          "imagesToPDF", "zip"}},
        {{"a.png", "b.jpg"},
         {"shrink", "toHEIC", "resize", "stripMetadata", "imagesToPDF", "toTIFF", "toGIF", "toBMP",
          "zip"}},
        {{"a.heic", "b.tif"},
         {"toPNG", "toJPG", "shrink", "resize", "stripMetadata", "imagesToPDF", "toGIF", "toBMP",
          "zip"}},
        {{"clip.mp4"}, {"toMOV", "videoToGIF", "extractAudio", "toWAV", "zip"}},
        {{"clip.mov"},
         {"toMP4", "video720", "video1080", "videoHEVC", "videoToGIF", "extractAudio", "toWAV",
          "zip"}},
        {{"song.m4a"}, {"toWAV", "toAIFF", "toCAF", "zip"}},
        {{"report.pdf"}, {"pdfToPNG", "pdfToJPG", "zip"}},
        {{"notes.txt"}, {"docToPDF", "docToDOCX", "docToRTF", "docToHTML", "docToODT", "zip"}},
        {{"notes.text", "page.htm"}, {"docToPDF", "docToDOCX", "docToRTF", "docToODT", "zip"}},
        {{"bundle.zip"}, {"unzip"}},
        {{"a.zip", "b.ZIP"}, {"unzip", "zip"}},
        {{"a.jpg", "report.pdf"}, {"zip"}},
        {{"/home/me/Holiday"}, {"zip"}},
        {{"data.bin"}, {"zip"}},
        {{"drawing.svg", "b.png"}, {"zip"}},
        {{}, {}},
    };
    for (const auto& [files, names] : table)
        EXPECT_EQ(suggested(files), names) << (files.empty() ? "" : files.front().string());
}

// A recipe fits a file of a kind it accepts, in a format other than its own (HEIF is not HEIC).
TEST(Suggestions, FitsNeedsAnAcceptedKindAndAnotherFormat) {
    const std::tuple<Recipe::Value, const char*, bool> table[] = {
        {R::toHEIC, "photo.heif", true},  {R::toHEIC, "photo.HEIC", false},
        {R::toPNG, "notes.txt", false},   {R::docToPDF, "scan.pdf", false},
        {R::shrink, "photo.jpg", true},   {R::resize, "photo.png", true},
        {R::zip, "anything.weird", true}, {R::toWAV, "clip.mkv", true},
        {R::toWAV, "song.WAV", false},
    };
    for (const auto& [recipe, file, fits] : table)
        EXPECT_EQ(R(recipe).fits(file), fits) << file;
}

} // namespace
} // namespace kelvane
