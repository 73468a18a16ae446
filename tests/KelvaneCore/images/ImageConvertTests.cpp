#include "engine/Engine.h"
#include "fixtures/FailureOf.h"
#include "fixtures/ImageFixtures.h"
#include "images/ImageTools.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <mutex>
#include <sys/stat.h>

namespace kelvane {
namespace {

using fixtures::TempFolder;
using fixtures::VImage;
namespace fs = std::filesystem;

std::string failureOf(const fs::path& input, Recipe recipe) {
    return fixtures::failureOf([&] { ImageTools::convert(input, recipe, {}); });
}

bool isRed(const std::array<double, 4>& c) {
    return c[0] > 180 && c[1] < 70 && c[2] < 70;
}
bool isBlue(const std::array<double, 4>& c) {
    return c[0] < 70 && c[1] < 70 && c[2] > 180;
}
bool isWhite(const std::array<double, 4>& c) {
    return c[0] > 240 && c[1] > 240 && c[2] > 240;
}

// Upright means: the red quarter is top-left and the picture has its upright shape.
void expectUpright(const VImage& image, int width, int height) {
    ASSERT_EQ(image.width(), width);
    ASSERT_EQ(image.height(), height);
    EXPECT_TRUE(isRed(fixtures::colourAt(image, width / 4, height / 4)));
    EXPECT_TRUE(isBlue(fixtures::colourAt(image, width * 3 / 4, height / 4)));
    EXPECT_TRUE(isBlue(fixtures::colourAt(image, width / 4, height * 3 / 4)));
}

// No tag, or the tag that means "as stored".
void expectNoTurn(const VImage& image) {
    if (fixtures::hasField(image, "orientation")) {
        EXPECT_EQ(image.get_int("orientation"), 1);
    }
}

class Orientation : public testing::TestWithParam<int> {};

TEST_P(Orientation, EveryExifOrientationComesOutUprightWithoutATurn) {
    TempFolder temp;
    const VImage upright = fixtures::markedPicture(96, 64);
    const fs::path photo = fixtures::save(
        fixtures::withOrientation(fixtures::storedForOrientation(upright, GetParam()), GetParam()),
        temp / "photo.jpg");
    ASSERT_EQ(fixtures::readBack(photo).get_int("orientation"), GetParam());

    for (const bool keep : {true, false}) {
        ConversionOptions options;
        options.keepMetadata = keep;
        for (const Recipe recipe : {Recipe::toJPG, Recipe::toPNG, Recipe::stripMetadata}) {
            const fs::path result = ImageTools::convert(photo, recipe, options);
            const VImage back = fixtures::readBack(result);
            expectUpright(back, 96, 64);
            expectNoTurn(back);
            fs::remove(result);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllTags, Orientation, testing::Range(1, 9));

// A 40 × 30 PNG whose left half is transparent and right half opaque red.
fs::path halfTransparentPng(const TempFolder& temp) {
    const VImage picture = fixtures::markedPicture(40, 30);
    const VImage alpha = VImage::xyz(40, 30)[0] >= 20;
    return fixtures::save(
        picture.bandjoin(alpha.cast(VIPS_FORMAT_UCHAR))
            .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB)),
        temp / "clear.png");
}

TEST(ImageConvert, TransparencyBecomesWhiteOnlyWhereTheFormatHasNone) {
    TempFolder temp;
    const fs::path png = halfTransparentPng(temp);
    for (const Recipe recipe : {Recipe::toJPG, Recipe::toBMP}) {
        const VImage back = fixtures::readBack(ImageTools::convert(png, recipe, {}));
        EXPECT_FALSE(back.has_alpha()) << recipe.rawValue();
        EXPECT_TRUE(isWhite(fixtures::colourAt(back, 5, 25))) << recipe.rawValue();
        EXPECT_TRUE(isBlue(fixtures::colourAt(back, 35, 25))) << recipe.rawValue();
    }
    for (const Recipe recipe : {Recipe::toPNG, Recipe::toTIFF, Recipe::toHEIC, Recipe::toGIF}) {
        const VImage back = fixtures::readBack(ImageTools::convert(png, recipe, {}));
        ASSERT_TRUE(back.has_alpha()) << recipe.rawValue();
        EXPECT_LT(fixtures::colourAt(back, 5, 25)[3], 20) << recipe.rawValue();
        EXPECT_GT(fixtures::colourAt(back, 35, 25)[3], 235) << recipe.rawValue();
    }
}

// Fields of a BMP's info header, which starts after the 14-byte file header.
struct BmpHeader {
    int bitsPerPixel = 0;
    int pixelsPerMeterX = 0;
};

BmpHeader bmpHeaderOf(const fs::path& file) {
    const std::string bytes = fixtures::readFile(file);
    const auto at = [&](std::size_t offset, std::size_t size) {
        int value = 0;
        for (std::size_t i = size; i-- > 0;)
            value = value * 256 + static_cast<unsigned char>(bytes.at(offset + i));
        return value;
    };
    EXPECT_EQ(bytes.substr(0, 2), "BM");
    EXPECT_EQ(static_cast<std::size_t>(at(2, 4)), bytes.size()); // the size it states
    return {at(28, 2), at(38, 4)};
}

double largestDifference(const VImage& a, const VImage& b) {
    return (a.cast(VIPS_FORMAT_INT) - b.cast(VIPS_FORMAT_INT)).abs().max();
}

TEST(ImageConvert, BmpKeepsEveryPixelInTwentyFourBitsWithTheResolution) {
    TempFolder temp;
    const VImage colour = fixtures::noisyPicture(161, 97); // odd width: padded rows
    const fs::path png = fixtures::save(
        colour.copy(VImage::option()->set("xres", 300 / 25.4)->set("yres", 300 / 25.4)),
        temp / "colour.png");
    const fs::path kept = ImageTools::convert(png, Recipe::toBMP, {});
    EXPECT_EQ(largestDifference(fixtures::readBack(kept), colour), 0);
    EXPECT_EQ(bmpHeaderOf(kept).bitsPerPixel, 24);
    EXPECT_EQ(bmpHeaderOf(kept).pixelsPerMeterX, 11811); // 300 dpi

    ConversionOptions stripped;
    stripped.keepMetadata = false;
    const fs::path plain = ImageTools::convert(png, Recipe::toBMP, stripped);
    EXPECT_EQ(largestDifference(fixtures::readBack(plain), colour), 0);
    EXPECT_EQ(bmpHeaderOf(plain).pixelsPerMeterX, 2835); // 72 dpi

    // A folder named in Latin-1, not UTF-8, as old disks and archives have them.
    const fs::path latin1 = temp.makeFolder("caf\xe9");
    fs::copy_file(png, latin1 / "colour.png");
    const fs::path inLatin1 = ImageTools::convert(latin1 / "colour.png", Recipe::toBMP, {});
    EXPECT_EQ(inLatin1.parent_path(), latin1);
    EXPECT_EQ(largestDifference(fixtures::readBack(inLatin1), colour), 0);

    // Sixteen-bit grey becomes the same grey in all three channels.
    const VImage ramp =
        (VImage::xyz(256, 8)[0] * 257)
            .cast(VIPS_FORMAT_USHORT)
            .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_GREY16));
    const fs::path greyBmp =
        ImageTools::convert(fixtures::save(ramp, temp / "grey.png"), Recipe::toBMP, {});
    EXPECT_EQ(bmpHeaderOf(greyBmp).bitsPerPixel, 24);
    const VImage grey = fixtures::readBack(greyBmp);
    EXPECT_EQ(largestDifference(grey[0], grey[grey.bands() - 1]), 0);
    EXPECT_NEAR(fixtures::colourAt(grey, 200, 4)[0], 200, 2);
}

