#pragma once

#include <QColor>

#include <array>
#include <map>
#include <optional>
#include <utility>

class QTextTable;
class QTextTableCellFormat;
class QTextTableFormat;

// The lines around the cells of a table, as every reader resolves them from its format: each
// cell's four sides, a line or none.
namespace kelvane::TableLines {

struct Line {
    double points = 0; // 0: no line
    QColor color;
};

// The line of a table drawn as a plain grid.
inline Line thinLine() {
    return {0.5, Qt::black};
}

enum Side { top, left, bottom, right };
using CellSides = std::array<std::optional<Line>, 4>; // by `Side`; unset sides draw nothing

// Draws the lines on `grid`, its cells already merged, from the sides of its cells by row and
// column: a grid of thin lines when every side of every cell has one, no lines when none has,
// else each cell's sides as given. A line between two cells is drawn when either has it. The
// grid's border goes into `format`, for the caller to set with the rest of it.
void apply(QTextTable& grid, const std::map<std::pair<int, int>, CellSides>& cells,
           QTextTableFormat& format);

// The sides a cell's format draws of its own, as `apply` set them.
CellSides sidesOf(const QTextTableCellFormat& format);

} // namespace kelvane::TableLines
