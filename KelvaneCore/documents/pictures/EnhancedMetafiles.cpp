#include "documents/pictures/PictureToolsModule.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QRegularExpression>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>

extern "C" {
#include <emf2svg.h>
}
// GLib's headers name struct members "signals", which Qt defines as a keyword.
#pragma push_macro("signals")
#undef signals
#include <librsvg/rsvg.h>
#pragma pop_macro("signals")

// Enhanced metafiles are drawn in two steps: emf2svg turns their records into SVG, which
// librsvg paints through cairo. Qt's own SVG renderer was the other candidate; it ignores
// clip paths and patterns, which emf2svg writes for clipped regions and hatched brushes.
namespace kelvane::PictureDrawing {
namespace {

constexpr double pixelsPerInch = 150;
constexpr double hundredthsOfMillimetrePerInch = 2540;
constexpr qsizetype maxBytes = 16 * 1024 * 1024;
constexpr quint32 headerRecord = 1;
constexpr quint32 endRecord = 14;
constexpr double maxFontSize = 100000; // in the drawing's own units
constexpr qint64 maxImagePixels = 25'000'000;

quint32 wordAt(const QByteArray& bytes, qsizetype offset) {
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

qint32 signedAt(const QByteArray& bytes, qsizetype offset) {
    return qFromLittleEndian<qint32>(bytes.constData() + offset);
}

// Text given as glyph numbers of a font rather than as characters. The converter maps them
// back through fontconfig and then shuts fontconfig down under Qt's feet, which aborts the
// process; without the document's fonts the numbers say nothing anyway.
bool isGlyphText(const QByteArray& bytes, qsizetype offset, quint32 type, quint32 size) {
    constexpr quint32 textA = 83; // EMR_EXTTEXTOUTA
    constexpr quint32 textW = 84; // EMR_EXTTEXTOUTW
    constexpr qsizetype optionsAt = 52;
    constexpr quint32 glyphIndex = 0x10;
    if (type != textA && type != textW)
        return false;
    return size < optionsAt + 4 || (wordAt(bytes, offset + optionsAt) & glyphIndex) != 0;
}

// The records up to the end record, or up to the first one that overruns the file, closed by
// an end record and with the header's counts made true: the converter trusts them. Glyph
// text is left out.
std::optional<QByteArray> wholeRecords(const QByteArray& bytes) {
    QByteArray kept;
    quint32 records = 0;
    bool ended = false;
    for (qsizetype offset = 0; offset + 8 <= bytes.size() && !ended;) {
        const quint32 type = wordAt(bytes, offset);
        const quint32 size = wordAt(bytes, offset + 4);
        if (size < 8 || size % 4 != 0 || size > static_cast<quint32>(bytes.size() - offset))
            break;
        if ((offset == 0) != (type == headerRecord))
            return std::nullopt; // a header elsewhere, or none first
        ended = type == endRecord;
        if (!isGlyphText(bytes, offset, type, size)) {
            kept.append(bytes.constData() + offset, static_cast<qsizetype>(size));
            ++records;
        }
        offset += static_cast<qsizetype>(size);
    }
    if (records == 0)
        return std::nullopt;
    if (!ended) {
        const quint32 end[] = {qToLittleEndian(endRecord), qToLittleEndian(20u), 0, 0,
                               qToLittleEndian(20u)};
        kept.append(reinterpret_cast<const char*>(end), static_cast<qsizetype>(sizeof end));
        ++records;
    }
    qToLittleEndian<quint32>(static_cast<quint32>(kept.size()), kept.data() + 48);
    qToLittleEndian<quint32>(records, kept.data() + 52);
    return kept;
}

// The picture's size at 150 pixels per inch from its frame (hundredths of a millimetre), else
// its bounds in device pixels; no more than `maxSide` on a side.
QSize pixelSize(const QByteArray& bytes, int maxSide) {
    const auto sideFrom = [&](qsizetype first, double scale) {
        const double width = (double(signedAt(bytes, first + 8)) - signedAt(bytes, first)) * scale;
        const double height =
            (double(signedAt(bytes, first + 12)) - signedAt(bytes, first + 4)) * scale;
        return QSizeF(width, height);
    };
    QSizeF size = sideFrom(24, pixelsPerInch / hundredthsOfMillimetrePerInch);
    if (!(size.width() >= 1 && size.height() >= 1))
        size = sideFrom(8, 1.0);
    if (!(size.width() >= 1 && size.height() >= 1))
        return {};
    if (size.width() > maxSide || size.height() > maxSide)
        size.scale(maxSide, maxSide, Qt::KeepAspectRatio);
    return QSize(std::max(1, static_cast<int>(std::lround(size.width()))),
                 std::max(1, static_cast<int>(std::lround(size.height()))));
}

struct FreeDeleter {
    void operator()(char* text) const { std::free(text); }
};

QByteArray svgOf(QByteArray records) {
    // The converter keeps state of its own between records; one picture at a time.
    static std::mutex converting;
    const std::lock_guard lock(converting);
    generatorOptions options{};
    options.nameSpace = nullptr; // a prefix would be allocated and never freed
    options.svgDelimiter = true;
    // Files with EMF+ records also carry the plain records, which the converter draws best.
    options.emfplus = false;
    char* svg = nullptr;
    std::size_t length = 0;
    const int converted =
        emf2svg(records.data(), static_cast<std::size_t>(records.size()), &svg, &length, &options);
    const std::unique_ptr<char, FreeDeleter> owned(svg);
    if (converted == 0 || svg == nullptr || length == 0)
        return {};
    return QByteArray(svg, static_cast<qsizetype>(length));
}

// librsvg sets text through Pango, whose fixed-point sizes overflow on the huge fonts a lying
// metafile asks for, and librsvg then aborts: no text is set larger than the whole picture.
QByteArray withFontsBounded(const QByteArray& svg) {
    static const QRegularExpression side(
        QStringLiteral(R"re(<svg\b[^>]*?\bwidth="([^"]*)"[^>]*?\bheight="([^"]*)")re"));
    static const QRegularExpression fontSize(QStringLiteral(R"re(font-size="([^"]*)")re"));
    const QString text = QString::fromUtf8(svg);
    const auto sides = side.match(text);
    const double picture =
        sides.hasMatch() ? std::max(sides.captured(1).toDouble(), sides.captured(2).toDouble()) : 0;
    const double limit = std::clamp(picture, 1.0, maxFontSize);
    QString bounded;
    qsizetype copied = 0;
    for (auto match = fontSize.globalMatch(text); match.hasNext();) {
        const auto found = match.next();
        bool ok = false;
        const double size = found.captured(1).toDouble(&ok);
        if (ok && std::isfinite(size) && size >= 0 && size <= limit)
            continue;
        bounded += QStringView(text).sliced(copied, found.capturedStart(1) - copied);
        bounded += QString::number(ok && std::isfinite(size) && size > limit ? limit : 0.0);
        copied = found.capturedEnd(1);
    }
    if (copied == 0)
        return svg;
    bounded += QStringView(text).sliced(copied);
    return bounded.toUtf8();
}

// Bitmaps inside a metafile reach librsvg as PNG or JPEG, which it decodes whole: one that
// claims a huge size in a small file would take gigabytes. Such images are left out, as are
// images of a kind that cannot be measured.
QByteArray withoutHugeImages(const QByteArray& svg) {
    static const QByteArray marker = QByteArrayLiteral("href=\"data:image/");
    QByteArray kept;
    qsizetype copied = 0;
    for (qsizetype at = svg.indexOf(marker); at >= 0;) {
        const qsizetype end = svg.indexOf('"', at + marker.size());
        const qsizetype comma = svg.indexOf(',', at);
        if (end < 0 || comma < 0 || comma > end)
            break;
        QBuffer buffer;
        buffer.setData(QByteArray::fromBase64(svg.sliced(comma + 1, end - comma - 1)));
        const QSize size = QImageReader(&buffer).size();
        if (!size.isValid() || qint64(size.width()) * size.height() > maxImagePixels) {
            kept += QByteArrayView(svg).sliced(copied, at - copied);
            kept += "href=\"";
            copied = end; // from the closing quote on
        }
        at = svg.indexOf(marker, end);
    }
    if (copied == 0)
        return svg;
    kept += QByteArrayView(svg).sliced(copied);
    return kept;
}

struct GObjectDeleter {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct SurfaceDeleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct CairoDeleter {
    void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};

// The SVG painted into a transparent image of `size`, keeping its proportions.
QImage painted(const QByteArray& svg, QSize size) {
    GError* error = nullptr;
    const std::unique_ptr<RsvgHandle, GObjectDeleter> handle(rsvg_handle_new_from_data(
        reinterpret_cast<const guint8*>(svg.constData()), static_cast<gsize>(svg.size()), &error));
    if (error != nullptr)
        g_error_free(error);
    if (!handle)
        return {};
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const std::unique_ptr<cairo_surface_t, SurfaceDeleter> surface(
        cairo_image_surface_create_for_data(image.bits(), CAIRO_FORMAT_ARGB32, size.width(),
                                            size.height(), static_cast<int>(image.bytesPerLine())));
    const std::unique_ptr<cairo_t, CairoDeleter> cairo(cairo_create(surface.get()));
    const RsvgRectangle viewport{0, 0, double(size.width()), double(size.height())};
    const bool drawn = rsvg_handle_render_document(handle.get(), cairo.get(), &viewport, &error);
    if (error != nullptr)
        g_error_free(error);
    cairo_surface_flush(surface.get());
    return drawn && cairo_status(cairo.get()) == CAIRO_STATUS_SUCCESS ? image : QImage();
}

} // namespace

QImage drawEnhancedMetafile(const QByteArray& bytes, int maxSide) {
    if (bytes.size() > maxBytes)
        return {};
    const auto records = wholeRecords(bytes);
    const QSize size = pixelSize(bytes, maxSide);
    if (!records || size.isEmpty())
        return {};
    const QByteArray svg = svgOf(*records);
    const QImage drawing =
        svg.isEmpty() ? QImage() : painted(withoutHugeImages(withFontsBounded(svg)), size);
    if (drawing.isNull())
        return {};
    QImage onWhite(size, QImage::Format_RGB32);
    onWhite.fill(Qt::white);
    QPainter painter(&onWhite);
    painter.drawImage(0, 0, drawing);
    return onWhite;
}

} // namespace kelvane::PictureDrawing
