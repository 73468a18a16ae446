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
        } else if (isW(xml, u"type")) {
            section.newPage = Ooxml::wAttribute(xml, u"val") != u"continuous";
        }
        xml.skipCurrentElement();
    }
    if (size.width() > 0 && size.height() > 0)
        section.page = SectionPages::Page{size, margins};
    return section;
}

} // namespace kelvane::Docx
