#pragma once

#include <QByteArray>
#include <QSizeF>
#include <QString>
#include <QVariant>

#include <string>

class QTextCursor;
class QTextDocument;
class QTextImageFormat;

namespace kelvane {
class ZipContainer;
}

namespace kelvane::DocumentImages {

// Images live in a document as resources holding their original encoded bytes (PNG or
// JPEG), so writers can embed them again without re-encoding. Readers insert them with
// `insert`; writers fetch them with `encoded`.

struct EncodedImage {
    QByteArray bytes;
    QString format;      // "png" or "jpeg"
    QSizeF sizeInPoints; // as shown on the page
};

// Inserts an image at the cursor. `displaySize` in points; an empty size shows one image
// pixel per CSS pixel. PNG and JPEG are kept as they are; other pictures Qt's image readers
// decode (GIF, BMP, TIFF…) are kept as PNG, and so are Windows and enhanced metafiles, drawn at
// 300 pixels to the inch of `displaySize` (when given) and no more than 1200. Returns false,
// inserting nothing, when the bytes do not decode.
bool insert(QTextCursor& cursor, const QByteArray& bytes, QSizeF displaySize = {});
// Inserts the picture in the part `partName` of a package, as `insert`. When the cursor's
// document is the PackageDocument holding that package, a PNG or JPEG picture stays in the
// package: only its header is read now, the rest when the picture is drawn or written.
// Returns false, inserting nothing, when the part is missing, damaged, too large to read
// whole or does not decode.
bool insertPart(QTextCursor& cursor, const ZipContainer& package, const std::string& partName,
                QSizeF displaySize = {});

// The image an image format refers to; any other decodable resource is re-encoded as PNG.
// Empty bytes when the document holds nothing usable under that name.
EncodedImage encoded(const QTextDocument& document, const QTextImageFormat& format);

// A picture resource as a page draws it: one of more pixels than a page needs is decoded down
// to `maxDrawnPixels`, so that drawing it holds neither it whole nor the copies the PDF writer
// makes of it. Anything else is returned as it is.
constexpr qint64 maxDrawnPixels = 16'000'000;
QVariant forDrawing(const QVariant& resource);

// "png" or "jpeg" from the bytes' signature, or empty.
QString formatOf(const QByteArray& bytes);

} // namespace kelvane::DocumentImages
