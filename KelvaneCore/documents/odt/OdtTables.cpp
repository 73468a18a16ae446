#include "documents/CellSpacing.h"
#include "documents/TableLines.h"
#include "documents/TableWidths.h"
#include "documents/Units.h"
#include "documents/odt/OdtBodyReader.h"

#include <QTextTable>

#include <algorithm>

namespace kelvane::Odt {
namespace {

constexpr int maxTableColumns = 64;
constexpr int maxTableRows = 1000;

} // namespace

void BodyReader::readTable(int depth) {
    // Paragraphs in cells belong to no list around the table.
    auto outerLists = std::exchange(lists_, {});
    Table table;
    readTableRows(depth + 1, table);
    if (table.table) {
        applyMerges(table);
        QTextTableFormat format = table.table->format();
        TableLines::apply(*table.table, table.lines, format);
        format.setHeaderRowCount(std::min(table.headerRows, table.table->rows()));
        table.table->setFormat(format);
        applyWidths(table);
        applyPadding(table);
        CellSpacing::keepParagraphSpacing(*table.table);
        cursor_ = table.table->lastCursorPosition();
        cursor_.movePosition(QTextCursor::NextBlock);
        blockUnused_ = true;
        hasContent_ = false;
        pendingSpace_ = false;
    }
    lists_ = std::move(outerLists);
}

void BodyReader::readTableRows(int depth, Table& table) {
    checkDepth(depth);
    while (xml_.readNextStartElement()) {
        if (isElement(xml_, ns::table, u"table-row")) {
            readRow(depth, table);
        } else if (isElement(xml_, ns::table, u"table-header-rows")) {
            // Heading rows at the top of the table repeat on every page.
            const bool atTop = table.rows == 0;
            readTableRows(depth + 1, table);
            if (atTop)
                table.headerRows = table.rows;
        } else if (isElement(xml_, ns::table, u"table-rows") ||
                   isElement(xml_, ns::table, u"table-row-group")) {
            readTableRows(depth + 1, table);
        } else if (isElement(xml_, ns::table, u"table-column")) {
            readColumn(table);
        } else if (isElement(xml_, ns::table, u"table-columns") ||
                   isElement(xml_, ns::table, u"table-header-columns") ||
                   isElement(xml_, ns::table, u"table-column-group")) {
            readTableRows(depth + 1, table);
        } else {
            xml_.skipCurrentElement(); // titles
        }
    }
}

// Covered cells hold nothing as a rule; whatever they hold joins the merged cell. A span
// past the table's last row or column ends there.
void BodyReader::applyMerges(Table& table) {
    QTextTable& grid = *table.table;
    for (const Table::Merge& merge : table.merges)
        grid.mergeCells(merge.row, merge.column, std::min(merge.rows, grid.rows() - merge.row),
                        std::min(merge.columns, grid.columns() - merge.column));
}

void BodyReader::readColumn(Table& table) {
    const int free = maxTableColumns - static_cast<int>(table.columnWidths.size());
    const int repeat = boundedCount(xml_, ns::table, "number-columns-repeated", free);
    const double width = styles_.columnWidth(attribute(xml_, ns::table, "style-name")).value_or(0);
    if (free > 0)
        table.columnWidths.insert(table.columnWidths.end(), static_cast<std::size_t>(repeat),
                                  width);
    xml_.skipCurrentElement();
}

// Columns in proportion to their styles' widths, the table as wide as they add up to and
// never wider than the text; left to the layout when a column has no width.
void BodyReader::applyWidths(Table& table) const {
    const std::vector<double>& widths = table.columnWidths;
    if (std::any_of(widths.begin(), widths.end(), [](double width) { return width <= 0; }))
        return;
    QTextTableFormat format = table.table->format();
    TableWidths::apply(format, widths);
    table.table->setFormat(format);
}

void BodyReader::readRow(int depth, Table& table) {
    if (table.rows >= maxTableRows) {
        xml_.skipCurrentElement();
        return;
    }
    const int repeat =
        boundedCount(xml_, ns::table, "number-rows-repeated", maxTableRows - table.rows);
    const int row = table.rows++;
    int column = 0;
    while (xml_.readNextStartElement()) {
        const bool cell = isElement(xml_, ns::table, u"table-cell") ||
                          isElement(xml_, ns::table, u"covered-table-cell");
        if (!cell || column >= maxTableColumns) {
            xml_.skipCurrentElement();
            continue;
        }
        const int copies = spendRepeats(
            boundedCount(xml_, ns::table, "number-columns-repeated", maxTableColumns - column) - 1);
        cellAt(table, row, column + copies); // grow the grid once, not per copy
        cursor_ = cellAt(table, row, column).firstCursorPosition();
        blockUnused_ = true;
        const int columnsSpanned =
            isElement(xml_, ns::table, u"table-cell")
                ? boundedCount(xml_, ns::table, "number-columns-spanned", maxTableColumns - column)
                : 1;
        const int rowsSpanned =
            isElement(xml_, ns::table, u"table-cell")
                ? boundedCount(xml_, ns::table, "number-rows-spanned", maxTableRows - row)
                : 1;
        if ((columnsSpanned > 1 || rowsSpanned > 1) && copies == 0)
            table.merges.push_back({row, column, rowsSpanned, columnsSpanned});
        const QString cellStyle = attribute(xml_, ns::table, "style-name");
        const QColor background = styles_.cellBackground(cellStyle);
        const TableLines::CellSides lines = styles_.cellLines(cellStyle);
        const CellPadding padding = styles_.cellPadding(cellStyle);
        const bool padded = TableLines::anySet(padding);
        for (int copy = 0; copy <= copies; ++copy) {
            table.lines[{row, column + copy}] = lines;
            if (padded)
                table.padding[{row, column + copy}] = padding;
        }
        readBlocks(depth + 1);
        if (background.isValid()) {
            // After the content: the cell's format is that of its first paragraph's characters.
            QTextTableCell target = table.table->cellAt(row, column);
            QTextCharFormat format = target.format();
            format.setBackground(background);
            target.setFormat(format);
        }
        const CellContents contents = copies > 0 ? contentsOf(table, row, column) : CellContents{};
        for (int copy = 1; copy <= copies; ++copy)
            paste(table, row, column + copy, contents);
        column += copies + 1;
    }
    if (table.table)
        repeatRow(table, row,
                  spendRepeats((repeat - 1) * table.table->columns()) /
                      std::max(table.table->columns(), 1));
}

// The room the cells' styles give them; the table's own padding at the sides they leave out.
void BodyReader::applyPadding(Table& table) const {
    const double tablePadding = table.table->format().cellPadding();
    // Setting a cell's format makes the table look its grid up afresh: find every cell first.
    std::vector<std::pair<QTextTableCell, CellPadding>> padded;
    for (const auto& [at, padding] : table.padding) {
        const QTextTableCell cell = table.table->cellAt(at.first, at.second);
        if (cell.row() == at.first && cell.column() == at.second)
            padded.emplace_back(cell, padding);
    }
    for (auto& [cell, padding] : padded) {
        QTextTableCellFormat format = cell.format().toTableCellFormat();
        const auto pixels = [&room = padding, tablePadding](TableLines::Side side) {
            return room[side] ? Units::pixelsFromPoints(*room[side]) : tablePadding;
        };
        CellSpacing::setPadding(format, pixels);
        cell.setFormat(format);
    }
}

void BodyReader::repeatRow(Table& table, int row, int copies) {
    if (copies <= 0)
        return;
    std::vector<CellContents> cells;
    for (int c = 0; c < table.table->columns(); ++c)
        cells.push_back(contentsOf(table, row, c));
    // All rows at once: Qt rebuilds the table's grid for every insertion.
    table.table->appendRows(std::max(table.rows + copies - table.table->rows(), 0));
    for (int copy = 0; copy < copies; ++copy) {
        const int to = table.rows++;
        for (int c = 0; c < static_cast<int>(cells.size()); ++c) {
            paste(table, to, c, cells[static_cast<std::size_t>(c)]);
            if (const auto lines = table.lines.find({row, c}); lines != table.lines.end())
                table.lines[{to, c}] = lines->second;
            if (const auto padding = table.padding.find({row, c}); padding != table.padding.end())
                table.padding[{to, c}] = padding->second;
        }
    }
}

// Cells made by repetition are few in real documents; a file must not make millions of
// them across many tables.
int BodyReader::spendRepeats(int cells) {
    const int spent = std::clamp(cells, 0, repeatBudget_);
    repeatBudget_ -= spent;
    return spent;
}

QTextTableCell BodyReader::cellAt(Table& table, int row, int column) {
    if (!table.table) {
        QTextTableFormat format;
        format.setBorderStyle(QTextFrameFormat::BorderStyle_Solid);
        format.setCellPadding(4);
        format.setBorderCollapse(true);
        table.table = cursor_.insertTable(row + 1, column + 1, format);
    }
    if (table.table->rows() <= row)
        table.table->appendRows(row + 1 - table.table->rows());
    if (table.table->columns() <= column)
        table.table->appendColumns(column + 1 - table.table->columns());
    return table.table->cellAt(row, column);
}

// One fragment per repeated cell, pasted into every copy: building a fragment is costly.
BodyReader::CellContents BodyReader::contentsOf(const Table& table, int row, int column) const {
    const QTextTableCell cell = table.table->cellAt(row, column);
    const int length = cell.lastPosition() - cell.firstPosition();
    if (length <= 0)
        return {};
    QTextCursor selection = cell.firstCursorPosition();
    selection.setPosition(cell.lastPosition(), QTextCursor::KeepAnchor);
    return {selection.selection(), length};
}

void BodyReader::paste(Table& table, int row, int column, const CellContents& contents) {
    const QTextTableCell cell = cellAt(table, row, column);
    if (contents.length <= 0 || contents.length > copyBudget_)
        return;
    copyBudget_ -= contents.length;
    cell.firstCursorPosition().insertFragment(contents.fragment);
}

} // namespace kelvane::Odt
