#include "documents/rtf/RtfRuns.h"

#include "documents/DocumentImages.h"
#include "documents/TableLines.h"
#include "documents/Units.h"

#include <QBuffer>
#include <QImageReader>
#include <QTextBlock>
#include <QTextDocument>

#include <cmath>

namespace kelvane::Rtf {
namespace {

constexpr double headingPointSizes[] = {20, 16, 14, 13, 12, 12};
constexpr qsizetype hexLineLength = 128;

QString familyOf(const QTextCharFormat& format) {
    return format.fontFamilies().toStringList().value(0);
}

QByteArray number(double value) {
    return QByteArray::number(std::lround(value));
}

void appendCharacterProperties(QByteArray& out, const QTextCharFormat& format,
                               const StyleTables& tables, int headingLevel) {
    double size = format.hasProperty(QTextFormat::FontPointSize) ? format.fontPointSize() : 0;
    if (size <= 0)
        size = headingLevel > 0 ? headingPointSizes[headingLevel - 1] : tables.defaultPointSize();
    out += "\\f" + QByteArray::number(tables.font(format)) + "\\fs" +
           number(Units::halfPointsFromPoints(size));
    const bool weightGiven = format.hasProperty(QTextFormat::FontWeight);
    if ((weightGiven && format.fontWeight() > QFont::Medium) || (!weightGiven && headingLevel > 0))
        out += "\\b";
    if (format.fontItalic())
        out += "\\i";
    if (format.fontUnderline())
        out += "\\ul";
    if (format.fontStrikeOut())
        out += "\\strike";
    if (format.verticalAlignment() == QTextCharFormat::AlignSuperScript)
        out += "\\super";
    else if (format.verticalAlignment() == QTextCharFormat::AlignSubScript)
        out += "\\sub";
    if (const int color = tables.color(format.foreground()))
        out += "\\cf" + QByteArray::number(color);
    if (const int color = tables.color(format.background()))
        out += "\\highlight" + QByteArray::number(color);
}

void writePicture(const QTextDocument& document, const QTextImageFormat& format,
                  QIODevice& output) {
    const DocumentImages::EncodedImage image = DocumentImages::encoded(document, format);
    if (image.bytes.isEmpty())
        return;
    QBuffer buffer;
    buffer.setData(image.bytes);
    const QSize pixels = QImageReader(&buffer).size();
    QByteArray header = image.format == "png" ? "{\\pict\\pngblip" : "{\\pict\\jpegblip";
    header += "\\picw" + QByteArray::number(pixels.width()) + "\\pich" +
              QByteArray::number(pixels.height());
    header += "\\picwgoal" + number(Units::twipsFromPoints(image.sizeInPoints.width())) +
              "\\pichgoal" + number(Units::twipsFromPoints(image.sizeInPoints.height())) + "\n";
    PictureData::writeAll(header, output);
    PictureData::writeHexLines(image.bytes, hexLineLength, output);
    PictureData::writeAll("}", output);
}

void openLink(QByteArray& out, const QString& href) {
    // A quote would end the field argument early; in an address it is %22 anyway.
    QString target = href;
    target.replace(u'"', QLatin1String("%22"));
    out += "{\\field{\\*\\fldinst{HYPERLINK \"";
    appendText(out, target);
    out += "\"}}{\\fldrslt{";
}

} // namespace

StyleTables::StyleTables(const QTextDocument& document) {
    const QFont font = document.defaultFont();
    addFont(font.family());
    if (font.pointSizeF() > 0)
        defaultPointSize_ = font.pointSizeF();
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            addFont(familyOf(format));
            addColor(format.foreground());
            addColor(format.background());
        }
    }
    for (const QTextFormat& format : document.allFormats()) {
        if (!format.isTableCellFormat())
            continue;
        addColor(format.background());
        for (const auto& line : TableLines::sidesOf(format.toTableCellFormat())) {
            if (line)
                addColor(line->color);
        }
    }
}

