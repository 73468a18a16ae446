#include "catalogue/Recipe.h"

#include <gtest/gtest.h>

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

TEST(Suggestions, OneImageLeavesOutItsOwnFormatAndOffersPdfLast) {
    EXPECT_EQ(suggested({"photo.png"}),
              (Names{"toJPG", "shrink", "toHEIC", "resize", "stripMetadata", "toTIFF", "toGIF",
                     "toBMP", "imagesToPDF", "zip"}));
    EXPECT_EQ(suggested({"scan.JPEG"}),
              (Names{"toPNG", "shrink", "toHEIC", "resize", "stripMetadata", "toTIFF", "toGIF",
                     "toBMP", "imagesToPDF", "zip"}));
}

TEST(Suggestions, SeveralImagesKeepTableOrderAndDropRecipesAnyOfThemAlreadyIs) {
    EXPECT_EQ(suggested({"a.png", "b.jpg"}),
              (Names{"shrink", "toHEIC", "resize", "stripMetadata", "imagesToPDF", "toTIFF",
                     "toGIF", "toBMP", "zip"}));
    EXPECT_EQ(suggested({"a.heic", "b.tif"}),
              (Names{"toPNG", "toJPG", "shrink", "resize", "stripMetadata", "imagesToPDF", "toGIF",
                     "toBMP", "zip"}));
}

TEST(Suggestions, HeifIsNotHeicForFormatComparison) {
    EXPECT_TRUE(R(R::toHEIC).fits("photo.heif"));
    EXPECT_FALSE(R(R::toHEIC).fits("photo.HEIC"));
}

TEST(Suggestions, VideosAudioDocumentsAndPdfs) {
    EXPECT_EQ(suggested({"clip.mp4"}),
              (Names{"toMOV", "videoToGIF", "extractAudio", "toWAV", "zip"}));
    EXPECT_EQ(suggested({"clip.mov"}), (Names{"toMP4", "video720", "video1080", "videoHEVC",
                                              "videoToGIF", "extractAudio", "toWAV", "zip"}));
    EXPECT_EQ(suggested({"song.m4a"}), (Names{"toWAV", "toAIFF", "toCAF", "zip"}));
    EXPECT_EQ(suggested({"report.pdf"}), (Names{"pdfToPNG", "pdfToJPG", "zip"}));
    EXPECT_EQ(suggested({"notes.txt"}),
              (Names{"docToPDF", "docToDOCX", "docToRTF", "docToHTML", "docToODT", "zip"}));
    EXPECT_EQ(suggested({"notes.text", "page.htm"}),
              (Names{"docToPDF", "docToDOCX", "docToRTF", "docToODT", "zip"}));
}

TEST(Suggestions, ASingleArchiveIsOfferedExpandingOnlyButSeveralCanAlsoBeZipped) {
    EXPECT_EQ(suggested({"bundle.zip"}), (Names{"unzip"}));
    EXPECT_EQ(suggested({"a.zip", "b.ZIP"}), (Names{"unzip", "zip"}));
}

TEST(Suggestions, MixedKindsFoldersAndUnknownFilesGetZipOnly) {
    EXPECT_EQ(suggested({"a.jpg", "report.pdf"}), (Names{"zip"}));
    EXPECT_EQ(suggested({"/home/me/Holiday"}), (Names{"zip"}));
    EXPECT_EQ(suggested({"data.bin"}), (Names{"zip"}));
    EXPECT_EQ(suggested({"drawing.svg", "b.png"}), (Names{"zip"}));
    EXPECT_TRUE(suggested({}).empty());
}

TEST(Suggestions, FitsNeedsAnAcceptedKindFirst) {
    EXPECT_FALSE(R(R::toPNG).fits("notes.txt"));
    EXPECT_FALSE(R(R::docToPDF).fits("scan.pdf"));
    EXPECT_TRUE(R(R::shrink).fits("photo.jpg"));
    EXPECT_TRUE(R(R::resize).fits("photo.png"));
    EXPECT_TRUE(R(R::zip).fits("anything.weird"));
    EXPECT_TRUE(R(R::toWAV).fits("clip.mkv"));
    EXPECT_FALSE(R(R::toWAV).fits("song.WAV"));
}

} // namespace
} // namespace kelvane
