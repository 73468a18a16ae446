#include "documents/DocumentImages.h"

#include "documents/Metafiles.h"
#include "documents/PackageDocument.h"
#include "documents/PlainPictures.h"
#include "documents/Units.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextImageFormat>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace kelvane::DocumentImages {
namespace {

// An image without a size of its own shows one image pixel per CSS pixel.
constexpr double pointsPerImagePixel = 72.0 / 96.0;
constexpr int maxImageSide = 20000; // refuse decompression bombs before decoding
// Enough of a PNG or JPEG to find its size in: most give it in their first bytes, a camera's
// JPEG after its metadata and colour profile.
constexpr qsizetype firstHeadBytes = 16 * 1024;
constexpr qsizetype headerBytes = 256 * 1024;

// The size a PNG or JPEG states is read here: asking an image reader loads every image
// format plugin there is.
QSize pixelSize(const QByteArray& bytes) {
    QSize size;
    if (const auto stated = PdfLayout::statedSize(bytes)) {
        size = *stated;
    } else {
        QBuffer buffer;
        buffer.setData(bytes);
        size = QImageReader(&buffer).size();
    }
    return size.isValid() && size.width() <= maxImageSide && size.height() <= maxImageSide
               ? size
               : QSize();
}

// A drawing is drawn at print resolution for the size it is shown at, and no larger than
// its drawer's limit.
constexpr double drawnPixelsPerPoint = 300.0 / 72.0;
constexpr int smallestDrawnSide = 16;

int drawnSide(QSizeF displaySize) {
    if (displaySize.isEmpty())
        return Metafiles::largestSide;
    const double side = std::max(displaySize.width(), displaySize.height()) * drawnPixelsPerPoint;
    return static_cast<int>(
        std::clamp(std::ceil(side), double(smallestDrawnSide), double(Metafiles::largestSide)));
}

QImage decoded(const QByteArray& bytes, QSizeF displaySize) {
    if (Metafiles::isEnhancedMetafile(bytes))
        return Metafiles::drawEnhancedMetafile(bytes, drawnSide(displaySize));
    if (!pixelSize(bytes).isValid())
        return {};
    QBuffer source;
    source.setData(bytes);
    QImageReader reader(&source);
    reader.setAutoTransform(true);
    return reader.read();
}

// Pictures in other formats Qt reads (GIF, BMP, TIFF…) and drawings in Windows and enhanced
// metafiles become PNG, which keeps every pixel.
QByteArray asPng(const QByteArray& bytes, QSizeF displaySize) {
    if (Metafiles::isWindowsMetafile(bytes)) // drawn as a PNG already
        return Metafiles::drawWindowsMetafile(bytes, drawnSide(displaySize));
    const QImage image = decoded(bytes, displaySize);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (image.isNull() || !image.save(&buffer, "PNG"))
        return {};
    return png;
}

// Names a new image resource of `document` by its format, "kelvane-image:3.png".
QString newResourceName(const QTextDocument& document, const QString& format) {
    return QStringLiteral("kelvane-image:%1.%2")
        .arg(document.allFormats().size())
        .arg(format == "png" ? "png" : "jpg");
}

struct PackagedPicture {
    QString format; // none: not a PNG or JPEG
    QSize pixels;   // invalid: unreadable, or too large
};

PackagedPicture packagedPicture(const ZipContainer& package, const std::string& partName) {
    auto head = package.head(partName, firstHeadBytes);
    const QString format = head ? formatOf(*head) : QString();
    if (format.isEmpty())
        return {};
    if (!PdfLayout::statedSize(*head) && head->size() == firstHeadBytes)
        head = package.head(partName, headerBytes);
    return {format, head ? pixelSize(*head) : QSize()};
}

void insertNamed(QTextCursor& cursor, const QString& name, QSize pixels, QSizeF displaySize) {
    if (displaySize.isEmpty())
        displaySize = QSizeF(pixels) * pointsPerImagePixel;
    QTextImageFormat image;
    image.setName(name);
    image.setWidth(Units::pixelsFromPoints(displaySize.width()));
    image.setHeight(Units::pixelsFromPoints(displaySize.height()));
    cursor.insertImage(image);
}

} // namespace