void StyleTables::addFont(const QString& family) {
    if (family.isEmpty() || fontNumbers_.contains(family))
        return;
    fontNumbers_.insert(family, static_cast<int>(fonts_.size()));
    fonts_.append(family);
}

// Colours are told apart by their RGB value, the only part RTF keeps.
void StyleTables::addColor(const QBrush& brush) {
    if (brush.style() == Qt::NoBrush || !brush.color().isValid() ||
        colorNumbers_.contains(brush.color().rgb()))
        return;
    colors_.push_back(brush.color());
    colorNumbers_.insert(brush.color().rgb(), static_cast<int>(colors_.size()));
}

int StyleTables::font(const QTextCharFormat& format) const {
    return fontNumbers_.value(familyOf(format), 0);
}

int StyleTables::color(const QBrush& brush) const {
    return brush.style() == Qt::NoBrush ? 0 : colorNumbers_.value(brush.color().rgb(), 0);
}

QByteArray StyleTables::fontTable() const {
    QByteArray out = "{\\fonttbl";
    for (qsizetype i = 0; i < fonts_.size(); ++i) {
        out += "{\\f" + QByteArray::number(i) + "\\fnil\\fcharset0 ";
        appendText(out, QString(fonts_[i]).remove(u';')); // the semicolon ends an entry
        out += ";}";
    }
    return out + "}\n";
}

QByteArray StyleTables::colorTable() const {
    QByteArray out = "{\\colortbl;";
    for (const QColor& color : colors_) {
        out += "\\red" + QByteArray::number(color.red()) + "\\green" +
               QByteArray::number(color.green()) + "\\blue" + QByteArray::number(color.blue()) +
               ';';
    }
    return out + "}\n";
}

void appendText(QByteArray& out, QStringView text) {
    for (const QChar c : text) {
        const char16_t unit = c.unicode();
        if (unit == u'\\' || unit == u'{' || unit == u'}') {
            out += '\\';
            out += static_cast<char>(unit);
        } else if (unit == u'\t') {
            out += "\\tab ";
        } else if (unit == QChar::LineSeparator) {
            out += "\\line ";
        } else if (unit == QChar::Nbsp) {
            out += "\\~";
        } else if (unit >= 0x20 && unit < 0x80) {
            out += static_cast<char>(unit);
        } else if (unit >= 0x80 && unit != QChar::ObjectReplacementCharacter) {
            // \u takes a signed 16-bit number; the ? is what readers without Unicode show.
            out += "\\u" + QByteArray::number(static_cast<std::int16_t>(unit)) + "\\'3f";
        }
    }
}

void appendRuns(QByteArray& out, const QTextBlock& block, const StyleTables& tables,
                PictureSlots& pictures, const NoteWriter& notes) {
    const int headingLevel = std::clamp(block.blockFormat().headingLevel(), 0, 6);
    QString link;
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        const QTextFragment fragment = it.fragment();
        const QTextCharFormat format = fragment.charFormat();
        const QString href = format.isAnchor() ? format.anchorHref() : QString();
        if (href != link) {
            if (!link.isEmpty())
                out += "}}}";
            if (!href.isEmpty())
                openLink(out, href);
            link = href;
        }
        if (const auto note = DocumentNotes::markOf(format); note && notes && notes(out, *note))
            continue;
        if (format.isImageFormat()) {
            // Identical images side by side share one fragment, one character each.
            for (int i = 0; i < fragment.length(); ++i)
                out += pictures.add([document = block.document(),
                                     image = format.toImageFormat()](QIODevice& output) {
                    writePicture(*document, image, output);
                });
            continue;
        }
        out += '{';
        appendCharacterProperties(out, format, tables, headingLevel);
        out += ' ';
        appendText(out, fragment.text());
        out += '}';
    }
    if (!link.isEmpty())
        out += "}}}";
}

} // namespace kelvane::Rtf
