#pragma once

#include <QColor>
#include <QString>
#include <QTextFormat>

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
    double points = 0; // 0: no line; of each line of a double one
    QColor color;
    QTextFrameFormat::BorderStyle style = QTextFrameFormat::BorderStyle_Solid;
};

// The line of a table drawn as a plain grid.
inline Line thinLine() {
    return {0.5, Qt::black, QTextFrameFormat::BorderStyle_Solid};
}

enum Side { top, left, bottom, right };
using CellSides = std::array<std::optional<Line>, 4>; // by `Side`; unset sides draw nothing

// Whether any of a cell's sides is set, for lines or any other value given side by side.
template <typename Value, std::size_t count>
bool anySet(const std::array<std::optional<Value>, count>& sides) {
    for (const auto& side : sides) {
        if (side)
            return true;
    }
    return false;
}

// Draws the lines on `grid`, its cells already merged, from the sides of its cells by row and
// column: a grid of thin lines when every side of every cell has one, no lines when none has,
// else each cell's sides as given. A line between two cells is drawn when either has it. The
// grid's border goes into `format`, for the caller to set with the rest of it.
void apply(QTextTable& grid, const std::map<std::pair<int, int>, CellSides>& cells,
           QTextTableFormat& format);

// OpenDocument's width of a double line takes in both lines and the gap between; the width of
// a `Line`, as in DOCX and RTF, is that of each of the two.
inline double widthsAcross(QTextFrameFormat::BorderStyle style) {
    return style == QTextFrameFormat::BorderStyle_Double ? 3 : 1;
}

// A line style by its CSS name ("solid", "double", "dashed"…), as OpenDocument names them,
// and back; the dash and dot patterns CSS has no name for are "dashed".
std::optional<QTextFrameFormat::BorderStyle> styleNamed(QStringView name);
QString styleName(QTextFrameFormat::BorderStyle style);

// The sides a cell's format draws of its own, as `apply` set them.
CellSides sidesOf(const QTextTableCellFormat& format);

} // namespace kelvane::TableLines
