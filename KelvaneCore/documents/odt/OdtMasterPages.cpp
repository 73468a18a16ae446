#include "documents/odt/OdtMasterPages.h"

#include "documents/odt/OdtWriterStyles.h"

#include <QTextBlock>
#include <QXmlStreamWriter>

#include <algorithm>

namespace kelvane::Odt {
namespace {

constexpr std::size_t maxMasters = 1000; // past this, sections go on with the last page

QString layoutName(std::size_t index) {
    return QStringLiteral("pm%1").arg(index + 1);
}

// One line of a header or footer, with the page's number where the line shows it.
void writeMarginLine(QXmlStreamWriter& xml, bool header, const QString& line) {
    if (line.isEmpty())
        return;
    xml.writeStartElement(header ? "style:header" : "style:footer");
    xml.writeStartElement("text:p");
    xml.writeAttribute("text:style-name", header ? "Header" : "Footer");
    const QStringList pieces = xmlSafe(line).split(SectionPages::pageNumberMark);
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        if (i > 0)
            xml.writeTextElement("text:page-number", QStringLiteral("1"));
        xml.writeCharacters(pieces[i]);
    }
    xml.writeEndElement();
    xml.writeEndElement();
}

} // namespace

MasterPages::MasterPages(PageSize paper)
    : paper_(paper)
    , masters_{{QStringLiteral("Standard"), std::nullopt}} {}

QString MasterPages::startedBy(const QTextBlock& block) {
    const auto page = SectionPages::pageOf(block.blockFormat());
    if (!page)
        return {};
    if (block.position() == 0) {
        masters_.front().page = page;
        return {};
    }
    const auto known = std::find_if(masters_.begin(), masters_.end(),
                                    [&](const Master& master) { return master.page == page; });
    if (known != masters_.end())
        return known->name;
    if (masters_.size() >= maxMasters)
        return {};
    masters_.push_back({QStringLiteral("Section_%1").arg(masters_.size() + 1), page});
    return masters_.back().name;
}

void MasterPages::writeLayouts(QXmlStreamWriter& xml) const {
    for (std::size_t index = 0; index < masters_.size(); ++index) {
        const auto& page = masters_[index].page;
        const bool landscape = page && page->size.width() > page->size.height();
        QSizeF size(paper_.widthInPoints(), paper_.heightInPoints());
        if (landscape)
            size.transpose();
        const QMarginsF margins = page ? page->margins : QMarginsF(72, 72, 72, 72);
        xml.writeStartElement("style:page-layout");
        xml.writeAttribute("style:name", layoutName(index));
        xml.writeEmptyElement("style:page-layout-properties");
        xml.writeAttribute("fo:page-width", lengthInPoints(size.width()));
        xml.writeAttribute("fo:page-height", lengthInPoints(size.height()));
        xml.writeAttribute("style:print-orientation", landscape ? "landscape" : "portrait");
        xml.writeAttribute("fo:margin-top", lengthInPoints(margins.top()));
        xml.writeAttribute("fo:margin-bottom", lengthInPoints(margins.bottom()));
        xml.writeAttribute("fo:margin-left", lengthInPoints(margins.left()));
        xml.writeAttribute("fo:margin-right", lengthInPoints(margins.right()));
        xml.writeEndElement();
    }
}

void MasterPages::writeMasters(QXmlStreamWriter& xml) const {
    xml.writeStartElement("office:master-styles");
    for (std::size_t index = 0; index < masters_.size(); ++index) {
        const Master& master = masters_[index];
        xml.writeStartElement("style:master-page");
        xml.writeAttribute("style:name", master.name);
        xml.writeAttribute("style:page-layout-name", layoutName(index));
        if (master.page) {
            writeMarginLine(xml, true, master.page->header);
            writeMarginLine(xml, false, master.page->footer);
        }
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

} // namespace kelvane::Odt
