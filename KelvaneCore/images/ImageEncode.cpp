#include "images/EvalProgress.h"
#include "naming/ConversionError.h"

#include <QBuffer>
#include <QFile>

#include <algorithm>
#include <cmath>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace kelvane::ImageTools {
namespace {

using vips::VImage;

const char* saverFor(ImageType type) {
    switch (type) {
    case ImageType::jpeg:
        return "jpegsave";
    case ImageType::heic:
        return "heifsave";
    case ImageType::tiff:
        return "tiffsave";
    case ImageType::gif:
        return "gifsave";
    case ImageType::bmp: // written by writeBmp
    case ImageType::png:
        break;
    }
    return "pngsave";
}

int qualityFactor(double quality) {
    return std::clamp(static_cast<int>(std::lround(quality * 100.0)), 1, 100);
}

// Options of the saver, quality only where the format is lossy.
vips::VOption* saveOptions(ImageType type, std::optional<double> quality, bool strip) {
    vips::VOption* options = VImage::option()->set("strip", strip);
    const bool lossy = type == ImageType::jpeg || type == ImageType::heic;
    if (lossy && quality)
        options->set("Q", qualityFactor(*quality));
    if (type == ImageType::heic)
        options->set("compression", VIPS_FOREIGN_HEIF_COMPRESSION_HEVC);
    if (type == ImageType::tiff)
        options->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_LZW);
    return options;
}

// PNG and TIFF keep 16-bit pictures as they are; the other encoders take 8 bits.
VImage ready(const VImage& image, ImageType type, bool keepMetadata) {
    const bool keepsDepth = type == ImageType::png || type == ImageType::tiff;
    const VImage output = withMetadata(prepared(image, type), keepMetadata);
    return keepsDepth || output.format() == VIPS_FORMAT_UCHAR ? output : toSRGB8(output);
}

// Opened by descriptor: a folder name need not be valid UTF-8 for the file to be written.
void writeBmpFile(const VImage& image, const std::filesystem::path& file) {
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    QFile bmp;
    if (fd < 0 || !bmp.open(fd, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle)) {
        if (fd >= 0)
            ::close(fd);
        throw ConversionError::couldNotSaveImage();
    }
    if (!writeBmp(image, bmp) || !bmp.flush())
        throw ConversionError::couldNotSaveImage();
}

std::optional<std::string> bmpData(const VImage& image) {
    QBuffer bmp;
    bmp.open(QIODevice::WriteOnly);
    try {
        if (writeBmp(ready(image, ImageType::bmp, false), bmp))
            return bmp.data().toStdString();
    } catch (const vips::VError&) {
    }
    return std::nullopt;
}

} // namespace

bool canWrite(ImageType type) {
    ensureVips();
    if (type == ImageType::bmp)
        return true; // Qt's own writer
    return vips_type_find("VipsOperation", saverFor(type)) != 0;
}

void write(const vips::VImage& image, ImageType type, std::optional<double> quality,
           bool keepMetadata, const std::filesystem::path& file, const Progress& progress,
           double progressFrom) {
    if (!canWrite(type))
        throw ConversionError::cannotWriteFormat(preferredExtension(type));
    try {
        const VImage output = ready(image, type, keepMetadata);
        const EvalProgress watch(output, progress, progressFrom, 1.0);
        if (type == ImageType::bmp)
            return writeBmpFile(output, file);
        vips::VOption* options = saveOptions(type, quality, !keepMetadata);
        VImage::call(saverFor(type), options->set("in", output)->set("filename", file.c_str()));
    } catch (const vips::VError&) {
        throw ConversionError::couldNotSaveImage();
    }
}

std::optional<std::string> data(const vips::VImage& image, ImageType type,
                                std::optional<double> quality) {
    if (!canWrite(type))
        return std::nullopt;
    if (type == ImageType::bmp)
        return bmpData(image);
    VipsBlob* blob = nullptr;
    try {
        const std::string saver = std::string(saverFor(type)) + "_buffer";
        const VImage output = ready(image, type, false);
        vips::VOption* options = saveOptions(type, quality, true);
        VImage::call(saver.c_str(), options->set("in", output)->set("buffer", &blob));
    } catch (const vips::VError&) {
        return std::nullopt;
    }
    const std::unique_ptr<VipsArea, decltype(&vips_area_unref)> owner(VIPS_AREA(blob),
                                                                      vips_area_unref);
    std::size_t length = 0;
    const void* bytes = vips_blob_get(blob, &length);
    return std::string(static_cast<const char*>(bytes), length);
}

} // namespace kelvane::ImageTools
