#include "documents/TableLines.h"
#include "documents/Units.h"
#include "documents/odt/OdtBodyWriter.h"

#include <QTextTable>

#include <algorithm>
#include <utility>

// Tables of the body writer: each cell has an automatic style for its lines, shading and
// padding; heading rows in table:table-header-rows.
namespace kelvane::Odt {
namespace {

// A line as fo:border gives it: "0.5pt solid #000000".
QString borderOf(const TableLines::Line& line) {
    return lengthInPoints(line.points * TableLines::widthsAcross(line.style)) + u' ' +
           TableLines::styleName(line.style) + u' ' + line.color.name();
}

// The sides a cell's format draws, as fo:border-top and the like.
void addSides(const QTextTableCellFormat& format, AutomaticStyles::Properties& properties) {
    const char* const attributes[] = {"fo:border-top", "fo:border-left", "fo:border-bottom",
                                      "fo:border-right"};
    const TableLines::CellSides sides = TableLines::sidesOf(format);
    for (std::size_t side = 0; side < sides.size(); ++side) {
        if (const auto& line = sides[side])
            properties.emplace_back(attributes[side], borderOf(*line));
    }
}

// A cell's lines, shading and padding: a thin line all round in a lined table, else the sides
// its format draws.
AutomaticStyles::Properties cellProperties(const QTextTable& table, const QTextTableCell& cell) {
    AutomaticStyles::Properties properties;
    const QTextTableCellFormat format = cell.format().toTableCellFormat();
    if (table.format().border() > 0)
        properties.emplace_back("fo:border", borderOf(TableLines::thinLine()));
    else
        addSides(format, properties);
    if (properties.empty())
        properties.emplace_back("fo:border", "none");
    if (format.background().style() != Qt::NoBrush)
        properties.emplace_back("fo:background-color", format.background().color().name());
    if (const double padding = table.format().cellPadding(); padding > 0)
        properties.emplace_back("fo:padding", lengthInPoints(Units::pointsFromPixels(padding)));
    return properties;
}

} // namespace

void BodyWriter::writeTable(const QTextTable& table, int depth) {
    closeLists(0);
    xml_.writeStartElement("table:table");
    xml_.writeAttribute("table:name", "Table" + QString::number(++tables_));
    xml_.writeEmptyElement("table:table-column");
    if (table.columns() > 1)
        xml_.writeAttribute("table:number-columns-repeated", QString::number(table.columns()));
    const QString outerStyle = std::exchange(paragraphStyle_, QStringLiteral("Table_20_Contents"));
    const int headerRows = std::min(table.format().headerRowCount(), table.rows());
    for (int row = 0; row < table.rows(); ++row) {
        if (row == 0 && headerRows > 0)
            xml_.writeStartElement("table:table-header-rows");
        xml_.writeStartElement("table:table-row");
        for (int column = 0; column < table.columns(); ++column)
            writeCell(table, row, column, depth);
        xml_.writeEndElement();
        if (row + 1 == headerRows)
            xml_.writeEndElement();
    }
    paragraphStyle_ = outerStyle;
    xml_.writeEndElement();
}

void BodyWriter::writeCell(const QTextTable& table, int row, int column, int depth) {
    const QTextTableCell cell = table.cellAt(row, column);
    if (cell.row() != row || cell.column() != column) {
        xml_.writeEmptyElement("table:covered-table-cell"); // under a merged cell
        return;
    }
    xml_.writeStartElement("table:table-cell");
    xml_.writeAttribute("table:style-name", styles_.tableCell(cellProperties(table, cell)));
    xml_.writeAttribute("office:value-type", "string");
    if (cell.columnSpan() > 1)
        xml_.writeAttribute("table:number-columns-spanned", QString::number(cell.columnSpan()));
    if (cell.rowSpan() > 1)
        xml_.writeAttribute("table:number-rows-spanned", QString::number(cell.rowSpan()));
    writeContents(cell.begin(), depth);
    closeLists(0);
    xml_.writeEndElement();
}

} // namespace kelvane::Odt
