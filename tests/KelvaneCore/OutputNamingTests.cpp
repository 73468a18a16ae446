#include "fixtures/TempFolder.h"
#include "naming/ConversionError.h"
#include "naming/OutputNaming.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

using fixtures::TempFolder;
namespace fs = std::filesystem;

std::string nameOf(const fs::path& path) {
    return path.filename().string();
}

TEST(OutputNaming, DerivedNamesCountUpPastEveryTakenName) {
    TempFolder temp;
    const fs::path input = temp.write("a.jpg", "x");
    EXPECT_EQ(OutputNaming::url(input, "png"), temp / "a (converted).png");

    // Files, folders and dangling links all take a name.
    temp.makeFolder("a (converted).png");
    fs::create_symlink(temp / "nowhere", temp / "a (converted 2).png");
    temp.write("a (converted 3).png", "");
    EXPECT_EQ(nameOf(OutputNaming::url(input, "png")), "a (converted 4).png");
}

TEST(OutputNaming, ExtensionIsReplacedKeptOrDropped) {
    TempFolder temp;
    EXPECT_EQ(nameOf(OutputNaming::url(temp / "photo.jpeg", "jpg")), "photo (converted).jpg");
    EXPECT_EQ(nameOf(OutputNaming::url(temp / "Talk.mov", std::nullopt)), "Talk (converted).mov");
    EXPECT_EQ(nameOf(OutputNaming::url(temp / "README", std::nullopt)), "README (converted)");
    EXPECT_EQ(nameOf(OutputNaming::url(temp / "Report.pdf", "", "pages")), "Report (pages)");
    EXPECT_EQ(nameOf(OutputNaming::url(temp / "Holiday photo.final.jpg", "png", "resized")),
              "Holiday photo.final (resized).png");
    // A given folder wins over the input's.
    EXPECT_EQ(OutputNaming::url("/somewhere/else/Beach.heic", "jpg", "converted", temp.path()),
              temp / "Beach (converted).jpg");
}

TEST(OutputNaming, OwnNamesAreNumberedWithoutParentheses) {
    TempFolder temp;
    EXPECT_EQ(nameOf(OutputNaming::urlNamed("Archive", "zip", temp.path())), "Archive.zip");
    temp.write("Archive.zip", "");
    EXPECT_EQ(nameOf(OutputNaming::urlNamed("Archive", "zip", temp.path())), "Archive 2.zip");
    EXPECT_EQ(nameOf(OutputNaming::urlNamed("Photos", std::nullopt, temp.path())), "Photos");
    temp.makeFolder("Photos");
    EXPECT_EQ(nameOf(OutputNaming::urlNamed("Photos", "", temp.path())), "Photos 2");
}

TEST(OutputNaming, NamesLongInBytesAreCutOnACharacterBoundaryToFit) {
    TempFolder temp;
    std::string chinese;
    for (int i = 0; i < 84; ++i)
        chinese += "文";                                     // 3 bytes each: 252 bytes
    const fs::path input = temp.write(chinese + ".md", "x"); // 255 bytes, the most there is
    const fs::path first = OutputNaming::url(input, "html");
    const std::string name = nameOf(first);
    EXPECT_LE(name.size(), 255u);
    EXPECT_TRUE(name.ends_with(" (converted).html")) << name;
    const std::string kept = name.substr(0, name.size() - std::string(" (converted).html").size());
    EXPECT_EQ(kept.size() % 3, 0u);
    EXPECT_TRUE(chinese.starts_with(kept));
    temp.write(name, "");
    EXPECT_TRUE(nameOf(OutputNaming::url(input, "html")).ends_with(" (converted 2).html"));
    EXPECT_LE(nameOf(OutputNaming::urlNamed(chinese + chinese, "zip", temp.path())).size(), 255u);

    // A name that cannot be looked at is handed to the write rather than counted past.
    const fs::path inFile = temp.write("plain", "x") / "a.jpg";
    EXPECT_EQ(OutputNaming::url(inFile, "png"), temp / "plain" / "a (converted).png");
}

TEST(ConversionError, SentencesQuoteFileNamesTypographically) {
    EXPECT_EQ(ConversionError::recipeDoesNotWorkWith("Convert to MP4", "notes.txt").message(),
              "Convert to MP4 doesn’t work with “notes.txt”.");
    EXPECT_EQ(ConversionError::couldNotWrite("docx").message(), "Couldn’t write DOCX.");
    EXPECT_EQ(ConversionError::cannotWriteFormat("heic").message(),
              "This computer can’t write HEIC.");
    EXPECT_EQ(ConversionError::cannotWriteFormat("").message(),
              "This computer can’t write that format.");
    EXPECT_EQ(ConversionError::couldNotShrink("big.png", "500 KB").message(),
              "Couldn’t get “big.png” under 500 KB.");
    EXPECT_STREQ(ConversionError::unreadableImage("x.png").what(),
                 "“x.png” isn’t an image this computer can read.");
}

} // namespace
} // namespace kelvane
