#include "documents/odt/OdtWriterStyles.h"

#include "documents/SectionPages.h"
#include "documents/Units.h"
#include "documents/odt/OdtMasterPages.h"

#include <QColor>
#include <QXmlStreamWriter>

#include <algorithm>
#include <cmath>

namespace kelvane::Odt {
namespace {

using Properties = std::vector<std::pair<QString, QString>>;

constexpr double fallbackPointSize = 12;

const std::pair<const char*, const char*> namespaces[] = {
    {"office", "urn:oasis:names:tc:opendocument:xmlns:office:1.0"},
    {"style", "urn:oasis:names:tc:opendocument:xmlns:style:1.0"},
    {"text", "urn:oasis:names:tc:opendocument:xmlns:text:1.0"},
    {"table", "urn:oasis:names:tc:opendocument:xmlns:table:1.0"},
    {"draw", "urn:oasis:names:tc:opendocument:xmlns:drawing:1.0"},
    {"fo", "urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0"},
    {"svg", "urn:oasis:names:tc:opendocument:xmlns:svg-compatible:1.0"},
    {"xlink", "http://www.w3.org/1999/xlink"},
};

// svg:font-family is a CSS font list: a family with spaces is quoted.
QString quotedFamily(const QString& family) {
    if (!family.contains(u' '))
        return family;
    return family.contains(u'\'') ? u'"' + family + u'"' : u'\'' + family + u'\'';
}

void writeFontFace(QXmlStreamWriter& xml, const QString& name, const QString& family) {
    xml.writeEmptyElement("style:font-face");
    xml.writeAttribute("style:name", name);
    xml.writeAttribute("svg:font-family", quotedFamily(family));
}

QString familyOf(const QTextCharFormat& format) {
    const QStringList families = format.fontFamilies().toStringList();
    return families.isEmpty() ? format.stringProperty(QTextFormat::FontFamily) : families.first();
}

std::optional<QString> alignmentOf(Qt::Alignment alignment) {
    switch (alignment & Qt::AlignHorizontal_Mask & ~Qt::AlignAbsolute) {
    case Qt::AlignHCenter:
        return QStringLiteral("center");
    case Qt::AlignRight: // also AlignTrailing
        return QStringLiteral("end");
    case Qt::AlignJustify:
        return QStringLiteral("justify");
    case Qt::AlignLeft: // also AlignLeading
        return QStringLiteral("start");
    default:
        return std::nullopt;
    }
}

void writeProperties(QXmlStreamWriter& xml, const char* element, const Properties& properties) {
    xml.writeEmptyElement(element);
    for (const auto& [name, value] : properties)
        xml.writeAttribute(name, value);
}

void writeHeadingStyle(QXmlStreamWriter& xml, int level) {
    const QString number = QString::number(level);
    xml.writeStartElement("style:style");
    xml.writeAttribute("style:name", "Heading_20_" + number);
    xml.writeAttribute("style:display-name", "Heading " + number);
    xml.writeAttribute("style:family", "paragraph");
    xml.writeAttribute("style:parent-style-name", "Standard");
    xml.writeAttribute("style:next-style-name", "Standard");
    xml.writeAttribute("style:default-outline-level", number);
    xml.writeAttribute("style:class", "text");
    writeProperties(xml, "style:paragraph-properties",
                    {{"fo:margin-top", lengthInPoints(12)},
                     {"fo:margin-bottom", lengthInPoints(6)},
                     {"fo:keep-with-next", "always"}});
    writeProperties(xml, "style:text-properties",
                    {{"fo:font-size", lengthInPoints(headingPointSizes[level - 1])},
                     {"fo:font-weight", "bold"}});
    xml.writeEndElement();
}

void writePlainStyle(QXmlStreamWriter& xml, const QString& name, const QString& displayName,
                     const QString& styleClass) {
    xml.writeEmptyElement("style:style");
    xml.writeAttribute("style:name", name);
    if (!displayName.isEmpty())
        xml.writeAttribute("style:display-name", displayName);
    xml.writeAttribute("style:family", "paragraph");
    if (name != u"Standard")
        xml.writeAttribute("style:parent-style-name", "Standard");
    xml.writeAttribute("style:class", styleClass);
}

// A header's or footer's paragraphs: centred, as the lines are written.
void writeMarginStyle(QXmlStreamWriter& xml, const QString& name) {
    xml.writeStartElement("style:style");
    xml.writeAttribute("style:name", name);
    xml.writeAttribute("style:family", "paragraph");
    xml.writeAttribute("style:parent-style-name", "Standard");
    xml.writeAttribute("style:class", "extra");
    writeProperties(xml, "style:paragraph-properties", {{"fo:text-align", "center"}});
    xml.writeEndElement();
}

// Weight, slant and lines; a heading's characters are bold unless told otherwise.
Properties emphasisOf(const QTextCharFormat& format, int headingLevel) {
    Properties properties;
    const bool bold = format.fontWeight() >= QFont::DemiBold;
    if (bold != (headingLevel > 0))
        properties.emplace_back("fo:font-weight", bold ? "bold" : "normal");
    if (format.fontItalic())
        properties.emplace_back("fo:font-style", "italic");
    if (format.fontUnderline() || format.underlineStyle() != QTextCharFormat::NoUnderline) {
        properties.emplace_back("style:text-underline-style", "solid");
        properties.emplace_back("style:text-underline-width", "auto");
        properties.emplace_back("style:text-underline-color", "font-color");
    }
    if (format.fontStrikeOut()) {
        properties.emplace_back("style:text-line-through-style", "solid");
        properties.emplace_back("style:text-line-through-type", "single");
    }
    return properties;
}

void addColoursAndPosition(const QTextCharFormat& format, Properties& properties) {
    if (format.foreground().style() != Qt::NoBrush)
        properties.emplace_back("fo:color", format.foreground().color().name(QColor::HexRgb));
    if (format.background().style() != Qt::NoBrush)
        properties.emplace_back("fo:background-color",
                                format.background().color().name(QColor::HexRgb));
    if (format.verticalAlignment() == QTextCharFormat::AlignSuperScript)
        properties.emplace_back("style:text-position", "super 58%");
    else if (format.verticalAlignment() == QTextCharFormat::AlignSubScript)
        properties.emplace_back("style:text-position", "sub 58%");
}

double pointSizeOf(const QFont& font) {
    return font.pointSizeF() > 0 ? font.pointSizeF() : fallbackPointSize;
}

// Space around a paragraph and between its lines, as far as the paragraph sets them.
void addSpacing(const QTextBlockFormat& format, Properties& properties) {
    if (format.hasProperty(QTextFormat::BlockTopMargin))
        properties.emplace_back("fo:margin-top",
                                lengthInPoints(Units::pointsFromPixels(format.topMargin())));
    if (format.hasProperty(QTextFormat::BlockBottomMargin))
        properties.emplace_back("fo:margin-bottom",
                                lengthInPoints(Units::pointsFromPixels(format.bottomMargin())));
    if (format.lineHeight() <= 0)
        return;
    const QString height = lengthInPoints(Units::pointsFromPixels(format.lineHeight()));
    switch (format.lineHeightType()) {
    case QTextBlockFormat::ProportionalHeight:
        properties.emplace_back("fo:line-height", QString::number(format.lineHeight()) + u'%');
        break;
    case QTextBlockFormat::FixedHeight:
        properties.emplace_back("fo:line-height", height);
        break;
    case QTextBlockFormat::MinimumHeight:
        properties.emplace_back("style:line-height-at-least", height);
        break;
    case QTextBlockFormat::LineDistanceHeight:
        properties.emplace_back("style:line-spacing", height);
        break;
    default:
        break;
    }
}

} // namespace

QString lengthInPoints(double points) {
    if (!std::isfinite(points))
        points = 0;
    QString number = QString::number(points, 'f', 3);
    while (number.endsWith(u'0'))
        number.chop(1);
    if (number.endsWith(u'.'))
        number.chop(1);
    return (number == u"-0" ? QStringLiteral("0") : number) + QStringLiteral("pt");
}

QString xmlSafe(QStringView text) {
    QString safe;
    safe.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            safe += c;
            safe += text[++i];
        } else if (!c.isSurrogate() && (c.unicode() >= 0x20 || c == u'\t' || c == u'\n') &&
                   c.unicode() != 0xfffe && c.unicode() != 0xffff) {
            safe += c;
        }
    }
    return safe;
}

