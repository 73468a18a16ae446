#include "fixtures/ImageFixtures.h"
#include "images/ImageTools.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

using fixtures::TempFolder;
using fixtures::VImage;
namespace fs = std::filesystem;

const std::string iptc = std::string("Photoshop 3.0\0008BIM\004\004\0\0\0\0\0\0", 26);
const std::string xmp = "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF "
                        "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\"/></x:xmpmeta>";

// A 300 dpi portrait photo with camera details, a GPS position, IPTC, XMP and orientation 6.
fs::path photoWithEverything(const TempFolder& temp) {
    const VImage upright = fixtures::markedPicture(64, 48);
    VImage photo = fixtures::withOrientation(fixtures::storedForOrientation(upright, 6), 6)
                       .copy(VImage::option()->set("xres", 300 / 25.4)->set("yres", 300 / 25.4));
    photo.set("exif-ifd0-Make", "Kelvane Test Camera");
    photo.set("exif-ifd0-Artist", "Ada");
    photo.set("exif-ifd3-GPSLatitudeRef", "N");
    fixtures::setBlob(photo, "iptc-data", iptc);
    fixtures::setBlob(photo, "xmp-data", xmp);
    return fixtures::save(photo, temp / "camera.jpg");
}

std::string field(const VImage& image, const char* name) {
    return fixtures::hasField(image, name) ? std::string(image.get_string(name)) : std::string();
}

double dpiOf(const VImage& image) {
    return image.xres() * 25.4;
}

TEST(ImageMetadata, KeepingPassesExifGpsIptcAndDpiButNotXmpOrTheTurn) {
    TempFolder temp;
    const fs::path photo = photoWithEverything(temp);
    ConversionOptions options;
    options.keepMetadata = true;
    for (const Recipe recipe : {Recipe::toJPG, Recipe::resize}) {
        const VImage back = fixtures::readBack(ImageTools::convert(photo, recipe, options));
        EXPECT_NE(field(back, "exif-ifd0-Make").find("Kelvane Test Camera"), std::string::npos);
        EXPECT_NE(field(back, "exif-ifd0-Artist").find("Ada"), std::string::npos);
        EXPECT_NE(field(back, "exif-ifd3-GPSLatitudeRef").find('N'), std::string::npos);
        EXPECT_EQ(fixtures::blobField(back, "iptc-data"), iptc);
        EXPECT_FALSE(fixtures::hasField(back, "xmp-data"));
        EXPECT_NEAR(dpiOf(back), 300, 0.5);
        EXPECT_EQ(back.width(), 64); // the turn is in the pixels, not in a tag
        EXPECT_GT(fixtures::colourAt(back, 16, 12)[0], 180);
        if (fixtures::hasField(back, "orientation")) {
            EXPECT_EQ(back.get_int("orientation"), 1);
        }
    }
}

TEST(ImageMetadata, CameraDetailsOfAHeicSurviveIntoEveryFormat) {
    // The HEIF loader's EXIF block lives in the loader's memory; writing it out after the
    // loader has gone read freed memory (caught under AddressSanitizer).
    TempFolder temp;
    ConversionOptions options;
    options.keepMetadata = true;
    const fs::path heic = ImageTools::convert(photoWithEverything(temp), Recipe::toHEIC, options);
    for (const Recipe recipe : {Recipe::toJPG, Recipe::toPNG, Recipe::toHEIC}) {
        const VImage back = fixtures::readBack(ImageTools::convert(heic, recipe, options));
        EXPECT_NE(field(back, "exif-ifd0-Make").find("Kelvane Test Camera"), std::string::npos)
            << recipe.rawValue();
        EXPECT_NE(field(back, "exif-ifd3-GPSLatitudeRef").find('N'), std::string::npos)
            << recipe.rawValue();
    }
}

TEST(ImageMetadata, NotKeepingAndStrippingLeaveNoneOfTheSourcesDetails) {
    TempFolder temp;
    const fs::path photo = photoWithEverything(temp);
    const VImage source = fixtures::readBack(photo); // the source has every group to lose
    EXPECT_EQ(source.get_int("orientation"), 6);
    EXPECT_NE(field(source, "exif-ifd0-Make").find("Kelvane Test Camera"), std::string::npos);
    EXPECT_NE(field(source, "exif-ifd3-GPSLatitudeRef").find('N'), std::string::npos);
    EXPECT_EQ(fixtures::blobField(source, "iptc-data"), iptc);
    EXPECT_TRUE(fixtures::hasField(source, "xmp-data"));
    EXPECT_NEAR(dpiOf(source), 300, 0.5);
    ConversionOptions off;
    off.keepMetadata = false;
    ConversionOptions on;
    on.keepMetadata = true;
    const std::vector<fs::path> results = {ImageTools::convert(photo, Recipe::toJPG, off),
                                           ImageTools::convert(photo, Recipe::toHEIC, off),
                                           ImageTools::convert(photo, Recipe::stripMetadata, on),
                                           ImageTools::convert(photo, Recipe::shrink, on)};
    for (const fs::path& result : results) {
        const VImage back = fixtures::readBack(result);
        EXPECT_FALSE(fixtures::hasField(back, "exif-data")) << result;
        EXPECT_TRUE(field(back, "exif-ifd0-Make").empty()) << result;
        EXPECT_FALSE(fixtures::hasField(back, "iptc-data")) << result;
        EXPECT_FALSE(fixtures::hasField(back, "xmp-data")) << result;
        EXPECT_GT(std::abs(dpiOf(back) - 300), 1) << result;
        EXPECT_FALSE(fixtures::hasField(back, "orientation") && back.get_int("orientation") != 1)
            << result;
        EXPECT_EQ(back.width(), 64) << result;
        EXPECT_GT(fixtures::colourAt(back, 16, 12)[0], 180) << result;
    }
}

TEST(ImageMetadata, StripWritesAtLeastQuality92AndKeepsPngLossless) {
    TempFolder temp;
    const fs::path noisy = fixtures::save(fixtures::noisyPicture(200, 150), temp / "n.jpg");
    const fs::path png = fixtures::save(fixtures::noisyPicture(60, 40), temp / "p.png");
    ConversionOptions low;
    low.quality = 0.5;
    ConversionOptions floor;
    floor.quality = 0.92;
    ConversionOptions high;
    high.quality = 0.97;
    const auto size = [&](const ConversionOptions& options) {
        return fs::file_size(ImageTools::convert(noisy, Recipe::stripMetadata, options));
    };
    EXPECT_EQ(size(low), size(floor));
    EXPECT_LT(size(floor), size(high));

    const VImage original = fixtures::readBack(png);
    const VImage clean = fixtures::readBack(ImageTools::convert(png, Recipe::stripMetadata, low));
    EXPECT_EQ(clean.get_string("vips-loader"), std::string("pngload"));
    EXPECT_EQ((original - clean).abs().max(), 0.0);
}

} // namespace
} // namespace kelvane
