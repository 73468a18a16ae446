#include "fixtures/FailureOf.h"
#include "fixtures/ImageFixtures.h"
#include "images/ImageTools.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace kelvane {
namespace {

using fixtures::TempFolder;
using fixtures::VImage;
namespace fs = std::filesystem;

ConversionOptions target(double megabytes) {
    ConversionOptions options;
    options.targetMB = megabytes;
    return options;
}

std::string failureOf(const fs::path& input, double megabytes) {
    return fixtures::failureOf([&] { ImageTools::shrink(input, target(megabytes)); });
}

// The widths the search passes through: each 0.75 of the one before, truncated.
bool isReductionOf(int width, int original) {
    for (int size = original; size >= 17; size = static_cast<int>(size * 0.75))
        if (size == width)
            return true;
    return false;
}

TEST(Shrink, StaysUnderEveryTargetAndScalesOnlyWhenItMust) {
    TempFolder temp;
    const fs::path photo = fixtures::save(fixtures::noisyPicture(1200, 900), temp / "photo.png");
    for (const double megabytes : {0.05, 0.2, 1.0, 20.0}) {
        const fs::path result = ImageTools::shrink(photo, target(megabytes));
        const auto bytes = fs::file_size(result);
        EXPECT_LE(bytes, static_cast<std::uintmax_t>(megabytes * 1'000'000)) << megabytes;
        if (megabytes <= 1.0) { // 20 MB is beyond even the best quality of this picture
            EXPECT_GE(bytes, static_cast<std::uintmax_t>(megabytes * 1'000'000 * 0.5))
                << "far below the target " << megabytes;
        }
        const VImage back = fixtures::readBack(result);
        EXPECT_EQ(back.get_string("vips-loader"), std::string("jpegload"));
        EXPECT_TRUE(isReductionOf(back.width(), 1200)) << back.width();
        EXPECT_NEAR(static_cast<double>(back.width()) / back.height(), 4.0 / 3.0, 0.02);
        if (megabytes >= 1.0) {
            EXPECT_EQ(back.width(), 1200) << "scaled although quality 0.1 fitted";
        }
        if (megabytes == 0.05) {
            EXPECT_LT(back.width(), 1200) << "a 0.05 MB noise picture must be scaled";
        }
    }
}

TEST(Shrink, ResultsAreNamedShrunkAndFlattenedForJpeg) {
    TempFolder temp;
    const VImage picture = fixtures::markedPicture(80, 60);
    const fs::path png = fixtures::save(picture.bandjoin_const({0.0}).copy(VImage::option()->set(
                                            "interpretation", VIPS_INTERPRETATION_sRGB)),
                                        temp / "clear.png");
    const fs::path result = ImageTools::shrink(png, target(1));
    EXPECT_EQ(result, temp / "clear (shrunk).jpg");
    const VImage back = fixtures::readBack(result);
    EXPECT_FALSE(back.has_alpha());
    EXPECT_GT(fixtures::colourAt(back, 40, 30)[0], 240);
    EXPECT_GT(fixtures::colourAt(back, 40, 30)[2], 240);
}

// Every full-size HEIC encode takes seconds on a phone photo: the search may make three.
TEST(Shrink, HeicStaysHeicInAtMostThreeFullSizeEncodes) {
    TempFolder temp;
    const VImage xy = VImage::xyz(768, 576);
    const VImage grain =
        VImage::gaussnoise(768, 576, VImage::option()->set("sigma", 10.0)->set("seed", 1));
    const VImage photo =
        VImage::bandjoin(
            {xy[0] / 3 + grain - 128, xy[1] / 3 + grain - 128, (xy[0] + xy[1]) / 6 + grain - 128})
            .cast(VIPS_FORMAT_UCHAR)
            .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    const fs::path heic =
        fixtures::save(photo, temp / "phone.HEIC", VImage::option()->set("Q", 95));
    for (const double megabytes : {0.03, 0.003}) {
        ImageTools::ShrinkStats stats;
        std::vector<double> reports;
        const fs::path result = ImageTools::shrink(
            heic, target(megabytes), [&](double f) { reports.push_back(f); }, &stats);
        const auto bytes = fs::file_size(result);
        EXPECT_LE(bytes, static_cast<std::uintmax_t>(megabytes * 1'000'000)) << megabytes;
        if (megabytes > 0.01) { // where this picture's size grows smoothly with the quality
            EXPECT_GE(bytes, static_cast<std::uintmax_t>(megabytes * 1'000'000 * 0.5));
        }
        EXPECT_GE(stats.fullSizeEncodes, 1) << megabytes;
        EXPECT_LE(stats.fullSizeEncodes, 3) << megabytes;
        EXPECT_EQ(reports.size(), static_cast<std::size_t>(stats.fullSizeEncodes)) << megabytes;
        EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end())) << megabytes;
        EXPECT_EQ(fixtures::readBack(result).get_string("vips-loader"), std::string("heifload"));
        fs::remove(result);
    }
    EXPECT_EQ(ImageTools::shrink(heic, target(1)), temp / "phone (shrunk).heic");
}

TEST(Shrink, ATinyImageThatCannotFitFailsAtOnceAndWritesNothing) {
    TempFolder temp;
    const fs::path tiny = fixtures::save(fixtures::noisyPicture(20, 20), temp / "tiny.png");
    EXPECT_EQ(failureOf(tiny, 0.0001),
              "Couldn’t get “tiny.png” under " + Recipe::formatMB(0.0001) + ".");
    for (const double nonsense : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(),
                                  std::numeric_limits<double>::infinity()})
        EXPECT_EQ(failureOf(tiny, nonsense).rfind("Couldn’t get “tiny.png” under", 0), 0u)
            << nonsense;
    EXPECT_EQ(temp.entries(), std::vector<std::string>{"tiny.png"});
}

} // namespace
} // namespace kelvane