TEST(ImageConvert, SixteenBitPicturesKeepTheirDepthInPngAndTiff) {
    TempFolder temp;
    // Neighbouring values that 8 bits would merge: 1000, 1001, … along each row.
    const VImage xy = VImage::xyz(300, 20);
    const VImage deep =
        VImage::bandjoin({xy[0] + 1000, xy[1] * 3000, 65000 - xy[0] * 7})
            .cast(VIPS_FORMAT_USHORT)
            .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16));
    for (const char* name : {"deep.png", "deep.tif"}) {
        const fs::path source = fixtures::save(deep, temp / name);
        for (const bool keep : {true, false}) {
            ConversionOptions options;
            options.keepMetadata = keep;
            for (const Recipe recipe : {Recipe::toPNG, Recipe::toTIFF}) {
                const VImage back =
                    fixtures::readBack(ImageTools::convert(source, recipe, options));
                EXPECT_EQ(back.format(), VIPS_FORMAT_USHORT) << name << " " << recipe.rawValue();
                EXPECT_EQ(largestDifference(back, deep), 0) << name << " " << recipe.rawValue();
            }
        }
    }
}

TEST(ImageConvert, QualityChangesLossyFormatsOnly) {
    TempFolder temp;
    const fs::path source = fixtures::save(fixtures::noisyPicture(160, 120), temp / "n.png");
    ConversionOptions low, high;
    low.quality = 0.2;
    high.quality = 0.95;
    for (const Recipe recipe : {Recipe::toJPG, Recipe::toHEIC, Recipe::toPNG, Recipe::toGIF,
                                Recipe::toTIFF, Recipe::toBMP}) {
        const fs::path a = ImageTools::convert(source, recipe, low);
        const fs::path b = ImageTools::convert(source, recipe, high);
        const bool lossy = recipe == Recipe::toJPG || recipe == Recipe::toHEIC;
        EXPECT_EQ(fs::file_size(a) < fs::file_size(b), lossy) << recipe.rawValue();
        if (!lossy) {
            EXPECT_EQ(fixtures::readFile(a), fixtures::readFile(b)) << recipe.rawValue();
        }
    }
}

