#include "documents/rtf/RtfRowLines.h"

#include <algorithm>

namespace kelvane::Rtf {
namespace {

constexpr double thickestPoints = 6; // the widest border a word processor offers

} // namespace

void RowLines::name(BorderSide side) {
    named_ = side;
    points_ = 0;
    sides_[side] = TableLines::Line{0, Qt::black};
}

void RowLines::draw(QTextFrameFormat::BorderStyle style) {
    if (named_ < 0)
        return;
    auto& line = sides_[static_cast<std::size_t>(named_)];
    line->style = style;
    if (style == QTextFrameFormat::BorderStyle_None)
        line->points = 0;
    else
        setDrawnWidth(*line);
}

void RowLines::setWidth(int twips) {
    if (named_ < 0)
        return;
    points_ = std::clamp(twips / 20.0, 0.25, thickestPoints);
    auto& line = sides_[static_cast<std::size_t>(named_)];
    if (line->points > 0)
        setDrawnWidth(*line);
}

void RowLines::setDrawnWidth(TableLines::Line& line) const {
    line.points = points_ > 0 ? points_ : TableLines::thinLine().points;
}

void RowLines::setColor(const QColor& color) {
    if (named_ >= 0)
        sides_[static_cast<std::size_t>(named_)]->color = color.isValid() ? color : Qt::black;
}

TableLines::CellSides RowLines::takeCellSides() {
    TableLines::CellSides own;
    std::copy_n(sides_.begin(), own.size(), own.begin());
    std::fill_n(sides_.begin(), own.size(), std::nullopt);
    named_ = -1;
    return own;
}

TableLines::CellSides RowLines::resolve(const TableLines::CellSides& own, bool firstRow,
                                        bool firstCell, bool lastCell) const {
    TableLines::CellSides sides = own;
    using TableLines::Side;
    if (!sides[Side::top])
        sides[Side::top] = sides_[firstRow ? rowTop : rowInsideHorizontal];
    if (!sides[Side::bottom])
        sides[Side::bottom] = sides_[rowInsideHorizontal];
    if (!sides[Side::left])
        sides[Side::left] = sides_[firstCell ? rowLeft : rowInsideVertical];
    if (!sides[Side::right])
        sides[Side::right] = sides_[lastCell ? rowRight : rowInsideVertical];
    return sides;
}

} // namespace kelvane::Rtf
