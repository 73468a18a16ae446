#include "documents/TableLines.h"
#include "documents/Units.h"
#include "documents/docx/DocxBodyWriter.h"
#include "documents/docx/DocxTableLook.h"
#include "documents/docx/Ooxml.h"

#include <QTextDocument>
#include <QTextFrame>
#include <QTextTable>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

// Frames and tables of the body writer.
namespace kelvane::Docx {
namespace {

namespace ns = Ooxml::ns;

constexpr int maxNesting = 8; // frames and tables inside one another

double twipsOfLength(double pixels) {
    return Units::twipsFromPoints(Units::pointsFromPixels(pixels));
}

// The table's width in twips: as the table sets it, or the text's.
double tableTwips(const QTextTableFormat& format, double textTwips) {
    const QTextLength width = format.width();
    if (width.type() == QTextLength::FixedLength && width.rawValue() > 0)
        return std::min(twipsOfLength(width.rawValue()), textTwips);
    if (width.type() == QTextLength::PercentageLength && width.rawValue() > 0)
        return textTwips * std::min(width.rawValue(), 100.0) / 100;
    return textTwips;
}

// The width of each column in twips: those the table fixes or gives a share of its width,
// the rest of the width split evenly among the others. Never wider than the text.
std::vector<double> gridOf(const QTextTableFormat& format, int columns, double textTwips) {
    const double table = tableTwips(format, textTwips);
    const QList<QTextLength> constraints = format.columnWidthConstraints();
    std::vector<double> grid(static_cast<std::size_t>(columns), -1);
    if (constraints.size() == columns) {
        for (int column = 0; column < columns; ++column) {
            const QTextLength length = constraints[column];
            auto& width = grid[static_cast<std::size_t>(column)];
            if (length.type() == QTextLength::FixedLength && length.rawValue() > 0)
                width = twipsOfLength(length.rawValue());
            else if (length.type() == QTextLength::PercentageLength && length.rawValue() > 0)
                width = table * length.rawValue() / 100;
        }
    }
    double given = 0;
    int free = 0;
    for (const double width : grid) {
        if (width < 0)
            ++free;
        else
            given += width;
    }
    const double share = free > 0 ? std::max(table - given, table / 4) / free : 0;
    for (double& width : grid)
        width = width < 0 ? share : width;
    const double total = std::accumulate(grid.begin(), grid.end(), 0.0);
    if (total > textTwips)
        for (double& width : grid)
            width *= textTwips / total;
    return grid;
}

// Single lines where the table draws them; none at all for a layout table, so that the
// reader's own defaults add none either.
void writeTableProperties(QXmlStreamWriter& xml, const QTextTableFormat& format, double width) {
    xml.writeStartElement(ns::w, QStringLiteral("tblPr"));
    writeEmpty(xml, "tblW",
               {{"w", QString::number(std::lround(width))}, {"type", QStringLiteral("dxa")}});
    xml.writeStartElement(ns::w, QStringLiteral("tblBorders"));
    const bool lines = format.border() > 0;
    for (const char* side : {"top", "left", "bottom", "right", "insideH", "insideV"})
        writeEmpty(xml, side,
                   {{"val", lines ? QStringLiteral("single") : QStringLiteral("none")},
                    {"sz", lines ? QStringLiteral("4") : QStringLiteral("0")},
                    {"space", QStringLiteral("0")},
                    {"color", QStringLiteral("auto")}});
    xml.writeEndElement();
    writeEmpty(xml, "tblLayout", {{"type", QStringLiteral("fixed")}});
    xml.writeEndElement();
}

// The sides the cell's own format draws; a lined table draws the rest.
void writeCellBorders(QXmlStreamWriter& xml, const QTextTableCellFormat& format) {
    const TableLines::CellSides sides = TableLines::sidesOf(format);
    if (!TableLines::anySet(sides))
        return;
    const char* const names[] = {"top", "left", "bottom", "right"};
    xml.writeStartElement(ns::w, QStringLiteral("tcBorders"));
    for (std::size_t side = 0; side < sides.size(); ++side) {
        if (const auto& line = sides[side])
            writeEmpty(xml, names[side],
                       {{"val", lineValueOf(line->style)},
                        {"sz", QString::number(std::lround(line->points * 8))},
                        {"space", QStringLiteral("0")},
                        {"color", hexOf(line->color)}});
    }
    xml.writeEndElement();
}

// Width, spans, lines and shading of the cell at a grid position; `row` is below the cell's first
// row for the rows a tall cell covers.
void writeCellProperties(QXmlStreamWriter& xml, const QTextTableCell& cell, int row, double width) {
    xml.writeStartElement(ns::w, QStringLiteral("tc"));
    xml.writeStartElement(ns::w, QStringLiteral("tcPr"));
    writeEmpty(xml, "tcW",
               {{"w", QString::number(std::lround(width))}, {"type", QStringLiteral("dxa")}});
    if (cell.columnSpan() > 1)
        writeEmpty(xml, "gridSpan", {{"val", QString::number(cell.columnSpan())}});
    if (cell.rowSpan() > 1 && cell.row() == row)
        writeEmpty(xml, "vMerge", {{"val", QStringLiteral("restart")}});
    else if (cell.row() != row)
        writeEmpty(xml, "vMerge");
    writeCellBorders(xml, cell.format().toTableCellFormat());
    if (const QBrush shading = cell.format().background(); shading.style() != Qt::NoBrush)
        writeEmpty(xml, "shd",
                   {{"val", QStringLiteral("clear")},
                    {"color", QStringLiteral("auto")},
                    {"fill", hexOf(shading.color())}});
    xml.writeEndElement();
}

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
    const std::vector<double> grid = gridOf(table.format(), table.columns(), textWidthTwips_);
    xml_->writeStartElement(ns::w, QStringLiteral("tbl"));
    writeTableProperties(*xml_, table.format(), std::accumulate(grid.begin(), grid.end(), 0.0));
    xml_->writeStartElement(ns::w, QStringLiteral("tblGrid"));
    for (const double width : grid)
        writeEmpty(*xml_, "gridCol", {{"w", QString::number(std::lround(width))}});
    xml_->writeEndElement();
    for (int row = 0; row < table.rows(); ++row)
        writeRow(table, row, grid, nesting);
    xml_->writeEndElement();
}

void BodyWriter::writeRow(const QTextTable& table, int row, const std::vector<double>& grid,
                          int nesting) {
    xml_->writeStartElement(ns::w, QStringLiteral("tr"));
    if (row < table.format().headerRowCount()) {
        xml_->writeStartElement(ns::w, QStringLiteral("trPr"));
        writeEmpty(*xml_, "tblHeader");
        xml_->writeEndElement();
    }
    for (int column = 0; column < table.columns();) {
        writeCell(table, {row, column}, grid, nesting);
        column += std::max(1, table.cellAt(row, column).columnSpan());
    }
    xml_->writeEndElement();
}

// One w:tc per grid position a cell starts in; the rows a tall cell covers get continuation
// cells, as the format wants every row to fill the grid.
void BodyWriter::writeCell(const QTextTable& table, std::pair<int, int> place,
                           const std::vector<double>& grid, int nesting) {
    const auto [row, column] = place;
    const QTextTableCell cell = table.cellAt(row, column);
    const int span = std::clamp(cell.columnSpan(), 1, static_cast<int>(grid.size()) - column);
    const auto first = grid.begin() + column;
    writeCellProperties(*xml_, cell, row, std::accumulate(first, first + span, 0.0));
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
void BodyWriter::writeFlattened(const QTextFrame& frame) {
    for (QTextBlock block = document_.findBlock(frame.firstPosition());
         block.isValid() && block.position() < frame.lastPosition(); block = block.next())
        writeBlock(block);
}

} // namespace kelvane::Docx