TEST(ImageConvert, TheLongestSideScalesDownButNeverUpAndResizeKeepsTheFormat) {
    TempFolder temp;
    ConversionOptions options;
    options.limitDimension = true;
    options.maxDimension = 160;
    const fs::path large = fixtures::save(fixtures::markedPicture(400, 300), temp / "large.png");
    const fs::path small = fixtures::save(fixtures::markedPicture(120, 90), temp / "small.png");
    expectUpright(fixtures::readBack(ImageTools::convert(large, Recipe::toJPG, options)), 160, 120);
    expectUpright(fixtures::readBack(ImageTools::convert(small, Recipe::toJPG, options)), 120, 90);
    options.limitDimension = false;
    const fs::path full = ImageTools::convert(large, Recipe::toPNG, options);
    EXPECT_EQ(fixtures::readBack(full).width(), 400);

    // Resizing keeps the format (or writes PNG) and always applies the longest side.
    options.maxDimension = 1024;
    const fs::path wide = fixtures::save(fixtures::markedPicture(3000, 2000), temp / "wide.png");
    const fs::path tiff = fixtures::save(fixtures::markedPicture(800, 600), temp / "small.tif");
    const fs::path webp = fixtures::save(fixtures::markedPicture(300, 200), temp / "w.webp");

    const fs::path resized = ImageTools::convert(wide, Recipe::resize, options);
    EXPECT_EQ(resized, temp / "wide (resized).png");
    expectUpright(fixtures::readBack(resized), 1024, 683);
    const fs::path kept = ImageTools::convert(tiff, Recipe::resize, options);
    EXPECT_EQ(kept, temp / "small (resized).tif");
    EXPECT_EQ(fixtures::readBack(kept).get_string("vips-loader"), std::string("tiffload"));
    expectUpright(fixtures::readBack(kept), 800, 600);
    EXPECT_EQ(ImageTools::convert(webp, Recipe::resize, options), temp / "w (resized).png");
}