void writeNamespaces(QXmlStreamWriter& xml) {
    for (const auto& [prefix, uri] : namespaces)
        xml.writeNamespace(uri, prefix);
}

QByteArray commonStyles(const QFont& defaultFont, const MasterPages& pages) {
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.writeStartDocument();
    writeNamespaces(xml);
    xml.writeStartElement("office:document-styles");
    xml.writeAttribute("office:version", "1.2");
    const QString family = xmlSafe(defaultFont.family());
    xml.writeStartElement("office:font-face-decls");
    if (!family.isEmpty())
        writeFontFace(xml, family, family);
    xml.writeEndElement();

    xml.writeStartElement("office:styles");
    xml.writeStartElement("style:default-style");
    xml.writeAttribute("style:family", "paragraph");
    Properties text{{"fo:font-size", lengthInPoints(pointSizeOf(defaultFont))}};
    if (!family.isEmpty())
        text.emplace_back("style:font-name", family);
    writeProperties(xml, "style:text-properties", text);
    xml.writeEndElement();
    writePlainStyle(xml, "Standard", {}, "text");
    for (int level = 1; level <= 6; ++level)
        writeHeadingStyle(xml, level);
    writePlainStyle(xml, "Table_20_Contents", "Table Contents", "extra");
    writeMarginStyle(xml, QStringLiteral("Header"));
    writeMarginStyle(xml, QStringLiteral("Footer"));
    xml.writeEndElement();

    xml.writeStartElement("office:automatic-styles");
    pages.writeLayouts(xml);
    xml.writeEndElement();
    pages.writeMasters(xml);
    xml.writeEndDocument();
    return bytes;
}

