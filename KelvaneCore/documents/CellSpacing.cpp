#include "documents/CellSpacing.h"

#include <QTextDocument>
#include <QTextTable>

#include <utility>
#include <vector>

namespace kelvane::CellSpacing {

void keepParagraphSpacing(QTextTable& table) {
    const QTextDocument& document = *table.document();
    const double padding = table.format().cellPadding();
    // Setting a cell's format makes the table look its grid up afresh: find every cell first.
    std::vector<std::pair<QTextTableCell, std::pair<double, double>>> spaced;
    for (int row = 0; row < table.rows(); ++row) {
        for (int column = 0; column < table.columns(); ++column) {
            const QTextTableCell cell = table.cellAt(row, column);
            if (cell.row() != row || cell.column() != column)
                continue;
            const double above = document.findBlock(cell.firstPosition()).blockFormat().topMargin();
            const double below =
                document.findBlock(cell.lastPosition()).blockFormat().bottomMargin();
            if (above > 0 || below > 0)
                spaced.emplace_back(cell, std::pair{above, below});
        }
    }
    for (auto& [cell, space] : spaced) {
        QTextTableCellFormat format = cell.format().toTableCellFormat();
        const auto paddingOf = [&](QTextFormat::Property side) {
            return format.hasProperty(side) ? format.doubleProperty(side) : padding;
        };
        format.setTopPadding(paddingOf(QTextFormat::TableCellTopPadding) + space.first);
        format.setBottomPadding(paddingOf(QTextFormat::TableCellBottomPadding) + space.second);
        cell.setFormat(format);
    }
}

} // namespace kelvane::CellSpacing
