#include "images/EvalProgress.h"
#include "naming/ConversionError.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace kelvane::ImageTools {
namespace {

using vips::VImage;

// Reading the header costs no pixel memory: libvips decodes lazily.
VImage header(const std::filesystem::path& file) {
    try {
        return VImage::new_from_file(file.c_str(),
                                     VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL));
    } catch (const vips::VError&) {
        throw ConversionError::unreadableImage(file.filename().string());
    }
}

// The HEIF loader of libvips 8.14 attaches the EXIF block without a copy of its own: it
// points into memory that goes with the loader, and a later save would read it freed. While
// the loader is still alive, each metadata block is replaced by a copy the image owns.
void ownMetadataBlocks(VImage& image) {
    for (const char* name :
         {VIPS_META_EXIF_NAME, VIPS_META_XMP_NAME, VIPS_META_IPTC_NAME, VIPS_META_ICC_NAME}) {
        if (image.get_typeof(name) != VIPS_TYPE_BLOB)
            continue;
        std::size_t length = 0;
        const void* data = image.get_blob(name, &length);
        vips_image_set_blob_copy(image.get_image(), name, data, length);
    }
}

// The thumbnail path turns every picture into 8-bit sRGB; 16-bit pictures are turned
// upright and scaled here instead, so that the formats that can hold 16 bits keep them.
VImage deepUpright(const std::string& name, int size, bool streamed) {
    const VImage image =
        VImage::new_from_file(name.c_str(), VImage::option()
                                                ->set("access", streamed ? VIPS_ACCESS_SEQUENTIAL
                                                                         : VIPS_ACCESS_RANDOM)
                                                ->set("fail_on", VIPS_FAIL_ON_TRUNCATED))
            .autorot();
    const int longest = std::max(image.width(), image.height());
    if (size >= longest)
        return image;
    return image.resize(static_cast<double>(size) / longest,
                        VImage::option()->set("kernel", VIPS_KERNEL_LANCZOS3));
}

bool isDeep(const VImage& source) {
    return source.format() == VIPS_FORMAT_USHORT;
}

bool isUpright(const VImage& source) {
    return source.get_typeof(VIPS_META_ORIENTATION) == 0 ||
           source.get_int(VIPS_META_ORIENTATION) <= 1;
}

// Upright (the thumbnail path applies the EXIF orientation), bounded by `size`. Decoded at
// once so that damage shows here rather than halfway through writing the result, unless
// `streamed`: then the rows are decoded as the result is written.
VImage decode(const std::filesystem::path& file, const std::string& loadOptions, int size,
              bool streamed, bool deep, const Progress& progress) {
    try {
        const std::string name = file.string() + loadOptions;
        const VImage image = deep ? deepUpright(name, size, streamed)
                                  : VImage::thumbnail(name.c_str(), size,
                                                      VImage::option()
                                                          ->set("height", size)
                                                          ->set("size", VIPS_SIZE_DOWN)
                                                          ->set("fail_on", VIPS_FAIL_ON_TRUNCATED));
        if (streamed)
            return image;
        const EvalProgress watch(image, progress, 0.0, 0.5);
        VImage decoded = image.copy_memory();
        ownMetadataBlocks(decoded);
        return decoded;
    } catch (const vips::VError&) {
        throw ConversionError::couldNotDecode(file.filename().string());
    }
}

// HEIF files from phones hold thumbnails, depth maps and sometimes several top-level images;
// the picture is the one the file marks as primary.
std::string loadOptionsFor(const VImage& source) {
    if (source.get_typeof("heif-primary") == 0)
        return {};
    return "[page=" + std::to_string(source.get_int("heif-primary")) + "]";
}

// A decompression bomb claims a huge canvas in a tiny file. No real image format packs a
// large picture into fewer bytes than this, flat colour included.
bool isPlausible(const std::filesystem::path& file, double pixels) {
    constexpr double mostPixelsPerByte = 10'000.0;
    if (pixels <= largestInMemory)
        return true;
    std::error_code error;
    const auto bytes = std::filesystem::file_size(file, error);
    return !error && static_cast<double>(bytes) * mostPixelsPerByte >= pixels;
}

} // namespace