TEST(ImageConvert, NamesFollowTheRecipeAndNeverReplaceAFile) {
    TempFolder temp;
    const fs::path photo = fixtures::save(fixtures::markedPicture(40, 30), temp / "PHOTO.JPEG");
    EXPECT_EQ(ImageTools::convert(photo, Recipe::toJPG, {}), temp / "PHOTO (converted).jpg");
    EXPECT_EQ(ImageTools::convert(photo, Recipe::toJPG, {}), temp / "PHOTO (converted 2).jpg");
    EXPECT_EQ(ImageTools::convert(photo, Recipe::stripMetadata, {}), temp / "PHOTO (clean).jpeg");
    EXPECT_EQ(ImageTools::convert(photo, Recipe::toHEIC, {}), temp / "PHOTO (converted).heic");
    EXPECT_EQ(fixtures::readBack(temp / "PHOTO (converted).heic").get_string("vips-loader"),
              std::string("heifload"));
}

TEST(ImageConvert, OnlyTheFirstFrameOfAnAnimationIsConverted) {
    TempFolder temp;
    const VImage frames = fixtures::markedPicture(40, 30).join(
        fixtures::markedPicture(40, 30).rot180(), VIPS_DIRECTION_VERTICAL);
    VImage animation = frames.copy();
    animation.set("page-height", 30);
    const fs::path gif = fixtures::save(animation, temp / "anim.gif");
    ASSERT_EQ(VImage::new_from_file(gif.c_str()).get_int("n-pages"), 2);
    expectUpright(fixtures::readBack(ImageTools::convert(gif, Recipe::toPNG, {})), 40, 30);
}

TEST(ImageConvert, ResultKeepsTheModificationTimeOnlyWhenKeepingMetadata) {
    TempFolder temp;
    const fs::path photo = fixtures::save(fixtures::markedPicture(40, 30), temp / "old.jpg");
    const auto past = fs::file_time_type::clock::now() - std::chrono::hours(24 * 400);
    fs::last_write_time(photo, past);
    ConversionOptions options;
    options.keepMetadata = true;
    for (const Recipe recipe : {Recipe::toPNG, Recipe::resize, Recipe::shrink})
        EXPECT_EQ(fs::last_write_time(ImageTools::convert(photo, recipe, options)), past)
            << recipe.rawValue();
    options.keepMetadata = false;
    EXPECT_GT(fs::last_write_time(ImageTools::convert(photo, Recipe::toPNG, options)),
              past + std::chrono::hours(24 * 300));
}

TEST(ImageConvert, HostileInputsFailWithTheSentenceAndLeaveNothing) {
    TempFolder temp;
    const std::string jpeg =
        fixtures::readFile(fixtures::save(fixtures::noisyPicture(200, 150), temp / "full.jpg"));
    const std::string png =
        fixtures::readFile(fixtures::save(fixtures::noisyPicture(200, 150), temp / "full.png"));
    const fs::path notes = temp.write("notes.png", "These are my notes, not a picture.\n");
    const fs::path empty = temp.write("empty.jpg", "");
    const fs::path cutJpeg = temp.write("cut.jpg", jpeg.substr(0, jpeg.size() / 2));
    const fs::path cutPng = temp.write("cut.png", png.substr(0, png.size() / 2));
    const auto before = temp.entries();

    EXPECT_EQ(failureOf(notes, Recipe::toJPG),
              "“notes.png” isn’t an image this computer can read.");
    EXPECT_EQ(failureOf(empty, Recipe::toPNG),
              "“empty.jpg” isn’t an image this computer can read.");
    EXPECT_EQ(failureOf(cutJpeg, Recipe::toPNG), "Couldn’t decode “cut.jpg”.");
    EXPECT_EQ(failureOf(cutPng, Recipe::toJPG), "Couldn’t decode “cut.png”.");
    EXPECT_EQ(failureOf(cutJpeg, Recipe::shrink), "Couldn’t decode “cut.jpg”.");
    EXPECT_EQ(temp.entries(), before);
}