AutomaticStyles::AutomaticStyles(const QFont& defaultFont)
    : defaultFamily_(xmlSafe(defaultFont.family()))
    , defaultPointSize_(pointSizeOf(defaultFont)) {
    if (!defaultFamily_.isEmpty())
        fontFace(defaultFamily_);
}

QString AutomaticStyles::fontFace(const QString& family) {
    // Faces are named after their family, which keeps content.xml readable.
    return fontFaces_.try_emplace(family, family).first->second;
}

QString AutomaticStyles::named(std::vector<Style>& styles, QChar prefix, const QString& parent,
                               Properties properties, const QString& masterPage) {
    QString key = prefix + parent + u'\n' + masterPage;
    for (const auto& [name, value] : properties)
        key += u'\n' + name + u'=' + value;
    const auto [found, added] = names_.try_emplace(key);
    if (added) {
        found->second = prefix + QString::number(styles.size() + 1);
        styles.push_back({found->second, parent, std::move(properties), masterPage});
    }
    return found->second;
}

QString AutomaticStyles::paragraph(const QString& parent, const QTextBlockFormat& format,
                                   const QString& masterPage) {
    Properties properties;
    if (format.hasProperty(QTextFormat::BlockAlignment))
        if (const auto alignment = alignmentOf(format.alignment()))
            properties.emplace_back("fo:text-align", *alignment);
    if (format.leftMargin() != 0)
        properties.emplace_back("fo:margin-left",
                                lengthInPoints(Units::pointsFromPixels(format.leftMargin())));
    if (format.textIndent() != 0)
        properties.emplace_back("fo:text-indent",
                                lengthInPoints(Units::pointsFromPixels(format.textIndent())));
    addSpacing(format, properties);
    if (format.pageBreakPolicy() & QTextFormat::PageBreak_AlwaysBefore)
        properties.emplace_back("fo:break-before", "page");
    if (format.pageBreakPolicy() & QTextFormat::PageBreak_AlwaysAfter)
        properties.emplace_back("fo:break-after", "page");
    if (const auto page = SectionPages::pageOf(format);
        page && page->firstNumber > 0 && !masterPage.isEmpty())
        properties.emplace_back("style:page-number", QString::number(page->firstNumber));
    if (properties.empty() && masterPage.isEmpty())
        return parent;
    return named(paragraphs_, u'P', parent, std::move(properties), masterPage);
}