std::optional<double> statedDpi(const vips::VImage& image) {
    // libvips reports 1 pixel per millimetre and no unit when a file states no resolution.
    const double pixelsPerMM = image.xres();
    const bool stated = image.get_typeof("resolution-unit") != 0 || pixelsPerMM != 1.0;
    if (!stated || !std::isfinite(pixelsPerMM) || pixelsPerMM <= 0)
        return std::nullopt;
    return pixelsPerMM * 25.4;
}

Loaded load(const std::filesystem::path& file, std::optional<int> maxPixel, Residence residence,
            const Progress& progress) {
    ensureVips();
    const VImage source = header(file);
    const double pixels = static_cast<double>(source.width()) * source.height();
    if (pixels < 1 || !isPlausible(file, pixels))
        throw ConversionError::unreadableImage(file.filename().string());

    const int longest = std::max({source.width(), source.height(), 1});
    int size = maxPixel ? std::clamp(*maxPixel, 1, longest) : longest;
    if (residence == Residence::inMemory && pixels > largestInMemory)
        size = std::min(size, static_cast<int>(longest * std::sqrt(largestInMemory / pixels)));
    const double scale = static_cast<double>(size) / longest;
    const bool streamed =
        pixels * scale * scale > largestInMemory ||
        (residence == Residence::streamed && !isDeep(source) && isUpright(source));
    return {decode(file, loadOptionsFor(source), size, streamed, isDeep(source), progress),
            statedDpi(source), streamed};
}

void requireDecodable(const std::filesystem::path& file) {
    try {
        VImage::new_from_file(file.c_str(), VImage::option()
                                                ->set("access", VIPS_ACCESS_SEQUENTIAL)
                                                ->set("fail_on", VIPS_FAIL_ON_TRUNCATED))
            .avg();
    } catch (const vips::VError&) {
        throw ConversionError::couldNotDecode(file.filename().string());
    }
}

bool canHold(ImageType type, const vips::VImage& image) {
    constexpr int longestJpegOrGifSide = 65'535;
    const double pixels = static_cast<double>(image.width()) * image.height();
    const int longest = std::max(image.width(), image.height());
    switch (type) {
    case ImageType::jpeg:
        return longest <= longestJpegOrGifSide;
    case ImageType::gif:
        return longest <= longestJpegOrGifSide && pixels <= largestInMemory;
    case ImageType::heic:
    case ImageType::bmp:
        return pixels <= largestInMemory;
    case ImageType::png:
    case ImageType::tiff:
        break;
    }
    return true;
}

ConversionError tooLargeToConvert(const std::filesystem::path& file, const vips::VImage& image) {
    // Thousands grouped with a thin space, as in 20 000.
    const auto grouped = [](int number) {
        std::string digits = std::to_string(number);
        for (auto at = static_cast<std::ptrdiff_t>(digits.size()) - 3; at > 0; at -= 3)
            digits.insert(static_cast<std::size_t>(at), "\u2009");
        return digits;
    };
    return ConversionError("“" + file.filename().string() + "” is too large to convert (" +
                           grouped(image.width()) + " × " + grouped(image.height()) + " pixels).");
}

bool hasAlpha(const vips::VImage& image) {
    return image.has_alpha();
}

vips::VImage toSRGB8(const vips::VImage& image) {
    const VipsInterpretation interpretation = image.interpretation();
    if (image.format() == VIPS_FORMAT_UCHAR &&
        (interpretation == VIPS_INTERPRETATION_sRGB || interpretation == VIPS_INTERPRETATION_B_W))
        return image;
    VImage converted = image;
    try {
        converted = image.colourspace(image.bands() >= 3 ? VIPS_INTERPRETATION_sRGB
                                                         : VIPS_INTERPRETATION_B_W);
    } catch (const vips::VError&) {
        // An interpretation libvips cannot convert from: keep the numbers as they are.
    }
    return converted.format() == VIPS_FORMAT_UCHAR ? converted : converted.cast(VIPS_FORMAT_UCHAR);
}

vips::VImage flatten(const vips::VImage& image) {
    if (!hasAlpha(image))
        return image;
    return toSRGB8(image).flatten(VImage::option()->set("background", std::vector<double>{255.0}));
}

vips::VImage prepared(const vips::VImage& image, ImageType type) {
    if (type == ImageType::jpeg || type == ImageType::bmp)
        return flatten(image);
    return image;
}

} // namespace kelvane::ImageTools
