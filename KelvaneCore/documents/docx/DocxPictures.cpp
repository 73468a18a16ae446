#include "documents/docx/DocxPictures.h"

#include "documents/Units.h"
#include "documents/docx/Ooxml.h"

#include <QRegularExpression>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace kelvane::Docx {
namespace {

using Ooxml::rAttribute;
namespace ns = Ooxml::ns;

const QString pictureUri =
    QStringLiteral("http://schemas.openxmlformats.org/drawingml/2006/picture");

// "width:120pt;height:1.5in" from a VML shape, in points.
double vmlLength(const QString& style, QStringView property) {
    static const QRegularExpression length(
        QStringLiteral(R"(([a-z-]+)\s*:\s*([0-9.]+)\s*(pt|px|in|cm|mm)?)"));
    for (auto match = length.globalMatch(style); match.hasNext();) {
        const auto found = match.next();
        if (found.capturedView(1) != property)
            continue;
        const double value = found.captured(2).toDouble();
        const QStringView unit = found.capturedView(3);
        if (unit == u"in")
            return value * 72;
        if (unit == u"cm")
            return value * 72 / 2.54;
        if (unit == u"mm")
            return value * 72 / 25.4;
        return unit == u"px" ? value * 0.75 : value;
    }
    return 0;
}

} // namespace

PictureReference readDrawing(QXmlStreamReader& xml, const TextBoxReader& readTextBox) {
    QSizeF extent;
    QString embed;
    QString description;
    QString chart;
    Ooxml::forEachDescendant(xml, [&] {
        if (Ooxml::isW(xml, u"txbxContent"))
            readTextBox();
        else if (xml.name() == u"docPr" && xml.namespaceUri() == ns::wp)
            description = xml.attributes().value(QStringLiteral("descr")).toString();
        else if (xml.name() == u"extent" && xml.namespaceUri() == ns::wp && extent.isEmpty()) {
            const auto attributes = xml.attributes();
            extent =
                QSizeF(Units::pointsFromEmu(attributes.value(QStringLiteral("cx")).toDouble()),
                       Units::pointsFromEmu(attributes.value(QStringLiteral("cy")).toDouble()));
        } else if (xml.name() == u"blip" && xml.namespaceUri() == ns::a && embed.isEmpty()) {
            embed = rAttribute(xml, u"embed");
        } else if (xml.name() == u"chart" && xml.namespaceUri().endsWith(u"/chart") &&
                   chart.isEmpty()) {
            chart = rAttribute(xml, u"id");
        }
    });
    return {embed, extent, description, chart};
}

PictureReference readVmlPicture(QXmlStreamReader& xml, const TextBoxReader& readTextBox) {
    QSizeF size;
    QString id;
    QString description;
    Ooxml::forEachDescendant(xml, [&] {
        if (Ooxml::isW(xml, u"txbxContent"))
            readTextBox();
        if (xml.namespaceUri() != ns::v)
            return;
        const QString style = xml.attributes().value(QStringLiteral("style")).toString();
        if ((xml.name() == u"shape" || xml.name() == u"rect") && !style.isEmpty())
            size = QSizeF(vmlLength(style, u"width"), vmlLength(style, u"height"));
        else if (xml.name() == u"imagedata" && id.isEmpty())
            id = rAttribute(xml, u"id");
        if (xml.name() == u"imagedata" && description.isEmpty())
            description = xml.attributes()
                              .value(QStringLiteral("urn:schemas-microsoft-com:office:office"),
                                     QStringLiteral("title"))
                              .toString();
    });
    return {id, size, description, {}};
}

void writeInlinePicture(QXmlStreamWriter& xml, const InlinePicture& picture) {
    const QString number = QString::number(picture.number);
    const QString zero = QStringLiteral("0");
    const auto attributes = [&](std::initializer_list<std::pair<const char*, QString>> values) {
        for (const auto& [name, value] : values)
            xml.writeAttribute(QString::fromLatin1(name), value);
    };
    xml.writeStartElement(ns::w, QStringLiteral("r"));
    xml.writeStartElement(ns::w, QStringLiteral("drawing"));
    xml.writeStartElement(ns::wp, QStringLiteral("inline"));
    attributes({{"distT", zero}, {"distB", zero}, {"distL", zero}, {"distR", zero}});
    xml.writeEmptyElement(ns::wp, QStringLiteral("extent"));
    attributes({{"cx", QString::number(picture.cx)}, {"cy", QString::number(picture.cy)}});
    xml.writeEmptyElement(ns::wp, QStringLiteral("effectExtent"));
    attributes({{"l", zero}, {"t", zero}, {"r", zero}, {"b", zero}});
    xml.writeEmptyElement(ns::wp, QStringLiteral("docPr"));
    attributes({{"id", number}, {"name", QStringLiteral("Picture ") + number}});
    xml.writeStartElement(ns::wp, QStringLiteral("cNvGraphicFramePr"));
    xml.writeEmptyElement(ns::a, QStringLiteral("graphicFrameLocks"));
    attributes({{"noChangeAspect", QStringLiteral("1")}});
    xml.writeEndElement();
    xml.writeStartElement(ns::a, QStringLiteral("graphic"));
    xml.writeStartElement(ns::a, QStringLiteral("graphicData"));
    attributes({{"uri", pictureUri}});
    xml.writeStartElement(ns::pic, QStringLiteral("pic"));
    xml.writeStartElement(ns::pic, QStringLiteral("nvPicPr"));
    xml.writeEmptyElement(ns::pic, QStringLiteral("cNvPr"));
    attributes({{"id", number}, {"name", QStringLiteral("Picture ") + number}});
    xml.writeEmptyElement(ns::pic, QStringLiteral("cNvPicPr"));
    xml.writeEndElement();
    xml.writeStartElement(ns::pic, QStringLiteral("blipFill"));
    xml.writeEmptyElement(ns::a, QStringLiteral("blip"));
    xml.writeAttribute(ns::r, QStringLiteral("embed"), picture.relationshipId);
    xml.writeStartElement(ns::a, QStringLiteral("stretch"));
    xml.writeEmptyElement(ns::a, QStringLiteral("fillRect"));
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeStartElement(ns::pic, QStringLiteral("spPr"));
    xml.writeStartElement(ns::a, QStringLiteral("xfrm"));
    xml.writeEmptyElement(ns::a, QStringLiteral("off"));
    attributes({{"x", zero}, {"y", zero}});
    xml.writeEmptyElement(ns::a, QStringLiteral("ext"));
    attributes({{"cx", QString::number(picture.cx)}, {"cy", QString::number(picture.cy)}});
    xml.writeEndElement();
    xml.writeStartElement(ns::a, QStringLiteral("prstGeom"));
    attributes({{"prst", QStringLiteral("rect")}});
    xml.writeEmptyElement(ns::a, QStringLiteral("avLst"));
    for (int open = 0; open < 8; ++open) // prstGeom, spPr, pic, graphicData, graphic, inline,
        xml.writeEndElement();           // drawing, r
}

} // namespace kelvane::Docx