AutomaticStyles::TextStyle AutomaticStyles::text(const QTextCharFormat& format, int headingLevel) {
    Properties properties = emphasisOf(format, headingLevel);
    double size = defaultPointSize_;
    if (format.hasProperty(QTextFormat::FontPointSize) && format.fontPointSize() > 0)
        size = format.fontPointSize();
    else if (const int pixels = format.intProperty(QTextFormat::FontPixelSize); pixels > 0)
        size = Units::pointsFromPixels(pixels);
    const double paragraphSize =
        headingLevel > 0 ? headingPointSizes[headingLevel - 1] : defaultPointSize_;
    if (std::abs(size - paragraphSize) > 0.01)
        properties.emplace_back("fo:font-size", lengthInPoints(size));
    if (const QString family = xmlSafe(familyOf(format));
        !family.isEmpty() && family != defaultFamily_)
        properties.emplace_back("style:font-name", fontFace(family));
    addColoursAndPosition(format, properties);
    if (properties.empty())
        return {};

    const bool plainSpaces = std::all_of(properties.begin(), properties.end(), [](auto& property) {
        return property.first == u"fo:font-weight" || property.first == u"fo:font-style" ||
               property.first == u"fo:color";
    });
    return {named(texts_, u'T', {}, std::move(properties)), plainSpaces};
}

QString AutomaticStyles::tableCell(Properties properties) {
    return named(cells_, u'C', {}, std::move(properties));
}

QString AutomaticStyles::list(const ListLevels& levels) {
    for (const auto& [name, known] : lists_)
        if (known == levels)
            return name;
    lists_.emplace_back("L" + QString::number(lists_.size() + 1), levels);
    return lists_.back().first;
}

void AutomaticStyles::writeFontFaces(QXmlStreamWriter& xml) const {
    xml.writeStartElement("office:font-face-decls");
    for (const auto& [family, name] : fontFaces_)
        writeFontFace(xml, name, family);
    xml.writeEndElement();
}

void AutomaticStyles::write(QXmlStreamWriter& xml) const {
    xml.writeStartElement("office:automatic-styles");
    for (const auto& [styles, family, element] :
         {std::tuple{&paragraphs_, "paragraph", "style:paragraph-properties"},
          std::tuple{&texts_, "text", "style:text-properties"},
          std::tuple{&cells_, "table-cell", "style:table-cell-properties"}}) {
        for (const Style& style : *styles) {
            xml.writeStartElement("style:style");
            xml.writeAttribute("style:name", style.name);
            xml.writeAttribute("style:family", family);
            if (!style.parent.isEmpty())
                xml.writeAttribute("style:parent-style-name", style.parent);
            if (!style.masterPage.isEmpty())
                xml.writeAttribute("style:master-page-name", style.masterPage);
            writeProperties(xml, element, style.properties);
            xml.writeEndElement();
        }
    }
    for (const auto& [name, levels] : lists_)
        writeListStyle(xml, name, levels);
    xml.writeEndElement();
}

} // namespace kelvane::Odt
