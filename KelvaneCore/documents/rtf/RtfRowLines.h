#pragma once

#include "documents/TableLines.h"
#include "documents/rtf/RtfKeywords.h"

#include <QColor>

#include <array>
#include <optional>

namespace kelvane::Rtf {

// The lines a row definition gives its cells. Each \clbrdr or \trbrdr word names a side, and
// the border words after it say how that side is drawn; a side named without a line style has
// none.
class RowLines {
public:
    void name(BorderSide side);
    void draw(QTextFrameFormat::BorderStyle style); // BorderStyle_None: no line
    void setWidth(int twips);
    void setColor(const QColor& color);

    // The sides the cell whose \cellx comes now names of its own; the next cell starts afresh.
    TableLines::CellSides takeCellSides();
    // The sides of a cell: those it names, and the row's where it names none. The row's top
    // is the table's top on its first row and the line between rows below that.
    TableLines::CellSides resolve(const TableLines::CellSides& own, bool firstRow, bool firstCell,
                                  bool lastCell) const;
    // \trbrdrb: the line under the row when it is the table's last.
    std::optional<TableLines::Line> bottom() const { return sides_[rowBottom]; }

private:
    std::array<std::optional<TableLines::Line>, borderSides> sides_;
    int named_ = -1;    // the side the border words describe, or none
    double points_ = 0; // the width \brdrw gave the named side, or 0 for the usual one
    void setDrawnWidth(TableLines::Line& line) const;
};

} // namespace kelvane::Rtf
