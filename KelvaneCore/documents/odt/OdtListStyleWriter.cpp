#include "documents/odt/OdtWriterStyles.h"

#include <QXmlStreamWriter>

// The list styles of content.xml: how each level of a list is numbered or bulleted, and indented.
namespace kelvane::Odt {
namespace {

constexpr double listIndentPoints = 18; // a quarter inch per level, as office suites do

QString numberFormatOf(QTextListFormat::Style style) {
    switch (style) {
    case QTextListFormat::ListLowerAlpha:
        return QStringLiteral("a");
    case QTextListFormat::ListUpperAlpha:
        return QStringLiteral("A");
    case QTextListFormat::ListLowerRoman:
        return QStringLiteral("i");
    case QTextListFormat::ListUpperRoman:
        return QStringLiteral("I");
    case QTextListFormat::ListDecimal:
        return QStringLiteral("1");
    default:
        return {}; // bullets
    }
}

QString bulletOf(QTextListFormat::Style style) {
    if (style == QTextListFormat::ListCircle)
        return QStringLiteral("\u25e6");
    if (style == QTextListFormat::ListSquare)
        return QStringLiteral("\u25aa");
    return QStringLiteral("\u2022");
}

} // namespace

void writeListStyle(QXmlStreamWriter& xml, const QString& name, const ListLevels& levels) {
    xml.writeStartElement("text:list-style");
    xml.writeAttribute("style:name", name);
    for (int level = 1; level <= listLevels; ++level) {
        const QTextListFormat::Style style = levels[static_cast<std::size_t>(level - 1)];
        const QString numberFormat = numberFormatOf(style);
        if (numberFormat.isEmpty()) {
            xml.writeStartElement("text:list-level-style-bullet");
            xml.writeAttribute("text:level", QString::number(level));
            xml.writeAttribute("text:bullet-char", bulletOf(style));
        } else {
            xml.writeStartElement("text:list-level-style-number");
            xml.writeAttribute("text:level", QString::number(level));
            xml.writeAttribute("style:num-suffix", ".");
            xml.writeAttribute("style:num-format", numberFormat);
        }
        xml.writeStartElement("style:list-level-properties");
        xml.writeAttribute("text:list-level-position-and-space-mode", "label-alignment");
        const QString margin = lengthInPoints(listIndentPoints * (level + 1));
        xml.writeEmptyElement("style:list-level-label-alignment");
        xml.writeAttribute("text:label-followed-by", "listtab");
        xml.writeAttribute("text:list-tab-stop-position", margin);
        xml.writeAttribute("fo:text-indent", lengthInPoints(-listIndentPoints));
        xml.writeAttribute("fo:margin-left", margin);
        xml.writeEndElement();
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

} // namespace kelvane::Odt
