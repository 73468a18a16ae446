#include "documents/odt/OdtStyles.h"

#include <QXmlStreamReader>

#include <algorithm>

// Page layouts and the master pages that name them; the widths and backgrounds of tables.
namespace kelvane::Odt {
namespace {

constexpr double maxPagePoints = 1584; // 22 inches

double lengthOf(const QXmlStreamReader& xml, const char* name, double otherwise) {
    const auto points = pointsFromLength(attribute(xml, ns::fo, name));
    return points ? std::clamp(*points, 0.0, maxPagePoints) : otherwise;
}

// The text of the current style:header or style:footer on one line, to its end.
QString marginText(QXmlStreamReader& xml) {
    constexpr qsizetype maxCharacters = 500;
    QString text;
    for (int level = 1; level > 0 && !xml.atEnd();) {
        xml.readNext();
        if (xml.isEndElement()) {
            --level;
            if (isElement(xml, ns::text, u"p") || isElement(xml, ns::text, u"h"))
                text += u' ';
        } else if (xml.isStartElement()) {
            ++level;
            if (isElement(xml, ns::text, u"page-number")) {
                text += SectionPages::pageNumberMark;
                xml.skipCurrentElement();
                --level;
            } else if (isElement(xml, ns::text, u"tab")) {
                text += QStringLiteral("    ");
            } else if (isElement(xml, ns::text, u"s")) {
                text += u' ';
            }
        } else if (xml.isCharacters()) {
            text += xml.text();
        }
    }
    return text.simplified().left(maxCharacters);
}

} // namespace

void Styles::readMasterPage(QXmlStreamReader& xml, const QString& name) {
    MasterPage& master = masterPages_[name];
    master.pageLayout = attribute(xml, ns::style, "page-layout-name");
    if (const QString next = attribute(xml, ns::style, "next-style-name"); next != name)
        master.next = next;
    while (xml.readNextStartElement()) {
        if (isElement(xml, ns::style, u"header"))
            master.header = marginText(xml);
        else if (isElement(xml, ns::style, u"footer"))
            master.footer = marginText(xml);
        else if (isElement(xml, ns::style, u"header-left"))
            master.evenHeader = marginText(xml);
        else if (isElement(xml, ns::style, u"footer-left"))
            master.evenFooter = marginText(xml);
        else
            xml.skipCurrentElement();
    }
}

void Styles::readPageLayout(QXmlStreamReader& xml, const QString& name) {
    while (xml.readNextStartElement()) {
        if (isElement(xml, ns::style, u"page-layout-properties")) {
            constexpr double inch = 72;
            QSizeF size(lengthOf(xml, "page-width", 0), lengthOf(xml, "page-height", 0));
            const bool landscape = attribute(xml, ns::style, "print-orientation") == u"landscape";
            if (landscape && size.width() < size.height())
                size.transpose();
            const double margin = lengthOf(xml, "margin", inch);
            const QMarginsF margins(
                lengthOf(xml, "margin-left", margin), lengthOf(xml, "margin-top", margin),
                lengthOf(xml, "margin-right", margin), lengthOf(xml, "margin-bottom", margin));
            if (size.width() > 0 && size.height() > 0)
                pageLayouts_[name] = {size, margins, {}, {}};
        }
        xml.skipCurrentElement();
    }
}

std::optional<SectionPages::Page> Styles::pageOfMaster(const QString& name) const {
    const auto master = masterPages_.find(name);
    if (master == masterPages_.end())
        return std::nullopt;
    const auto layout = pageLayouts_.find(master->second.pageLayout);
    if (layout == pageLayouts_.end())
        return std::nullopt;
    const auto next = masterPages_.find(master->second.next);
    if (next == masterPages_.end())
        return pageOf(master->second, layout->second);
    // A first page of its own, as "First Page" goes on with "Default Page Style".
    SectionPages::Page page = pageOf(next->second, layout->second);
    page.first = SectionPages::Lines{master->second.header, master->second.footer};
    return page;
}

SectionPages::Page Styles::pageOf(const MasterPage& master,
                                  const SectionPages::Page& layout) const {
    SectionPages::Page page = layout;
    page.header = master.header;
    page.footer = master.footer;
    if (master.evenHeader || master.evenFooter)
        page.even = SectionPages::Lines{master.evenHeader.value_or(master.header),
                                        master.evenFooter.value_or(master.footer)};
    return page;
}

std::optional<double> Styles::columnWidth(const QString& name) const {
    const Style* style = find(u"table-column", name);
    return style != nullptr ? style->columnWidth : std::nullopt;
}

TableLines::CellSides Styles::cellLines(const QString& name) const {
    if (const Style* style = find(u"table-cell", name))
        return style->lines;
    TableLines::CellSides lines;
    lines.fill(TableLines::thinLine());
    return lines;
}

CellPadding Styles::cellPadding(const QString& name) const {
    const Style* style = find(u"table-cell", name);
    return style != nullptr ? style->padding : CellPadding{};
}

QColor Styles::cellBackground(const QString& name) const {
    const Style* style = find(u"table-cell", name);
    return style != nullptr ? style->background : QColor();
}

std::optional<SectionPages::Page> Styles::firstPage() const {
    return pageOfMaster(firstMaster_);
}

} // namespace kelvane::Odt
