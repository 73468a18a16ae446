#include "documents/JpegStandIns.h"

#include <QTextDocument>

namespace kelvane::PdfLayout {
namespace {

// A stand-in is two pixels: this colour, then the picture's number in red, green and blue.
// It is no gray, so the PDF writer keeps its three channels.
constexpr QRgb standInMark = 0xff4b17e3;
constexpr int maxPictures = 0xffffff;

int byteAt(const QByteArray& bytes, qsizetype at) {
    return static_cast<unsigned char>(bytes[at]);
}

int wordAt(const QByteArray& bytes, qsizetype at) {
    return byteAt(bytes, at) << 8 | byteAt(bytes, at + 1);
}

bool isFrameStart(int marker) {
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

// Baseline, extended and progressive Huffman-coded frames of eight-bit samples: what every
// PDF reader decodes.
std::optional<PlainJpeg> frameOf(const QByteArray& bytes, int marker, qsizetype at, int length) {
    if ((marker != 0xc0 && marker != 0xc1 && marker != 0xc2) || length < 8)
        return std::nullopt;
    const PlainJpeg jpeg{QSize(wordAt(bytes, at + 3), wordAt(bytes, at + 1)),
                         byteAt(bytes, at + 5)};
    if (byteAt(bytes, at) != 8 || jpeg.pixels.isEmpty() ||
        (jpeg.components != 1 && jpeg.components != 3))
        return std::nullopt;
    return jpeg;
}

} // namespace

std::optional<PlainJpeg> plainJpeg(const QByteArray& bytes) {
    if (!bytes.startsWith("\xff\xd8"))
        return std::nullopt;
    std::optional<PlainJpeg> frame;
    qsizetype at = 2;
    while (at + 4 <= bytes.size()) {
        if (byteAt(bytes, at) != 0xff)
            return std::nullopt;
        const int marker = byteAt(bytes, at + 1);
        at += 2;
        if (marker == 0xff) {
            --at; // fill byte
            continue;
        }
        if (marker == 0x01 || (marker >= 0xd0 && marker <= 0xd7))
            continue;
        const int length = wordAt(bytes, at);
        if (marker == 0xd8 || marker == 0xd9 || length < 2 || at + length > bytes.size())
            return std::nullopt;
        if (isFrameStart(marker)) {
            if (frame)
                return std::nullopt;
            frame = frameOf(bytes, marker, at + 2, length);
            if (!frame)
                return std::nullopt;
        }
        if (marker == 0xda) {
            // The scans run to the end marker; a file cut short has none.
            if (!frame || bytes.lastIndexOf("\xff\xd9") < at + length)
                return std::nullopt;
            return frame;
        }
        at += length;
    }
    return std::nullopt;
}

const JpegStandIns::Known& JpegStandIns::known(const QUrl& name) {
    if (const auto found = known_.find(name); found != known_.end())
        return found->second;
    Known entry;
    const QVariant resource = source_.resource(QTextDocument::ImageResource, name);
    if (resource.typeId() == QMetaType::QByteArray && pictures_.size() < maxPictures) {
        if (const auto jpeg = plainJpeg(resource.toByteArray())) {
            entry.id = static_cast<int>(pictures_.size());
            pictures_.push_back({name, *jpeg});
            QImage image(2, 1, QImage::Format_RGB32);
            image.setPixel(0, 0, standInMark);
            image.setPixel(1, 0, qRgb(*entry.id >> 16, *entry.id >> 8 & 0xff, *entry.id & 0xff));
            images_.push_back(image);
        }
    }
    return known_.emplace(name, entry).first->second;
}

std::optional<QImage> JpegStandIns::standIn(const QUrl& name) {
    const Known& entry = known(name);
    return entry.id ? std::optional(images_[static_cast<std::size_t>(*entry.id)]) : std::nullopt;
}

std::optional<QSize> JpegStandIns::pixelSize(const QUrl& name) {
    const Known& entry = known(name);
    return entry.id ? std::optional(pictures_[static_cast<std::size_t>(*entry.id)].jpeg.pixels)
                    : std::nullopt;
}

const JpegStandIns::Picture* JpegStandIns::pictureOf(const QByteArray& pixels) const {
    const QRgb mark = standInMark;
    if (pixels.size() != 6 || byteAt(pixels, 0) != qRed(mark) ||
        byteAt(pixels, 1) != qGreen(mark) || byteAt(pixels, 2) != qBlue(mark))
        return nullptr;
    const auto id = static_cast<std::size_t>(byteAt(pixels, 3) << 16 | byteAt(pixels, 4) << 8 |
                                             byteAt(pixels, 5));
    return id < pictures_.size() ? &pictures_[id] : nullptr;
}

} // namespace kelvane::PdfLayout
