#include "documents/Units.h"
#include "documents/docx/DocxBodyWriter.h"
#include "documents/docx/Ooxml.h"

#include <QTextDocument>
#include <QTextFrame>

#include <cmath>
#include <utility>

// Sections of the body writer: each ends with its page size, margins, headers and footers.
namespace kelvane::Docx {
namespace {

namespace ns = Ooxml::ns;

const QString xmlNamespace = QStringLiteral("http://www.w3.org/XML/1998/namespace");

QString twipsOfPoints(double points) {
    return QString::number(std::lround(Units::twipsFromPoints(points)));
}

// The page a top-level paragraph or table starts, where it starts a section.
std::optional<SectionPages::Page> pageStartingAt(const QTextDocument& document,
                                                 const QTextFrame::iterator& item) {
    if (const QTextFrame* frame = item.currentFrame())
        return SectionPages::pageOf(document.findBlock(frame->firstPosition()).blockFormat());
    return SectionPages::pageOf(item.currentBlock().blockFormat());
}

void writeRunText(QXmlStreamWriter& xml, const QString& text) {
    if (text.isEmpty())
        return;
    xml.writeStartElement(ns::w, QStringLiteral("r"));
    xml.writeStartElement(ns::w, QStringLiteral("t"));
    xml.writeAttribute(xmlNamespace, QStringLiteral("space"), QStringLiteral("preserve"));
    xml.writeCharacters(text);
    xml.writeEndElement();
    xml.writeEndElement();
}

// A header or footer part of one centred line, a page number field where the line shows the
// page's number.
QByteArray marginPart(const QString& line, bool header) {
    QByteArray part;
    QXmlStreamWriter xml(&part);
    xml.writeStartDocument(QStringLiteral("1.0"), true);
    xml.writeNamespace(ns::w, QStringLiteral("w"));
    xml.writeStartElement(ns::w, header ? QStringLiteral("hdr") : QStringLiteral("ftr"));
    xml.writeStartElement(ns::w, QStringLiteral("p"));
    xml.writeStartElement(ns::w, QStringLiteral("pPr"));
    writeEmpty(xml, "jc", {{"val", QStringLiteral("center")}});
    xml.writeEndElement();
    const QStringList pieces = xmlSafe(line).split(SectionPages::pageNumberMark);
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        if (i > 0) {
            xml.writeStartElement(ns::w, QStringLiteral("fldSimple"));
            xml.writeAttribute(ns::w, QStringLiteral("instr"), QStringLiteral(" PAGE "));
            writeRunText(xml, QStringLiteral("1"));
            xml.writeEndElement();
        }
        writeRunText(xml, pieces[i]);
    }
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndDocument();
    return part;
}

} // namespace

// The body's paragraphs and tables, each section ended by its properties: in the last
// paragraph of the section, or where that is a table, in an empty paragraph after it.
void BodyWriter::writeSections() {
    const QTextFrame& root = *document_.rootFrame();
    std::optional<SectionPages::Page> section;
    if (!root.begin().atEnd())
        section = pageStartingAt(document_, root.begin());
    for (auto it = root.begin(); !it.atEnd();) {
        auto next = it;
        ++next;
        const auto nextPage = next.atEnd() ? std::nullopt : pageStartingAt(document_, next);
        sectionEnding_ = nextPage ? &section : nullptr;
        if (const QTextFrame* child = it.currentFrame()) {
            const auto* ending = std::exchange(sectionEnding_, nullptr); // not in a cell
            writeChildFrame(*child, 1);
            sectionEnding_ = ending;
        } else if (it.currentBlock().isValid()) {
            writeBlock(it.currentBlock());
        }
        if (nextPage && sectionEnding_ != nullptr) { // no paragraph of its own took it
            xml_->writeStartElement(ns::w, QStringLiteral("p"));
            xml_->writeStartElement(ns::w, QStringLiteral("pPr"));
            writeSectionProperties(section);
            xml_->writeEndElement();
            xml_->writeEndElement();
        }
        sectionEnding_ = nullptr;
        if (nextPage)
            section = nextPage;
        it = next;
    }
    writeSectionProperties(section);
}

// The chosen paper, turned as the section turns its pages, with the section's margins.
void BodyWriter::writeSectionProperties(const std::optional<SectionPages::Page>& page) {
    xml_->writeStartElement(ns::w, QStringLiteral("sectPr"));
    if (page)
        writeMarginReferences(*page);
    const bool landscape = page && page->size.width() > page->size.height();
    QSizeF size(paper_.widthInPoints(), paper_.heightInPoints());
    if (landscape)
        size.transpose();
    writeEmpty(*xml_, "pgSz",
               {{"w", twipsOfPoints(size.width())},
                {"h", twipsOfPoints(size.height())},
                {"orient", landscape ? QStringLiteral("landscape") : QStringLiteral("portrait")}});
    const QMarginsF margins = page ? page->margins : QMarginsF(72, 72, 72, 72);
    writeEmpty(*xml_, "pgMar",
               {{"top", twipsOfPoints(margins.top())},
                {"right", twipsOfPoints(margins.right())},
                {"bottom", twipsOfPoints(margins.bottom())},
                {"left", twipsOfPoints(margins.left())},
                {"header", QStringLiteral("720")},
                {"footer", QStringLiteral("720")},
                {"gutter", QStringLiteral("0")}});
    if (page && page->firstNumber > 0)
        writeEmpty(*xml_, "pgNumType", {{"start", QString::number(page->firstNumber)}});
    if (page && page->first)
        writeEmpty(*xml_, "titlePg");
    xml_->writeEndElement();
}

// Every header and footer the section names: those of other sections go on from it.
void BodyWriter::writeMarginReferences(const SectionPages::Page& page) {
    std::vector<std::pair<QString, SectionPages::Lines>> kinds{
        {QStringLiteral("default"), {page.header, page.footer}}};
    if (page.first)
        kinds.emplace_back(QStringLiteral("first"), *page.first);
    if (page.even) {
        kinds.emplace_back(QStringLiteral("even"), *page.even);
        evenPagesApart = true;
    }
    for (const bool header : {true, false}) {
        for (const auto& [type, lines] : kinds) {
            xml_->writeEmptyElement(ns::w, header ? QStringLiteral("headerReference")
                                                  : QStringLiteral("footerReference"));
            xml_->writeAttribute(ns::w, QStringLiteral("type"), type);
            xml_->writeAttribute(ns::r, QStringLiteral("id"),
                                 marginPartId(header ? lines.header : lines.footer, header));
        }
    }
}

// The relationship of the part that holds a line, one part for each line and side.
QString BodyWriter::marginPartId(const QString& line, bool header) {
    QString& id = marginIds_[{header, line}];
    if (id.isEmpty()) {
        const QString name =
            QStringLiteral("%1%2").arg(header ? u"header" : u"footer").arg(marginParts.size() + 1);
        marginParts.emplace_back(name, marginPart(line, header));
        id = addRelationship(header ? Ooxml::relationship::header : Ooxml::relationship::footer,
                             name + QStringLiteral(".xml"), false);
    }
    return id;
}

} // namespace kelvane::Docx
