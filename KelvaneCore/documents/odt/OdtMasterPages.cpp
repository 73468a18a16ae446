#include "documents/odt/OdtMasterPages.h"

#include "documents/odt/OdtWriterStyles.h"

#include <QTextBlock>
#include <QXmlStreamWriter>

#include <algorithm>
#include <utility>

namespace kelvane::Odt {
namespace {

constexpr std::size_t maxMasters = 1000; // past this, sections go on with the last page

QString layoutName(std::size_t index) {
    return QStringLiteral("pm%1").arg(index + 1);
}

// One line of a header or footer in `element`, with the page's number where the line shows it.
void writeMarginLine(QXmlStreamWriter& xml, const char* element, const char* style,
                     const QString& line) {
    xml.writeStartElement(element);
    xml.writeStartElement("text:p");
    xml.writeAttribute("text:style-name", style);
    const QStringList pieces = xmlSafe(line).split(SectionPages::pageNumberMark);
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        if (i > 0)
            xml.writeTextElement("text:page-number", QStringLiteral("1"));
        xml.writeCharacters(pieces[i]);
    }
    xml.writeEndElement();
    xml.writeEndElement();
}

// The header or footer of a master page: none where its pages show no line, which leaves
// the text their whole height; else the line of odd pages, and of even ones where they
// have their own (an empty one too, or they would show the odd pages' line).
struct MarginLines {
    QString odd;
    std::optional<QString> even;
};
void writeMarginLines(QXmlStreamWriter& xml, const MarginLines& lines, bool header) {
    if (lines.odd.isEmpty() && lines.even.value_or(QString()).isEmpty())
        return;
    const char* style = header ? "Header" : "Footer";
    writeMarginLine(xml, header ? "style:header" : "style:footer", style, lines.odd);
    if (lines.even)
        writeMarginLine(xml, header ? "style:header-left" : "style:footer-left", style,
                        *lines.even);
}

} // namespace

MasterPages::MasterPages(PageSize paper)
    : paper_(paper)
    , masters_{{QStringLiteral("Standard"), std::nullopt, {}}} {}

QString MasterPages::startedBy(const QTextBlock& block) {
    const auto page = SectionPages::pageOf(block.blockFormat());
    if (!page)
        return {};
    const Master* master = nullptr;
    if (block.position() == 0) {
        masters_.front().page = page;
        master = &masters_.front();
    } else {
        master = masterOf(*page);
    }
    if (master && page->first)
        master = masterOf(*page, master->name);
    // The text starts on Standard without naming it.
    return master && (block.position() > 0 || master != &masters_.front()) ? master->name
                                                                           : QString();
}

const MasterPages::Master* MasterPages::masterOf(const SectionPages::Page& page, QString next) {
    const auto known = std::find_if(masters_.begin(), masters_.end(), [&](const Master& master) {
        return master.page == page && master.next == next;
    });
    if (known != masters_.end())
        return &*known;
    if (masters_.size() >= maxMasters)
        return nullptr;
    const QString name = next.isEmpty() ? QStringLiteral("Section_%1").arg(masters_.size() + 1)
                                        : next + QStringLiteral("_First_Page");
    masters_.push_back({name, page, std::move(next)});
    return &masters_.back();
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
    for (std::size_t index = 0; index < masters_.size(); ++index)
        writeMaster(xml, masters_[index], index);
    xml.writeEndElement();
}

void MasterPages::writeMaster(QXmlStreamWriter& xml, const Master& master,
                              std::size_t layout) const {
    xml.writeStartElement("style:master-page");
    xml.writeAttribute("style:name", master.name);
    xml.writeAttribute("style:page-layout-name", layoutName(layout));
    if (!master.next.isEmpty())
        xml.writeAttribute("style:next-style-name", master.next);
    if (const auto& page = master.page; page && !master.next.isEmpty() && page->first) {
        writeMarginLines(xml, {page->first->header, std::nullopt}, true);
        writeMarginLines(xml, {page->first->footer, std::nullopt}, false);
    } else if (page) {
        const auto& even = page->even;
        writeMarginLines(xml, {page->header, even ? even->header : std::optional<QString>()}, true);
        writeMarginLines(xml, {page->footer, even ? even->footer : std::optional<QString>()},
                         false);
    }
    xml.writeEndElement();
}

} // namespace kelvane::Odt