// A PNG whose header claims 100 000 × 100 000 pixels, with valid checksums.
std::string bombPng() {
    const auto crc = [](const std::string& bytes) {
        std::uint32_t c = 0xffffffffu;
        for (const char byte : bytes) {
            c ^= static_cast<unsigned char>(byte);
            for (int k = 0; k < 8; ++k)
                c = (c >> 1) ^ (0xedb88320u & (0u - (c & 1u)));
        }
        return ~c;
    };
    const auto be32 = [](std::uint32_t v) {
        return std::string{static_cast<char>(v >> 24), static_cast<char>((v >> 16) & 0xff),
                           static_cast<char>((v >> 8) & 0xff), static_cast<char>(v & 0xff)};
    };
    const auto chunk = [&](const std::string& type, const std::string& body) {
        return be32(static_cast<std::uint32_t>(body.size())) + type + body + be32(crc(type + body));
    };
    const std::string ihdr = be32(100000) + be32(100000) + std::string("\x08\x02\x00\x00\x00", 5);
    const std::string idat("\x78\x9c\x63\x60\x00\x00\x00\x02\x00\x01", 10);
    return std::string("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", ihdr) + chunk("IDAT", idat) +
           chunk("IEND", "");
}

// A 201-megapixel grey panorama is converted a band of rows at a time, with its progress
// moving as the rows are written; the formats that must hold a whole picture in memory say it is
// too large, and a file that only claims a huge canvas is not an image.
TEST(ImageConvert, PanoramasPastTwoHundredMegapixelsConvertAndBombsAreRefused) {
    TempFolder temp;
    fixtures::startVips();
    const VImage ramp = (VImage::xyz(20000, 10050)[0] / 80).cast(VIPS_FORMAT_UCHAR);
    const fs::path panorama =
        fixtures::save(ramp.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W)),
                       temp / "wide.png", VImage::option()->set("compression", 1));
    std::mutex mutex;
    std::vector<double> reports;
    const fs::path jpeg = ImageTools::convert(panorama, Recipe::toJPG, {}, [&](double fraction) {
        const std::lock_guard lock(mutex);
        reports.push_back(fraction);
    });
    // Reports come at most every 200 ms, so how many depends on the machine's speed; reading
    // and writing each report at least once.
    ASSERT_GE(reports.size(), 2u);
    EXPECT_GT(reports.back(), reports.front());
    EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));
    EXPECT_TRUE(std::all_of(reports.begin(), reports.end(),
                            [](double fraction) { return fraction >= 0 && fraction <= 1; }));
    const VImage back = VImage::thumbnail(jpeg.c_str(), 2000).copy_memory();
    EXPECT_EQ(VImage::new_from_file(jpeg.c_str()).width(), 20000);
    EXPECT_EQ(VImage::new_from_file(jpeg.c_str()).height(), 10050);
    EXPECT_NEAR(fixtures::colourAt(back, 100, 500)[0], 12.5, 3);
    EXPECT_NEAR(fixtures::colourAt(back, 1900, 500)[0], 237.5, 3);

    EXPECT_EQ(failureOf(panorama, Recipe::toGIF),
              "“wide.png” is too large to convert (20\u2009000 × 10\u2009050 pixels).");
    const fs::path bomb = temp.write("bomb.png", bombPng());
    ASSERT_EQ(VImage::new_from_file(bomb.c_str()).width(), 100000);
    for (const Recipe recipe : {Recipe::toJPG, Recipe::shrink, Recipe::resize})
        EXPECT_EQ(failureOf(bomb, recipe), "“bomb.png” isn’t an image this computer can read.");
    EXPECT_EQ(temp.entries(),
              (std::vector<std::string>{"bomb.png", "wide (converted).jpg", "wide.png"}));
}

TEST(ImageConvert, EveryImageRecipeRunsThroughTheEngine) {
    TempFolder temp;
    const fs::path photo = fixtures::save(fixtures::markedPicture(64, 48), temp / "p.jpg");
    for (const Recipe recipe : RecipeGroup(RecipeGroup::images).recipes()) {
        const auto results = Engine::run(recipe, {photo}, {}, [](double) {});
        ASSERT_EQ(results.size(), 1u) << recipe.rawValue();
        EXPECT_TRUE(fs::is_regular_file(results[0])) << recipe.rawValue();
        EXPECT_GT(fs::file_size(results[0]), 100u) << recipe.rawValue();
    }
}

} // namespace
} // namespace kelvane