QString formatOf(const QByteArray& bytes) {
    if (bytes.startsWith("\x89PNG\r\n\x1a\n"))
        return QStringLiteral("png");
    if (bytes.startsWith("\xff\xd8\xff"))
        return QStringLiteral("jpeg");
    return {};
}

bool insert(QTextCursor& cursor, const QByteArray& original, QSizeF displaySize) {
    const QByteArray bytes = formatOf(original).isEmpty() ? asPng(original, displaySize) : original;
    const QString format = formatOf(bytes);
    const QSize pixels = pixelSize(bytes);
    if (format.isEmpty() || !pixels.isValid())
        return false;
    QTextDocument* document = cursor.document();
    const QString name = newResourceName(*document, format);
    document->addResource(QTextDocument::ImageResource, QUrl(name), bytes);
    insertNamed(cursor, name, pixels, displaySize);
    return true;
}

bool insertPart(QTextCursor& cursor, const ZipContainer& package, const std::string& partName,
                QSizeF displaySize) {
    try {
        if (!package.fitsWhole(partName))
            return false;
        // A PNG or JPEG of the document's own package stays there: the document keeps only
        // its name and size, read from its start, and reads it again whenever it is drawn or
        // written.
        auto* document = dynamic_cast<PackageDocument*>(cursor.document());
        const bool own = document != nullptr && &document->package() == &package;
        const PackagedPicture picture =
            own ? packagedPicture(package, partName) : PackagedPicture();
        if (!picture.pixels.isValid()) {
            const auto bytes = package.part(partName);
            return bytes && insert(cursor, *bytes, displaySize);
        }
        const QString name = newResourceName(*document, picture.format);
        document->addPicture(name, partName);
        insertNamed(cursor, name, picture.pixels, displaySize);
        return true;
    } catch (const std::runtime_error&) {
        return false; // a damaged picture leaves its alternative text
    }
}

QVariant forDrawing(const QVariant& resource) {
    if (resource.typeId() != QMetaType::QByteArray)
        return resource;
    QBuffer buffer;
    buffer.setData(resource.toByteArray());
    QImageReader reader(&buffer);
    const QSize pixels = reader.size();
    const double count = double(pixels.width()) * pixels.height();
    if (!pixels.isValid() || count <= double(maxDrawnPixels))
        return resource;
    const double scale = std::sqrt(double(maxDrawnPixels) / count);
    reader.setScaledSize(QSize(std::max(1, static_cast<int>(pixels.width() * scale)),
                               std::max(1, static_cast<int>(pixels.height() * scale))));
    const QImage image = reader.read();
    return image.isNull() ? resource : QVariant(image);
}

EncodedImage encoded(const QTextDocument& document, const QTextImageFormat& format) {
    const QVariant resource = document.resource(QTextDocument::ImageResource, QUrl(format.name()));
    QByteArray bytes;
    QSize pixels;
    if (resource.typeId() == QMetaType::QByteArray && !formatOf(resource.toByteArray()).isEmpty()) {
        bytes = resource.toByteArray();
        pixels = pixelSize(bytes);
    } else {
        QImage image = resource.value<QImage>();
        if (image.isNull() && resource.typeId() == QMetaType::QByteArray)
            image.loadFromData(resource.toByteArray());
        if (image.isNull())
            return {};
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
        pixels = image.size();
    }
    QSizeF size(Units::pointsFromPixels(format.width()), Units::pointsFromPixels(format.height()));
    if (size.width() <= 0 && size.height() <= 0)
        size = QSizeF(pixels) * pointsPerImagePixel;
    else if (size.height() <= 0 && pixels.width() > 0)
        size.setHeight(size.width() * pixels.height() / pixels.width());
    else if (size.width() <= 0 && pixels.height() > 0)
        size.setWidth(size.height() * pixels.width() / pixels.height());
    return {bytes, formatOf(bytes), size};
}

} // namespace kelvane::DocumentImages
