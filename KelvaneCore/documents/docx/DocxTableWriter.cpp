#include "documents/docx/DocxBodyWriter.h"
#include "documents/docx/Ooxml.h"

#include <QTextDocument>
#include <QTextFrame>
#include <QTextTable>

#include <algorithm>
#include <cmath>

// Frames and tables of the body writer.
namespace kelvane::Docx {
namespace {

namespace ns = Ooxml::ns;

constexpr int maxNesting = 8; // frames and tables inside one another

} // namespace

void BodyWriter::writeFrame(const QTextFrame& frame, int nesting) {
    for (auto it = frame.begin(); !it.atEnd(); ++it) {
        if (const QTextFrame* child = it.currentFrame())
            writeChildFrame(*child, nesting + 1);
        else if (it.currentBlock().isValid())
            writeBlock(it.currentBlock());
    }
}

void BodyWriter::writeChildFrame(const QTextFrame& frame, int nesting) {
    if (nesting > maxNesting)
        writeFlattened(frame);
    else if (const auto* table = qobject_cast<const QTextTable*>(&frame))
        writeTable(*table, nesting);
    else
        writeFrame(frame, nesting);
}

void BodyWriter::writeTable(const QTextTable& table, int nesting) {
    const int columns = table.columns();
    const QString columnWidth = QString::number(std::lround(textWidthTwips_ / columns));
    xml_->writeStartElement(ns::w, QStringLiteral("tbl"));
    xml_->writeStartElement(ns::w, QStringLiteral("tblPr"));
    writeEmpty(*xml_, "tblW", {{"w", QStringLiteral("0")}, {"type", QStringLiteral("auto")}});
    xml_->writeStartElement(ns::w, QStringLiteral("tblBorders"));
    for (const char* side : {"top", "left", "bottom", "right", "insideH", "insideV"})
        writeEmpty(*xml_, side,
                   {{"val", QStringLiteral("single")},
                    {"sz", QStringLiteral("4")},
                    {"space", QStringLiteral("0")},
                    {"color", QStringLiteral("auto")}});
    xml_->writeEndElement();
    xml_->writeEndElement();
    xml_->writeStartElement(ns::w, QStringLiteral("tblGrid"));
    for (int column = 0; column < columns; ++column)
        writeEmpty(*xml_, "gridCol", {{"w", columnWidth}});
    xml_->writeEndElement();
    for (int row = 0; row < table.rows(); ++row) {
        xml_->writeStartElement(ns::w, QStringLiteral("tr"));
        for (int column = 0; column < columns;) {
            writeCell(table, row, column, nesting);
            column += std::max(1, table.cellAt(row, column).columnSpan());
        }
        xml_->writeEndElement();
    }
    xml_->writeEndElement();
}

// One w:tc per grid position a cell starts in; the rows a tall cell covers get continuation
// cells, as the format wants every row to fill the grid.
void BodyWriter::writeCell(const QTextTable& table, int row, int column, int nesting) {
    const QTextTableCell cell = table.cellAt(row, column);
    const int span = std::max(1, cell.columnSpan());
    xml_->writeStartElement(ns::w, QStringLiteral("tc"));
    xml_->writeStartElement(ns::w, QStringLiteral("tcPr"));
    writeEmpty(*xml_, "tcW",
               {{"w", QString::number(std::lround(textWidthTwips_ * span / table.columns()))},
                {"type", QStringLiteral("dxa")}});
    if (span > 1)
        writeEmpty(*xml_, "gridSpan", {{"val", QString::number(span)}});
    if (cell.rowSpan() > 1 && cell.row() == row)
        writeEmpty(*xml_, "vMerge", {{"val", QStringLiteral("restart")}});
    else if (cell.row() != row)
        writeEmpty(*xml_, "vMerge");
    xml_->writeEndElement();
    bool endsWithParagraph = false;
    if (cell.row() == row) {
        for (auto it = cell.begin(); !it.atEnd(); ++it) {
            const QTextFrame* child = it.currentFrame();
            if (child != nullptr)
                writeChildFrame(*child, nesting + 1);
            else if (it.currentBlock().isValid())
                writeBlock(it.currentBlock());
            endsWithParagraph = child == nullptr;
        }
    }
    if (!endsWithParagraph)
        xml_->writeEmptyElement(ns::w, QStringLiteral("p")); // a cell must end in a paragraph
    xml_->writeEndElement();
}

// Frames and tables nested too deeply become their paragraphs, in document order.

// Frames and tables nested too deeply become their paragraphs, in document order.
void BodyWriter::writeFlattened(const QTextFrame& frame) {
    for (QTextBlock block = document_.findBlock(frame.firstPosition());
         block.isValid() && block.position() < frame.lastPosition(); block = block.next())
        writeBlock(block);
}

} // namespace kelvane::Docx
