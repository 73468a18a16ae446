#include "documents/CellSpacing.h"
#include "documents/TableRows.h"
#include "documents/TableWidths.h"
#include "documents/Units.h"
#include "documents/rtf/RtfBuilder.h"

#include <QTextTable>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <stdexcept>

namespace kelvane::Rtf {
namespace {

constexpr int maxColumns = 64;
constexpr int maxCells = 100000;
constexpr int edgeTolerance = 20; // twips: edges this close are one edge
constexpr int maxEdgeTwips = 1'000'000;
// Each merge rebuilds the table's grid: merges stop once they have cost this many cells, and
// the cells a file asks to merge beyond that stay apart.
constexpr long long mergeBudget = 4'000'000;
constexpr int maxPaddingTwips = 31680;

void checkSize(int rows, int columns) {
    if (rows * columns > maxCells)
        throw std::runtime_error("the RTF table has too many cells");
}

} // namespace

void Builder::endCell(const ParagraphEnd& end) {
    if (table_ && needBlock_ && !cellEnded_ && !rowEnded_) {
        // "text\par\cell" is how many writers end a cell; the empty paragraph is not meant.
        cellEnded_ = true;
        needBlock_ = false;
        return;
    }
    if (table_ && (cellEnded_ || rowEnded_)) {
        moveToPendingCell();
        if (needBlock_) { // an empty cell that another one covers leaves no paragraph there
            cellEnded_ = true;
            needBlock_ = false;
            return;
        }
    }
    enter(true);
    applyParagraph(end);
    cellEnded_ = true;
}

void Builder::endRow() {
    if (!table_)
        return;
    rowEnded_ = true;
    cellEnded_ = false;
}

void Builder::defineRow() {
    rowDefinition_.clear();
    rowLeft_ = 0;
    rowPadding_ = {};
    rowGap_.reset();
    rowLines_ = {};
    headerRow_ = false;
    nextMerge_ = CellMerge::none;
    nextShading_ = QColor();
    nextPadding_ = {};
}

void Builder::setRowLeft(int twips) {
    rowLeft_ = std::clamp(twips, -maxEdgeTwips, maxEdgeTwips);
}

void Builder::setRowPadding(int side, int twips) {
    const int bounded = std::clamp(twips, 0, maxPaddingTwips);
    if (side < 0)
        rowGap_ = bounded;
    else if (side < static_cast<int>(rowPadding_.size()))
        rowPadding_[static_cast<std::size_t>(side)] = bounded;
}

void Builder::setCellPadding(int side, int twips) {
    if (side >= 0 && side < static_cast<int>(nextPadding_.size()))
        nextPadding_[static_cast<std::size_t>(side)] = std::clamp(twips, 0, maxPaddingTwips);
}

void Builder::markHeaderRow() {
    headerRow_ = true;
}

void Builder::addCellBoundary(int right) {
    if (rowDefinition_.size() < maxColumns)
        rowDefinition_.push_back({std::clamp(right, 0, maxEdgeTwips), nextMerge_,
                                  rowLines_.takeCellSides(), nextShading_, nextPadding_});
    nextMerge_ = CellMerge::none;
    nextShading_ = QColor();
    nextPadding_ = {};
}

void Builder::shadeCell(const QColor& color) {
    nextShading_ = color;
}

void Builder::mergeCell(CellMerge merge) {
    nextMerge_ = merge;
}

void Builder::startTable() {
    QTextTableFormat format;
    format.setBorder(0);
    format.setCellPadding(4);
    format.setCellSpacing(0);
    format.setBorderCollapse(true);
    gridKnown_ = !rowDefinition_.empty();
    grid_.clear();
    table_ = cursor_.insertTable(
        1, gridKnown_ ? 1 : std::max(static_cast<int>(rowDefinition_.size()), 1), format);
    if (gridKnown_)
        grid_.push_back(rowDefinition_.front().right);
    gridLeft_ = rowLeft_;
    lists_.clear();
    lines_.clear();
    shading_.clear();
    padding_.clear();
    headerRows_ = 0;
    row_ = 0;
    cell_ = 0;
    column_ = 0;
    cellEnded_ = false;
    rowEnded_ = false;
    layOutRow(0);
    moveToCell(0, 0);
}

void Builder::leaveTable() {
    finishTable();
    cursor_ = table_->lastCursorPosition();
    cursor_.movePosition(QTextCursor::NextBlock);
    table_ = nullptr;
    lists_.clear();
    needBlock_ = false;
    blockTouched_ = false;
    breakBefore_ = pendingBreak_;
    pendingBreak_ = false;
}

void Builder::finishTable() {
    TableRows::trim(*table_, row_ + 1);
    for (const auto& at : rowBottomCells_) {
        if (at.first + table_->cellAt(at.first, at.second).rowSpan() == table_->rows())
            lines_[at][TableLines::bottom] = rowBottom_;
    }
    QTextTableFormat format = table_->format();
    if (gridKnown_ && static_cast<int>(grid_.size()) == table_->columns()) {
        std::vector<double> widths;
        for (std::size_t column = 0; column < grid_.size(); ++column)
            widths.push_back(Units::pointsFromTwips(
                std::max(grid_[column] - (column > 0 ? grid_[column - 1] : gridLeft_), 0)));
        TableWidths::apply(format, widths);
    }
    TableLines::apply(*table_, lines_, format);
    format.setHeaderRowCount(headerRows_);
    table_->setFormat(format);
    setCellFormats();
    CellSpacing::keepParagraphSpacing(*table_);
}

// The shading and room inside the cells the rows gave them.
void Builder::setCellFormats() {
    std::set<std::pair<int, int>> places;
    for (const auto& entry : shading_)
        places.insert(entry.first);
    for (const auto& entry : padding_)
        places.insert(entry.first);
    // Setting a cell's format makes the table look its grid up afresh: find every cell first.
    std::vector<std::pair<QTextTableCell, std::pair<int, int>>> cells;
    for (const auto& at : places)
        cells.emplace_back(table_->cellAt(at.first, at.second), at);
    for (auto& [cell, at] : cells) {
        QTextTableCellFormat format = cell.format().toTableCellFormat();
        if (const auto color = shading_.find(at); color != shading_.end())
            format.setBackground(color->second);
        if (const auto room = padding_.find(at); room != padding_.end()) {
            const auto pixels = [&](TableLines::Side side) {
                return Units::pixelsFromPoints(
                    Units::pointsFromTwips(room->second[static_cast<std::size_t>(side)]));
            };
            CellSpacing::setPadding(format, pixels);
        }
        cell.setFormat(format);
    }
}

// Fits the row's cell edges into the table's columns and merges the grid cells each cell
// spans, across and, for \clvmrg, down into the cell above.
void Builder::layOutRow(int row) {
    cellColumns_.clear();
    rowBottomCells_.clear();
    rowBottom_ = rowLines_.bottom();
    if (headerRow_ && headerRows_ == row)
        ++headerRows_;
    for (const CellDefinition& cell : rowDefinition_) {
        if (gridKnown_)
            fitBoundary(cell.right, row);
    }
    std::vector<int> ends; // the last column of each cell
    for (const CellDefinition& cell : rowDefinition_) {
        const auto edge = std::lower_bound(grid_.begin(), grid_.end(), cell.right - edgeTolerance);
        ends.push_back(static_cast<int>(edge - grid_.begin()));
        if (edge == grid_.end() || (ends.size() > 1 && ends.back() <= ends[ends.size() - 2]))
            gridKnown_ = false; // edges out of order or one on top of the other
    }
    if (!gridKnown_) {
        if (static_cast<int>(rowDefinition_.size()) > table_->columns()) {
            checkSize(row + 1, static_cast<int>(rowDefinition_.size()));
            table_->appendColumns(static_cast<int>(rowDefinition_.size()) - table_->columns());
        }
        return;
    }
    int start = 0;
    for (std::size_t i = 0; i < rowDefinition_.size(); ++i) {
        const int end = ends[i];
        const CellMerge merge = rowDefinition_[i].merge;
        if (merge == CellMerge::across && !cellColumns_.empty()) {
            const int first = cellColumns_.back();
            mergeCells(row, first, 1, end - first + 1);
            cellColumns_.push_back(first);
        } else {
            mergeCells(row, start, 1, end - start + 1);
            const QTextTableCell above =
                row > 0 ? table_->cellAt(row - 1, start) : QTextTableCell();
            if (merge == CellMerge::down && above.isValid() && above.column() == start &&
                above.columnSpan() == end - start + 1)
                mergeCells(above.row(), start, row - above.row() + 1, end - start + 1);
            cellColumns_.push_back(start);
        }
        start = end + 1;
    }
}

// Makes `right` the edge of a column, splitting the column it falls into: the cells of the
// rows above then span both halves.
void Builder::fitBoundary(int right, int row) {
    const auto edge = std::lower_bound(grid_.begin(), grid_.end(), right - edgeTolerance);
    const int index = static_cast<int>(edge - grid_.begin());
    if (edge != grid_.end() && std::abs(*edge - right) <= edgeTolerance)
        return;
    if (table_->columns() >= maxColumns) {
        gridKnown_ = false;
        return;
    }
    checkSize(row + 1, table_->columns() + 1);
    if (edge == grid_.end()) {
        table_->appendColumns(1);
        grid_.push_back(right);
        return;
    }
    table_->insertColumns(index + 1, 1);
    grid_.insert(edge, right);
    for (int above = 0; above < row && gridKnown_; ++above) {
        const QTextTableCell cell = table_->cellAt(above, index);
        if (cell.column() + cell.columnSpan() - 1 == index)
            gridKnown_ =
                mergeCells(cell.row(), cell.column(), cell.rowSpan(), cell.columnSpan() + 1);
    }
}

bool Builder::mergeCells(int row, int column, int rows, int columns) {
    if (rows * columns <= 1)
        return true;
    mergeCost_ += static_cast<long long>(table_->rows()) * table_->columns();
    if (mergeCost_ > mergeBudget)
        return false;
    table_->mergeCells(row, column, rows, columns);
    return true;
}

void Builder::moveToPendingCell() {
    if (rowEnded_) {
        checkSize(row_ + 2, table_->columns());
        TableRows::reserve(*table_, row_ + 2);
        layOutRow(row_ + 1);
        moveToCell(row_ + 1, 0);
    } else if (cellEnded_) {
        moveToCell(row_, cell_ + 1);
    }
}

// The column a row's cell starts in. Cells past those the row defines take the next column,
// and past the last column a table may have they share the last one.
int Builder::columnOf(int cell) {
    if (gridKnown_ && cell < static_cast<int>(cellColumns_.size()))
        return cellColumns_[static_cast<std::size_t>(cell)];
    gridKnown_ = false;
    if (cell == 0)
        return 0;
    const QTextTableCell current = table_->cellAt(row_, column_);
    const int next = current.column() + current.columnSpan();
    if (next >= table_->columns() && table_->columns() < maxColumns) {
        checkSize(row_ + 2, table_->columns() + 1); // rows made ahead are not counted
        table_->appendColumns(1);
    }
    return std::min(next, table_->columns() - 1);
}

void Builder::moveToCell(int row, int cell) {
    const int column = columnOf(cell);
    const QTextTableCell target = table_->cellAt(row, column);
    // A cell that began above or to the left, or the one just ended, takes more paragraphs.
    const bool covered = target.row() != row || target.column() != column ||
                         (cellEnded_ && target == table_->cellAt(row_, column_));
    cursor_ = covered ? target.lastCursorPosition() : target.firstCursorPosition();
    recordCellLook(row, cell, target);
    row_ = row;
    cell_ = cell;
    column_ = column;
    cellEnded_ = false;
    rowEnded_ = false;
    needBlock_ = covered;
    blockTouched_ = false;
    breakBefore_ = false;
}

// Notes the lines and shading of the row's `cell`th cell, which lies in `target`: all of them
// when the cell starts there, else the sides it adds to a cell merged across or down.
void Builder::recordCellLook(int row, int cell, const QTextTableCell& target) {
    if (cell >= static_cast<int>(rowDefinition_.size()))
        return;
    const CellDefinition& definition = rowDefinition_[static_cast<std::size_t>(cell)];
    const bool lastCell = cell + 1 == static_cast<int>(rowDefinition_.size());
    const TableLines::CellSides sides =
        rowLines_.resolve(definition.sides, row == 0, cell == 0, lastCell);
    const std::pair<int, int> start{target.row(), target.column()};
    TableLines::CellSides& lines = lines_[start];
    if (target.row() != row) {
        lines[TableLines::bottom] = sides[TableLines::bottom];
    } else if (definition.merge == CellMerge::across) {
        lines[TableLines::right] = sides[TableLines::right];
    } else {
        lines = sides;
        if (definition.shading.isValid())
            shading_[start] = definition.shading;
        recordPadding(start, definition);
    }
    if (!definition.sides[TableLines::bottom])
        rowBottomCells_.push_back(start);
}

// The room inside a cell: its own at each side it gives, else its row's, where either says any.
void Builder::recordPadding(std::pair<int, int> start, const CellDefinition& definition) {
    if (!rowGap_ && !TableLines::anySet(rowPadding_) && !TableLines::anySet(definition.padding))
        return;
    const int gap = rowGap_.value_or(0);
    const std::array<int, 4> row{rowPadding_[0].value_or(0), rowPadding_[1].value_or(gap),
                                 rowPadding_[2].value_or(0), rowPadding_[3].value_or(gap)};
    std::array<int, 4>& room = padding_[start];
    for (std::size_t side = 0; side < room.size(); ++side)
        room[side] = definition.padding[side].value_or(row[side]);
}

} // namespace kelvane::Rtf
