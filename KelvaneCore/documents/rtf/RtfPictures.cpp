#include "documents/DocumentFormats.h"
#include "documents/Units.h"
#include "documents/rtf/RtfReading.h"

#include <QtEndian>

#include <algorithm>
#include <system_error>

namespace kelvane::Rtf {
namespace {

namespace fs = std::filesystem;

constexpr double maxImagePoints = 14400; // 200 inches

// The size a picture asks to be shown at, or an empty size to show it pixel for pixel: for
// PNG and JPEG data \picw and \pich only repeat the image's own pixel size.
QSizeF shownSize(const Picture& picture) {
    if (picture.goalWidth <= 0 || picture.goalHeight <= 0)
        return {};
    const QSizeF points(Units::pointsFromTwips(picture.goalWidth) * picture.scaleX / 100.0,
                        Units::pointsFromTwips(picture.goalHeight) * picture.scaleY / 100.0);
    if (points.width() > maxImagePoints || points.height() > maxImagePoints)
        return points.scaled(maxImagePoints, maxImagePoints, Qt::KeepAspectRatio);
    return points;
}

// A \dibitmap holds a bitmap without the file header that image readers look for: the header
// says where the pixels start, after the info header and its colour table.
QByteArray withBitmapFileHeader(const QByteArray& bitmap) {
    if (bitmap.size() < 16)
        return bitmap;
    const auto* data = reinterpret_cast<const uchar*>(bitmap.constData());
    const quint32 infoSize = qFromLittleEndian<quint32>(data);
    const quint16 bitsPerPixel = qFromLittleEndian<quint16>(data + 14);
    quint32 colours = bitmap.size() >= 36 ? qFromLittleEndian<quint32>(data + 32) : 0;
    if (colours == 0 && bitsPerPixel <= 8)
        colours = 1u << bitsPerPixel;
    const bool masks = infoSize == 40 && bitmap.size() >= 20 &&
                       qFromLittleEndian<quint32>(data + 16) == 3; // three colour masks follow
    if (infoSize < 12 || infoSize > 1024 || colours > 256)
        return bitmap;
    QByteArray file(14, '\0');
    file[0] = 'B';
    file[1] = 'M';
    qToLittleEndian<quint32>(static_cast<quint32>(bitmap.size() + 14), file.data() + 2);
    qToLittleEndian<quint32>(14 + infoSize + colours * 4 + (masks ? 12 : 0), file.data() + 10);
    return file + bitmap;
}

} // namespace

std::optional<fs::path> attachmentPath(const fs::path& folder, const QString& name) {
    if (folder.empty() || name.isEmpty())
        return std::nullopt;
    const fs::path relative(name.toStdString());
    if (relative.has_root_path())
        return std::nullopt;
    for (const fs::path& part : relative) {
        if (part == "..")
            return std::nullopt;
    }
    // Resolving every link on the way shows where the name really leads.
    std::error_code error;
    const fs::path base = fs::canonical(folder, error);
    if (error)
        return std::nullopt;
    const fs::path target = fs::canonical(base / relative, error);
    if (error)
        return std::nullopt;
    const auto mismatch = std::mismatch(base.begin(), base.end(), target.begin(), target.end());
    if (mismatch.first != base.end() || !fs::is_regular_file(target, error))
        return std::nullopt;
    return target;
}

void Reader::finishPicture() {
    // Pictures are told apart by their bytes: metafiles are drawn, bitmaps decoded, and writers
    // do not always name the kind they store. What cannot be shown (a QuickDraw picture, a
    // device-dependent bitmap) leaves its description.
    QByteArray bytes =
        picture_.binary.isEmpty() ? QByteArray::fromHex(picture_.hex) : picture_.binary;
    if (picture_.type == deviceIndependentBitmap)
        bytes = withBitmapFileHeader(bytes);
    if (!builder_.insertImage(bytes, shownSize(picture_), state().paragraph.inTable)) {
        const QString description = picture_.description.simplified();
        deliverToBody(u'[' + (description.isEmpty() ? QStringLiteral("Picture") : description) +
                      u']');
    }
    picture_ = {};
}

// A picture's properties are read for its description. Of a shape's properties only its
// picture (pib, where floating pictures keep theirs) is read; the others have no text to show.
bool Reader::enterPictureProperty(Keyword keyword) {
    State& current = state();
    const Destination outer = current.destination;
    const bool inProperty =
        outer == Destination::PictureProperties || outer == Destination::ShapeProperty;
    if (keyword == Keyword::PictureProperties && outer == Destination::Picture) {
        current.destination = Destination::PictureProperties;
    } else if (keyword == Keyword::ShapeProperty && outer == Destination::Body) {
        current.destination = Destination::ShapeProperty;
    } else if (keyword == Keyword::ShapeProperty && outer == Destination::PictureProperties) {
        // one of the picture's properties
    } else if (keyword == Keyword::PropertyName && inProperty) {
        current.destination = Destination::PropertyName;
        picture_.propertyName.clear();
    } else if (keyword == Keyword::PropertyValue && outer == Destination::PictureProperties) {
        current.destination = Destination::PropertyValue;
    } else if (keyword == Keyword::PropertyValue && outer == Destination::ShapeProperty &&
               picture_.propertyName.trimmed() == u"pib") {
        current.destination = Destination::Body; // holds the \pict
    } else {
        skipDepth_ = 1;
    }
    return true;
}

void Reader::finishPictureProperty() {
    if (picture_.propertyName.trimmed() == u"wzDescription")
        picture_.description = picture_.propertyValue;
    picture_.propertyName.clear();
    picture_.propertyValue.clear();
}

void Reader::finishGraphic() {
    const auto file = attachmentPath(attachments_, picture_.fileName.trimmed());
    skipAttachmentMark_ = true;
    if (file) {
        QByteArray bytes;
        try {
            bytes = DocumentFormats::readSource(*file);
        } catch (const std::exception&) {
            bytes.clear(); // an unreadable attachment leaves a gap, not a failed document
        }
        builder_.insertImage(bytes, shownSize(picture_), state().paragraph.inTable);
    }
    picture_ = {};
}

} // namespace kelvane::Rtf
