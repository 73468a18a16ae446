#include "documents/docx/DocxSections.h"

#include "documents/Units.h"
#include "documents/docx/Ooxml.h"

#include <QXmlStreamReader>

#include <algorithm>
#include <cmath>

namespace kelvane::Docx {
namespace {

using Ooxml::isW;
using Ooxml::nextChild;
using Ooxml::numericValue;

constexpr double maxPageTwips = 31680; // 22 inches, the widest page the format allows
constexpr double maxPageNumber = 1e6;

double pointsOf(const QXmlStreamReader& xml, QStringView name) {
    const double twips = std::fabs(numericValue(xml, name).value_or(0));
    return Units::pointsFromTwips(std::min(twips, maxPageTwips));
}

} // namespace

Section readSection(QXmlStreamReader& xml) {
    Section section;
    QSizeF size;
    QMarginsF margins(72, 72, 72, 72); // an inch, where the section gives none
    while (nextChild(xml)) {
        if (isW(xml, u"pgSz")) {
            size = {pointsOf(xml, u"w"), pointsOf(xml, u"h")};
            // Some producers give the portrait size and the orientation apart.
            const bool landscape = Ooxml::wAttribute(xml, u"orient") == u"landscape";
            if (landscape != (size.width() > size.height()))
                size.transpose();
        } else if (isW(xml, u"pgMar")) {
            margins = {pointsOf(xml, u"left"), pointsOf(xml, u"top"), pointsOf(xml, u"right"),
                       pointsOf(xml, u"bottom")};
        } else if (isW(xml, u"headerReference") || isW(xml, u"footerReference")) {
            const QString type = Ooxml::wAttribute(xml, u"type");
            (isW(xml, u"headerReference")
                 ? section.headerIds
                 : section.footerIds)[type.isEmpty() ? QStringLiteral("default") : type] =
                Ooxml::rAttribute(xml, u"id");
        } else if (isW(xml, u"titlePg")) {
            section.titlePage = Ooxml::isOn(xml);
        } else if (isW(xml, u"pgNumType")) {
            section.firstNumber = static_cast<int>(
                std::clamp(numericValue(xml, u"start").value_or(0), 0.0, maxPageNumber));
        } else if (isW(xml, u"type")) {
            section.newPage = Ooxml::wAttribute(xml, u"val") != u"continuous";
        }
        xml.skipCurrentElement();
    }
    if (size.width() > 0 && size.height() > 0)
        section.page = SectionPages::Page(size, margins);
    return section;
}

bool evenAndOddHeaders(const QByteArray& settings) {
    QXmlStreamReader xml(settings);
    if (!nextChild(xml) || !isW(xml, u"settings"))
        return false;
    while (nextChild(xml)) {
        if (isW(xml, u"evenAndOddHeaders"))
            return Ooxml::isOn(xml);
        xml.skipCurrentElement();
    }
    return false;
}

QString headerFooterText(const QByteArray& part) {
    constexpr qsizetype maxCharacters = 500;
    QXmlStreamReader xml(part);
    QString text;
    bool inPageField = false; // between a PAGE instruction and its field's end
    while (!xml.atEnd() && text.size() < maxCharacters) {
        xml.readNext();
        if (xml.isEndElement() && isW(xml, u"p") && !text.isEmpty() && !text.endsWith(u' '))
            text += u' ';
        if (!xml.isStartElement())
            continue;
        if (isW(xml, u"fldSimple") &&
            Ooxml::wAttribute(xml, u"instr").trimmed().startsWith(u"PAGE", Qt::CaseInsensitive)) {
            text += SectionPages::pageNumberMark;
            xml.skipCurrentElement();
        } else if (isW(xml, u"instrText")) {
            if (xml.readElementText().trimmed().startsWith(u"PAGE", Qt::CaseInsensitive)) {
                text += SectionPages::pageNumberMark;
                inPageField = true;
            }
        } else if (isW(xml, u"fldChar") && Ooxml::wAttribute(xml, u"fldCharType") == u"end") {
            inPageField = false;
        } else if (isW(xml, u"t") && !inPageField) {
            text += xml.readElementText();
        } else if (isW(xml, u"tab")) {
            text += QStringLiteral("    ");
        }
    }
    return xml.hasError() ? QString() : text.trimmed().left(maxCharacters);
}

} // namespace kelvane::Docx
