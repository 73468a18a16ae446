#include "documents/docx/DocxPackage.h"

#include "documents/Units.h"
#include "documents/docx/Ooxml.h"

#include <QXmlStreamWriter>

#include <algorithm>
#include <cmath>

namespace kelvane::Docx {
namespace {

namespace ns = Ooxml::ns;

constexpr int listLevels = 9;
constexpr double headingPointSizes[] = {20, 16, 14, 13, 12, 12};

const QString mainType =
    QStringLiteral("application/vnd.openxmlformats-officedocument.wordprocessingml.");

// Runs `body` between the XML declaration and the end of a document.
template <typename Body> QByteArray xmlPart(Body&& body) {
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.writeStartDocument(QStringLiteral("1.0"), true);
    body(xml);
    xml.writeEndDocument();
    return bytes;
}

void startW(QXmlStreamWriter& xml, const char* name, Attributes attributes = {}) {
    xml.writeStartElement(ns::w, QString::fromLatin1(name));
    for (const auto& [attribute, value] : attributes)
        xml.writeAttribute(ns::w, QString::fromLatin1(attribute), value);
}

QString number(double value) {
    return QString::number(std::lround(value));
}

void writeHeadingStyle(QXmlStreamWriter& xml, int level) {
    startW(xml, "style",
           {{"type", QStringLiteral("paragraph")},
            {"styleId", QStringLiteral("Heading%1").arg(level)}});
    writeEmpty(xml, "name", {{"val", QStringLiteral("heading %1").arg(level)}});
    writeEmpty(xml, "basedOn", {{"val", QStringLiteral("Normal")}});
    writeEmpty(xml, "next", {{"val", QStringLiteral("Normal")}});
    writeEmpty(xml, "uiPriority", {{"val", QStringLiteral("9")}});
    writeEmpty(xml, "qFormat");
    startW(xml, "pPr");
    writeEmpty(xml, "keepNext");
    writeEmpty(xml, "spacing",
               {{"before", QStringLiteral("240")}, {"after", QStringLiteral("120")}});
    writeEmpty(xml, "outlineLvl", {{"val", QString::number(level - 1)}});
    xml.writeEndElement();
    startW(xml, "rPr");
    writeEmpty(xml, "b");
    writeEmpty(xml, "sz",
               {{"val", number(Units::halfPointsFromPoints(headingPointSizes[level - 1]))}});
    xml.writeEndElement();
    xml.writeEndElement();
}

void writeDefaults(QXmlStreamWriter& xml, const QFont& font) {
    startW(xml, "docDefaults");
    startW(xml, "rPrDefault");
    startW(xml, "rPr");
    const QString family = xmlSafe(font.family());
    if (!family.isEmpty())
        writeEmpty(xml, "rFonts",
                   {{"ascii", family}, {"hAnsi", family}, {"cs", family}, {"eastAsia", family}});
    if (font.pointSizeF() > 0)
        writeEmpty(xml, "sz", {{"val", number(Units::halfPointsFromPoints(font.pointSizeF()))}});
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndElement();
}

QString numberFormat(QTextListFormat::Style style) {
    switch (style) {
    case QTextListFormat::ListDecimal:
        return QStringLiteral("decimal");
    case QTextListFormat::ListLowerAlpha:
        return QStringLiteral("lowerLetter");
    case QTextListFormat::ListUpperAlpha:
        return QStringLiteral("upperLetter");
    case QTextListFormat::ListLowerRoman:
        return QStringLiteral("lowerRoman");
    case QTextListFormat::ListUpperRoman:
        return QStringLiteral("upperRoman");
    default:
        return QStringLiteral("bullet");
    }
}

QString levelText(QTextListFormat::Style style, int level) {
    switch (style) {
    case QTextListFormat::ListCircle:
        return QStringLiteral("\u25e6");
    case QTextListFormat::ListSquare:
        return QStringLiteral("\u25aa");
    case QTextListFormat::ListDisc:
        return QStringLiteral("\u2022");
    default:
        return numberFormat(style) == u"bullet" ? QStringLiteral("\u2022")
                                                : QStringLiteral("%%1.").arg(level + 1);
    }
}

void writeAbstractNumbering(QXmlStreamWriter& xml, int id, QTextListFormat::Style style) {
    startW(xml, "abstractNum", {{"abstractNumId", QString::number(id)}});
    writeEmpty(xml, "multiLevelType", {{"val", QStringLiteral("hybridMultilevel")}});
    for (int level = 0; level < listLevels; ++level) {
        startW(xml, "lvl", {{"ilvl", QString::number(level)}});
        writeEmpty(xml, "start", {{"val", QStringLiteral("1")}});
        writeEmpty(xml, "numFmt", {{"val", numberFormat(style)}});
        writeEmpty(xml, "lvlText", {{"val", levelText(style, level)}});
        writeEmpty(xml, "lvlJc", {{"val", QStringLiteral("left")}});
        startW(xml, "pPr");
        writeEmpty(
            xml, "ind",
            {{"left", QString::number(720 * (level + 1))}, {"hanging", QStringLiteral("360")}});
        xml.writeEndElement();
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

} // namespace

void writeEmpty(QXmlStreamWriter& xml, const char* name, Attributes attributes) {
    xml.writeEmptyElement(ns::w, QString::fromLatin1(name));
    for (const auto& [attribute, value] : attributes)
        xml.writeAttribute(ns::w, QString::fromLatin1(attribute), value);
}

QString xmlSafe(QStringView text) {
    QString safe;
    safe.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            safe += c;
            safe += text[++i];
            continue;
        }
        const bool allowed = c == u'\t' || c == u'\n' || c == u'\r' ||
                             (c.unicode() >= 0x20 && !c.isSurrogate() && c.unicode() < 0xfffe);
        if (allowed)
            safe += c;
    }
    return safe;
}

QByteArray contentTypesPart(const QStringList& parts) {
    return xmlPart([&](QXmlStreamWriter& xml) {
        xml.writeDefaultNamespace(ns::contentTypes);
        xml.writeStartElement(ns::contentTypes, QStringLiteral("Types"));
        const auto addDefault = [&](const char* extension, const QString& type) {
            xml.writeEmptyElement(ns::contentTypes, QStringLiteral("Default"));
            xml.writeAttribute(QStringLiteral("Extension"), QString::fromLatin1(extension));
            xml.writeAttribute(QStringLiteral("ContentType"), type);
        };
        addDefault("rels",
                   QStringLiteral("application/vnd.openxmlformats-package.relationships+xml"));
        addDefault("xml", QStringLiteral("application/xml"));
        addDefault("png", QStringLiteral("image/png"));
        addDefault("jpeg", QStringLiteral("image/jpeg"));
        for (const QString& name :
             QStringList{QStringLiteral("document.main"), QStringLiteral("styles"),
                         QStringLiteral("numbering")} +
                 parts) {
            QString type = name;
            while (!type.isEmpty() && type.back().isDigit())
                type.chop(1);
            xml.writeEmptyElement(ns::contentTypes, QStringLiteral("Override"));
            xml.writeAttribute(QStringLiteral("PartName"),
                               QStringLiteral("/word/%1.xml").arg(name.section(u'.', 0, 0)));
            xml.writeAttribute(QStringLiteral("ContentType"),
                               mainType + type + QStringLiteral("+xml"));
        }
        xml.writeEndElement();
    });
}

QByteArray settingsPart() {
    return xmlPart([](QXmlStreamWriter& xml) {
        xml.writeNamespace(ns::w, QStringLiteral("w"));
        startW(xml, "settings");
        writeEmpty(xml, "evenAndOddHeaders");
        xml.writeEndElement();
    });
}

QByteArray packageRelationshipsPart() {
    return relationshipsPart({{QStringLiteral("rId1"), Ooxml::relationship::officeDocument,
                               QStringLiteral("word/document.xml"), false}});
}

QByteArray relationshipsPart(const std::vector<Relationship>& relationships) {
    return xmlPart([&](QXmlStreamWriter& xml) {
        xml.writeDefaultNamespace(ns::packageRelationships);
        xml.writeStartElement(ns::packageRelationships, QStringLiteral("Relationships"));
        for (const Relationship& relationship : relationships) {
            xml.writeEmptyElement(ns::packageRelationships, QStringLiteral("Relationship"));
            xml.writeAttribute(QStringLiteral("Id"), relationship.id);
            xml.writeAttribute(QStringLiteral("Type"), relationship.type);
            xml.writeAttribute(QStringLiteral("Target"), xmlSafe(relationship.target));
            if (relationship.external)
                xml.writeAttribute(QStringLiteral("TargetMode"), QStringLiteral("External"));
        }
        xml.writeEndElement();
    });
}

QByteArray stylesPart(const QFont& defaultFont) {
    return xmlPart([&](QXmlStreamWriter& xml) {
        xml.writeNamespace(ns::w, QStringLiteral("w"));
        startW(xml, "styles");
        writeDefaults(xml, defaultFont);
        startW(xml, "style",
               {{"type", QStringLiteral("paragraph")},
                {"default", QStringLiteral("1")},
                {"styleId", QStringLiteral("Normal")}});
        writeEmpty(xml, "name", {{"val", QStringLiteral("Normal")}});
        writeEmpty(xml, "qFormat");
        xml.writeEndElement();
        for (int level = 1; level <= 6; ++level)
            writeHeadingStyle(xml, level);
        xml.writeEndElement();
    });
}

QByteArray numberingPart(const std::vector<ListDefinition>& lists) {
    std::vector<QTextListFormat::Style> styles;
    for (const ListDefinition& list : lists) {
        if (std::find(styles.begin(), styles.end(), list.style) == styles.end())
            styles.push_back(list.style);
    }
    return xmlPart([&](QXmlStreamWriter& xml) {
        xml.writeNamespace(ns::w, QStringLiteral("w"));
        startW(xml, "numbering");
        for (std::size_t i = 0; i < styles.size(); ++i)
            writeAbstractNumbering(xml, static_cast<int>(i), styles[i]);
        // Every list gets a numbering instance of its own whose numbers start again at one;
        // lists sharing an abstract numbering would otherwise count on from each other.
        for (std::size_t i = 0; i < lists.size(); ++i) {
            const auto abstract = std::find(styles.begin(), styles.end(), lists[i].style);
            startW(xml, "num", {{"numId", QString::number(i + 1)}});
            writeEmpty(xml, "abstractNumId", {{"val", QString::number(abstract - styles.begin())}});
            startW(xml, "lvlOverride", {{"ilvl", QString::number(lists[i].level)}});
            writeEmpty(xml, "startOverride", {{"val", QStringLiteral("1")}});
            xml.writeEndElement();
            xml.writeEndElement();
        }
        xml.writeEndElement();
    });
}

} // namespace kelvane::Docx
