#include "images/ImageCodec.h"

#include <QIODevice>

#include <cmath>
#include <cstdint>
#include <memory>
#include <string>

// BMP is written here rather than by libvips: libvips 8.14 has no BMP saver of its own, and
// the one it borrows copies the image into a pixel cache several times its size, which
// refuses large images outright. The format is simple enough not to need an image library.
namespace kelvane::ImageTools {
namespace {

using vips::VImage;

constexpr std::int64_t headerBytes = 14 + 40; // file header, then the info header
constexpr int defaultDotsPerMeter = 2835;     // 72 dpi

// Blue, green, red, the bottom row first: the order a 24-bit BMP stores its pixels in.
VImage bottomUpBgr(const VImage& image) {
    VImage rgb = toSRGB8(flatten(image));
    if (rgb.bands() < 3)
        rgb = VImage::bandjoin({rgb.extract_band(0), rgb.extract_band(0), rgb.extract_band(0)});
    return VImage::bandjoin({rgb.extract_band(2), rgb.extract_band(1), rgb.extract_band(0)})
        .flip(VIPS_DIRECTION_VERTICAL);
}

int dotsPerMeter(double pixelsPerMM) {
    return std::isfinite(pixelsPerMM) && pixelsPerMM > 0
               ? static_cast<int>(std::lround(pixelsPerMM * 1000.0))
               : defaultDotsPerMeter;
}

void appendLittleEndian(std::string& bytes, std::uint32_t value, int size) {
    for (int index = 0; index < size; ++index)
        bytes.push_back(static_cast<char>((value >> (8 * index)) & 0xFFu));
}

std::string header(const VImage& image, std::int64_t rowBytes) {
    const auto pixelBytes = static_cast<std::uint32_t>(rowBytes * image.height());
    std::string bytes = "BM";
    appendLittleEndian(bytes, static_cast<std::uint32_t>(headerBytes) + pixelBytes, 4);
    appendLittleEndian(bytes, 0, 4); // reserved
    appendLittleEndian(bytes, static_cast<std::uint32_t>(headerBytes), 4);
    appendLittleEndian(bytes, 40, 4);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(image.width()), 4);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(image.height()), 4); // bottom-up
    appendLittleEndian(bytes, 1, 2);                                          // planes
    appendLittleEndian(bytes, 24, 2);                                         // bits per pixel
    appendLittleEndian(bytes, 0, 4);                                          // uncompressed
    appendLittleEndian(bytes, pixelBytes, 4);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(dotsPerMeter(image.xres())), 4);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(dotsPerMeter(image.yres())), 4);
    appendLittleEndian(bytes, 0, 4); // colours used
    appendLittleEndian(bytes, 0, 4); // important colours
    return bytes;
}

} // namespace

bool writeBmp(const vips::VImage& image, QIODevice& device) {
    const std::int64_t width = image.width();
    const std::int64_t height = image.height();
    const std::int64_t rowBytes = (width * 3 + 3) / 4 * 4; // rows are padded to 4 bytes
    if (width <= 0 || height <= 0 || headerBytes + rowBytes * height > 0xFFFF'FFFF)
        return false;
    std::size_t size = 0;
    const std::unique_ptr<char, decltype(&g_free)> pixels(
        static_cast<char*>(bottomUpBgr(image).write_to_memory(&size)), g_free);
    if (size != static_cast<std::size_t>(width * 3 * height))
        return false;
    const std::string start = header(image, rowBytes);
    if (device.write(start.data(), static_cast<qint64>(start.size())) !=
        static_cast<qint64>(start.size()))
        return false;
    std::string row(static_cast<std::size_t>(rowBytes), '\0');
    for (std::int64_t y = 0; y < height; ++y) {
        row.replace(0, static_cast<std::size_t>(width * 3), pixels.get() + y * width * 3,
                    static_cast<std::size_t>(width * 3));
        if (device.write(row.data(), rowBytes) != rowBytes)
            return false;
    }
    return true;
}

} // namespace kelvane::ImageTools
