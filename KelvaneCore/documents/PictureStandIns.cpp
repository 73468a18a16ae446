#include "documents/PictureStandIns.h"

#include <QTextDocument>

namespace kelvane::PdfLayout {
namespace {

// A stand-in is two pixels: this colour, then the picture's number in red, green and blue.
// It is no gray, so the PDF writer keeps its three channels.
constexpr QRgb standInMark = 0xff4b17e3;
constexpr std::size_t maxPictures = 0xffffff;

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
        if (const auto plain = plainPicture(resource.toByteArray())) {
            id = pictures_.size();
            pictures_.push_back({name, *plain});
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

const PictureStandIns::Picture* PictureStandIns::pictureOf(const QByteArray& pixels) const {
    const QRgb mark = standInMark;
    if (pixels.size() != 6 || byteAt(pixels, 0) != qRed(mark) ||
        byteAt(pixels, 1) != qGreen(mark) || byteAt(pixels, 2) != qBlue(mark))
        return nullptr;
    const auto id = static_cast<std::size_t>(byteAt(pixels, 3) << 16 | byteAt(pixels, 4) << 8 |
                                             byteAt(pixels, 5));
    return id < pictures_.size() ? &pictures_[id] : nullptr;
}

} // namespace kelvane::PdfLayout
