#include "documents/PictureStandIns.h"

#include <QTextDocument>

namespace kelvane::PdfLayout {
namespace {

// A stand-in is two pixels: this colour, then the picture's number in red, green and blue.
// It is no gray, so the PDF writer keeps its three channels.
constexpr QRgb standInMark = 0xff4b17e3;
constexpr std::size_t maxPictures = 0xffffff;

// The bytes of a picture, read whole to see that it can go into the PDF as it is, are kept
// for the PDF when it is small and the pictures kept so far leave room: read again, it would
// be inflated from the package once more.
constexpr qsizetype maxKeptPicture = 1 << 20;
constexpr qsizetype maxKeptBytes = 16 << 20;

int byteAt(const QByteArray& bytes, qsizetype at) {
    return static_cast<unsigned char>(bytes[at]);
}

} // namespace

const std::optional<std::size_t>& PictureStandIns::known(const QUrl& name) {
    if (const auto found = known_.find(name); found != known_.end())
        return found->second;
    std::optional<std::size_t> id;
    const QVariant resource = source_.resource(QTextDocument::ImageResource, name);
    if (resource.typeId() == QMetaType::QByteArray && pictures_.size() < maxPictures) {
        const QByteArray bytes = resource.toByteArray();
        if (const auto plain = plainPicture(bytes)) {
            id = pictures_.size();
            const bool keep =
                bytes.size() <= maxKeptPicture && keptBytes_ + bytes.size() <= maxKeptBytes;
            keptBytes_ += keep ? bytes.size() : 0;
            pictures_.push_back({name, *plain, keep ? bytes : QByteArray()});
            const int number = static_cast<int>(*id);
            QImage image(2, 1, QImage::Format_RGB32);
            image.setPixel(0, 0, standInMark);
            image.setPixel(1, 0, qRgb(number >> 16, number >> 8 & 0xff, number & 0xff));
            images_.push_back(image);
        }
    }
    return known_.emplace(name, id).first->second;
}

std::optional<QImage> PictureStandIns::standIn(const QUrl& name) {
    const auto& id = known(name);
    return id ? std::optional(images_[*id]) : std::nullopt;
}

std::optional<QSize> PictureStandIns::pixelSize(const QUrl& name) {
    const auto& id = known(name);
    return id ? std::optional(pictures_[*id].plain.pixels) : std::nullopt;
}

std::optional<std::size_t> PictureStandIns::pictureOf(const QByteArray& pixels) const {
    const QRgb mark = standInMark;
    if (pixels.size() != 6 || byteAt(pixels, 0) != qRed(mark) ||
        byteAt(pixels, 1) != qGreen(mark) || byteAt(pixels, 2) != qBlue(mark))
        return std::nullopt;
    const auto id = static_cast<std::size_t>(byteAt(pixels, 3) << 16 | byteAt(pixels, 4) << 8 |
                                             byteAt(pixels, 5));
    return id < pictures_.size() ? std::optional(id) : std::nullopt;
}

const PlainPicture& PictureStandIns::plain(std::size_t picture) const {
    return pictures_.at(picture).plain;
}

QByteArray PictureStandIns::streamData(std::size_t picture) const {
    const Picture& kept = pictures_.at(picture);
    const QByteArray bytes =
        !kept.bytes.isEmpty()
            ? kept.bytes
            : source_.resource(QTextDocument::ImageResource, kept.name).toByteArray();
    return kept.plain.kind == PlainPicture::Kind::png ? pngRows(bytes) : bytes;
}

} // namespace kelvane::PdfLayout
