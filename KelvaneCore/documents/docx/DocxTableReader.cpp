#include "documents/TableRows.h"
#include "documents/TableWidths.h"
#include "documents/Units.h"
#include "documents/docx/DocxBodyReader.h"

#include <QTextTable>

#include <algorithm>
#include <iterator>

// Tables of the body reader: the grid grows as rows and cells arrive, merged cells are joined
// once the grid is complete.
namespace kelvane::Docx {

using Ooxml::isW;
using Ooxml::nextChild;
using Ooxml::wAttribute;

namespace {

constexpr double maxTwips = 31680; // 22 inches, the widest page the format allows
constexpr auto maxGridColumns = static_cast<std::size_t>(maxTableColumns);

// The width w:tblW gives: fiftieths of a percent, or twips; none for "auto".
std::optional<QTextLength> tableWidthOf(const QXmlStreamReader& xml) {
    const double value = Ooxml::numericValue(xml, u"w").value_or(0);
    const QString type = wAttribute(xml, u"type");
    if (value <= 0)
        return std::nullopt;
    if (type == u"pct")
        return QTextLength(QTextLength::PercentageLength, std::min(value / 50, 100.0));
    if (type == u"dxa")
        return QTextLength(QTextLength::FixedLength,
                           Units::pixelsFromPoints(Units::pointsFromTwips(value)));
    return std::nullopt;
}

// A table style (the default one for an empty id), or all single lines for a grid style the
// document does not define.
TableStyle styleOf(const Styles& styles, const QString& id) {
    if (auto defined = styles.tableStyle(id))
        return *defined;
    TableStyle style;
    if (id.contains(u"Grid", Qt::CaseInsensitive))
        style.table.sides.fill(TableLines::thinLine());
    return style;
}

// Reads w:tblPr: the table's width, style, borders and cell margins.
void readTableProperties(QXmlStreamReader& xml, const Styles& styles, Table& table) {
    while (nextChild(xml)) {
        if (isW(xml, u"tblW"))
            table.width = tableWidthOf(xml);
        else if (isW(xml, u"tblStyle"))
            table.look.style = styleOf(styles, wAttribute(xml, u"val"));
        else if (isW(xml, u"tblLook"))
            table.look.readLook(xml);
        else if (isW(xml, u"tblBorders")) {
            table.look.table.merge(readBorders(xml));
            continue;
        } else if (isW(xml, u"tblCellMar")) {
            table.look.margins.merge(readCellMargins(xml));
            continue;
        }
        xml.skipCurrentElement();
    }
}

// Column widths in proportion to the grid's; the table as wide as the grid unless it says
// otherwise.
void applyWidths(const Table& table, QTextTableFormat& format) {
    std::vector<double> points;
    std::transform(table.columnWidths.begin(), table.columnWidths.end(), std::back_inserter(points),
                   Units::pointsFromTwips);
    TableWidths::apply(format, points, table.width);
}

} // namespace

void BodyReader::readTable(int depth) {
    checkDepth(depth);
    if (tableNesting_ >= maxTableNesting) {
        readBlocks(depth + 1); // too deep to lay out as tables: keep the cells' paragraphs
        return;
    }
    Table table;
    table.look.style = styleOf(styles_, {}); // until the table names its own
    int columns = 1;
    const CellParagraphs outerCell = cellParagraphs_;
    readTableChildren(depth, table, columns);
    cellParagraphs_ = outerCell;
    if (table.table == nullptr)
        return;
    TableRows::trim(*table.table, table.rows);
    for (const auto& [start, size] : table.merges) {
        if (size.first > 1 || size.second > 1)
            table.table->mergeCells(start.first, start.second, size.first, size.second);
    }
    QTextTableFormat format = table.table->format();
    table.look.apply(*table.table, format);
    format.setHeaderRowCount(table.headerRows);
    applyWidths(table, format);
    table.table->setFormat(format);
    cursor_ = table.table->lastCursorPosition();
    cursor_.movePosition(QTextCursor::NextBlock);
    blockUnused_ = true;
    lists_.clear();
}

// Rows may sit inside content controls and custom XML, which only wrap them.
void BodyReader::readTableChildren(int depth, Table& table, int& columns) {
    checkDepth(depth);
    while (nextChild(xml_)) {
        if (isW(xml_, u"tblPr")) {
            readTableProperties(xml_, styles_, table);
        } else if (isW(xml_, u"tblGrid")) {
            table.columnWidths.clear();
            while (nextChild(xml_)) {
                if (isW(xml_, u"gridCol") && table.columnWidths.size() < maxGridColumns)
                    table.columnWidths.push_back(
                        std::clamp(Ooxml::numericValue(xml_, u"w").value_or(0), 0.0, maxTwips));
                xml_.skipCurrentElement();
            }
            columns = std::clamp(static_cast<int>(table.columnWidths.size()), 1, maxTableColumns);
        } else if (isW(xml_, u"tr")) {
            if (table.table == nullptr) {
                QTextTableFormat format;
                format.setBorder(1);
                format.setCellPadding(4);
                format.setCellSpacing(0);
                format.setBorderCollapse(true);
                if (pendingPageBreak_)
                    format.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
                pendingPageBreak_ = false;
                countBlocks(columns);
                table.table = cursor_.insertTable(1, columns, format);
                table.mergeStart.assign(static_cast<std::size_t>(columns), -1);
            }
            ++tableNesting_;
            readRow(depth + 1, table);
            --tableNesting_;
        } else if (isWrapper(xml_)) {
            readTableChildren(depth + 1, table, columns);
        } else {
            xml_.skipCurrentElement();
        }
    }
}

void BodyReader::readRow(int depth, Table& table) {
    checkDepth(depth);
    if (table.rows > 0) {
        countBlocks(table.table->columns());
        TableRows::reserve(*table.table, table.rows + 1);
    }
    ++table.rows;
    int column = 0;
    readCells(depth, table, column);
}

void BodyReader::readCells(int depth, Table& table, int& column) {
    checkDepth(depth);
    while (nextChild(xml_)) {
        if (isW(xml_, u"tc"))
            readCell(depth + 1, table, column);
        else if (isW(xml_, u"trPr"))
            readRowProperties(table);
        else if (isWrapper(xml_))
            readCells(depth + 1, table, column);
        else
            xml_.skipCurrentElement();
    }
}

void BodyReader::readCell(int depth, Table& table, int& column) {
    checkDepth(depth);
    CellProperties properties;
    bool placed = false;
    while (nextChild(xml_)) {
        if (!placed && isW(xml_, u"tcPr")) {
            properties = readCellProperties();
            continue;
        }
        if (!placed && !placeCell(table, column, properties)) {
            xml_.skipCurrentElement();
            skipRest();
            return;
        }
        placed = true;
        readBlockElement(depth);
    }
    if (!placed)
        placed = placeCell(table, column, properties);
    const std::pair<int, int> at{table.rows - 1, column - properties.span};
    if (placed && properties.borders.isSet())
        table.look.cells[at] = properties.borders;
    if (placed && properties.shading.isValid())
        table.look.shading[at] = properties.shading;
    if (placed && properties.margins.isSet())
        table.look.spaces[at] = properties.margins;
}

// A row marked as a header (w:tblHeader) repeats on each page while the rows above it do too.
void BodyReader::readRowProperties(Table& table) {
    bool header = false;
    while (nextChild(xml_)) {
        header = header || (isW(xml_, u"tblHeader") && Ooxml::isOn(xml_));
        xml_.skipCurrentElement();
    }
    if (header && table.headerRows == table.rows - 1)
        table.headerRows = table.rows;
}

BodyReader::CellProperties BodyReader::readCellProperties() {
    CellProperties properties;
    while (nextChild(xml_)) {
        if (isW(xml_, u"tcBorders")) {
            properties.borders = readBorders(xml_);
            continue;
        }
        if (isW(xml_, u"tcMar")) {
            properties.margins = readCellMargins(xml_);
            continue;
        }
        if (isW(xml_, u"shd")) {
            properties.shading = shadingOf(xml_).value_or(QColor());
        } else if (isW(xml_, u"gridSpan")) {
            properties.span = std::clamp(wAttribute(xml_, u"val").toInt(), 1, maxTableColumns);
        } else if (isW(xml_, u"vMerge")) {
            properties.merged = true;
            properties.restart = wAttribute(xml_, u"val") == u"restart";
        }
        xml_.skipCurrentElement();
    }
    return properties;
}

bool BodyReader::placeCell(Table& table, int& column, const CellProperties& properties) {
    QTextTable* grid = table.table;
    const int row = table.rows - 1;
    const int span = properties.span;
    if (column + span > maxTableColumns)
        return false;
    if (column + span > grid->columns()) {
        countBlocks((column + span - grid->columns()) * table.rows);
        grid->appendColumns(column + span - grid->columns());
        table.mergeStart.resize(static_cast<std::size_t>(grid->columns()), -1);
    }
    int& start = table.mergeStart[static_cast<std::size_t>(column)];
    if (properties.merged && !properties.restart && start >= 0) {
        // The format ignores a continuation cell's content; it only lengthens the cell above.
        table.merges[{start, column}].first = row - start + 1;
        column += span;
        return false;
    }
    start = properties.merged ? row : -1;
    if (span > 1 || properties.merged)
        table.merges[{row, column}] = {1, span};
    cursor_ = grid->cellAt(row, column).firstCursorPosition();
    cellParagraphs_ =
        table.look.paragraphsAt(row, column, static_cast<int>(table.columnWidths.size()));
    blockUnused_ = true;
    hasContent_ = false;
    lists_.clear();
    column += span;
    return true;
}

void BodyReader::skipRest() {
    while (nextChild(xml_))
        xml_.skipCurrentElement();
}

} // namespace kelvane::Docx
