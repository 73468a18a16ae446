#include "images/ImageCodec.h"

#include <QImage>
#include <QImageWriter>

#include <cmath>
#include <memory>

// BMP goes through Qt's writer rather than libvips: libvips 8.14 has no BMP saver of its own,
// and the one it borrows copies the image into a pixel cache several times its size, which
// refuses large images outright.
namespace kelvane::ImageTools {
namespace {

using vips::VImage;

// The pixels as Qt's RGB32 lays them out in memory on a little-endian machine: blue, green,
// red, then an opaque byte Qt ignores. Qt writes this format out without another copy.
VImage bgrx(const VImage& image) {
    VImage rgb = toSRGB8(flatten(image));
    if (rgb.bands() < 3)
        rgb = VImage::bandjoin({rgb.extract_band(0), rgb.extract_band(0), rgb.extract_band(0)});
    return VImage::bandjoin({rgb.extract_band(2), rgb.extract_band(1), rgb.extract_band(0)})
        .bandjoin_const({255.0});
}

int dotsPerMeter(double pixelsPerMM) {
    return std::isfinite(pixelsPerMM) && pixelsPerMM > 0
               ? static_cast<int>(std::lround(pixelsPerMM * 1000.0))
               : 0; // Qt then writes 72 dpi
}

} // namespace

bool writeBmp(const vips::VImage& image, QIODevice& device) {
    static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "bgrx() lays pixels out little-endian");
    std::size_t size = 0;
    const std::unique_ptr<void, decltype(&g_free)> pixels(bgrx(image).write_to_memory(&size),
                                                          g_free);
    const qsizetype rowBytes = qsizetype{image.width()} * 4;
    if (size != static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(image.height()))
        return false;
    QImage picture(static_cast<const uchar*>(pixels.get()), image.width(), image.height(), rowBytes,
                   QImage::Format_RGB32);
    picture.setDotsPerMeterX(dotsPerMeter(image.xres()));
    picture.setDotsPerMeterY(dotsPerMeter(image.yres()));
    QImageWriter writer(&device, "bmp");
    return writer.write(picture);
}

} // namespace kelvane::ImageTools
