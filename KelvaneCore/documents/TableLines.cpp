#include "documents/TableLines.h"

#include "documents/NamedValues.h"
#include "documents/Units.h"

#include <QTextTable>

#include <algorithm>
#include <functional>
#include <vector>

namespace kelvane::TableLines {
namespace {

using Cells = std::map<std::pair<int, int>, CellSides>;

bool isDrawn(const std::optional<Line>& line) {
    return line && line->points > 0;
}

// Whether the cell covering a place of the grid draws its `side`.
bool drawsAt(const QTextTable& grid, const Cells& cells, int row, int column, Side side) {
    const QTextTableCell cell = grid.cellAt(row, column);
    if (!cell.isValid())
        return false;
    const auto found = cells.find({cell.row(), cell.column()});
    return found != cells.end() && isDrawn(found->second[side]);
}

// Which sides of a cell have a line, its own or its neighbour's.
std::array<bool, 4> linedSides(const QTextTable& grid, const Cells& cells,
                               const QTextTableCell& cell, const CellSides& sides) {
    const int row = cell.row();
    const int column = cell.column();
    return {isDrawn(sides[top]) || drawsAt(grid, cells, row - 1, column, bottom),
            isDrawn(sides[left]) || drawsAt(grid, cells, row, column - 1, right),
            isDrawn(sides[bottom]) || drawsAt(grid, cells, row + cell.rowSpan(), column, top),
            isDrawn(sides[right]) || drawsAt(grid, cells, row, column + cell.columnSpan(), left)};
}

// The format properties of each side, in the order of `Side`.
struct SideProperties {
    QTextFormat::Property width, style, brush;
};
constexpr SideProperties sideProperties[] = {
    {QTextFormat::TableCellTopBorder, QTextFormat::TableCellTopBorderStyle,
     QTextFormat::TableCellTopBorderBrush},
    {QTextFormat::TableCellLeftBorder, QTextFormat::TableCellLeftBorderStyle,
     QTextFormat::TableCellLeftBorderBrush},
    {QTextFormat::TableCellBottomBorder, QTextFormat::TableCellBottomBorderStyle,
     QTextFormat::TableCellBottomBorderBrush},
    {QTextFormat::TableCellRightBorder, QTextFormat::TableCellRightBorderStyle,
     QTextFormat::TableCellRightBorderBrush}};

void setSide(QTextTableCellFormat& format, Side side, const Line& line) {
    const SideProperties& properties = sideProperties[side];
    format.setProperty(properties.width, Units::pixelsFromPoints(line.points));
    format.setProperty(properties.style, line.style);
    format.setProperty(properties.brush, QBrush(line.color));
}

} // namespace

void apply(QTextTable& grid, const Cells& cells, QTextTableFormat& format) {
    if (cells.empty()) {
        format.setBorder(0);
        return;
    }
    bool everyLine = true;
    bool anyLine = false;
    for (int row = 0; row < grid.rows(); ++row) {
        for (int column = 0; column < grid.columns(); ++column) {
            const QTextTableCell cell = grid.cellAt(row, column);
            if (cell.row() != row || cell.column() != column)
                continue; // covered by a merged cell
            const auto found = cells.find({row, column});
            const auto lined =
                linedSides(grid, cells, cell, found != cells.end() ? found->second : CellSides{});
            everyLine = everyLine && std::all_of(lined.begin(), lined.end(), std::identity());
            anyLine = anyLine || std::any_of(lined.begin(), lined.end(), std::identity());
        }
    }

    format.setBorder(everyLine && anyLine ? 1 : 0);
    if (everyLine || !anyLine)
        return;
    // Setting a cell's format makes the table look its grid up afresh: find every cell first.
    std::vector<std::pair<QTextTableCell, const CellSides*>> lined;
    for (const auto& [at, sides] : cells) {
        const QTextTableCell cell = grid.cellAt(at.first, at.second);
        if (cell.row() == at.first && cell.column() == at.second &&
            std::any_of(sides.begin(), sides.end(), isDrawn))
            lined.emplace_back(cell, &sides);
    }
    for (auto& [cell, sides] : lined) {
        QTextTableCellFormat cellFormat = cell.format().toTableCellFormat();
        for (const Side side : {top, left, bottom, right}) {
            if (isDrawn((*sides)[side]))
                setSide(cellFormat, side, *(*sides)[side]);
        }
        cell.setFormat(cellFormat);
    }
}

using Style = QTextFrameFormat::BorderStyle;
constexpr NamedValues::Entry<Style> cssStyles[] = {
    {u"solid", Style::BorderStyle_Solid},   {u"double", Style::BorderStyle_Double},
    {u"dotted", Style::BorderStyle_Dotted}, {u"dashed", Style::BorderStyle_Dashed},
    {u"groove", Style::BorderStyle_Groove}, {u"ridge", Style::BorderStyle_Ridge},
    {u"inset", Style::BorderStyle_Inset},   {u"outset", Style::BorderStyle_Outset},
};

std::optional<QTextFrameFormat::BorderStyle> styleNamed(QStringView name) {
    return NamedValues::valueNamed(cssStyles, name);
}

QString styleName(QTextFrameFormat::BorderStyle style) {
    if (style == Style::BorderStyle_DotDash || style == Style::BorderStyle_DotDotDash)
        return QStringLiteral("dashed");
    return NamedValues::nameOf(cssStyles, style).value_or(QStringLiteral("solid"));
}

CellSides sidesOf(const QTextTableCellFormat& format) {
    CellSides lines;
    for (std::size_t side = 0; side < lines.size(); ++side) {
        const SideProperties& properties = sideProperties[side];
        const double width = format.doubleProperty(properties.width);
        const auto style =
            static_cast<QTextFrameFormat::BorderStyle>(format.intProperty(properties.style));
        if (format.hasProperty(properties.style) && width > 0 &&
            style != QTextFrameFormat::BorderStyle_None)
            lines[side] = Line{Units::pointsFromPixels(width),
                               format.brushProperty(properties.brush).color(), style};
    }
    return lines;
}

} // namespace kelvane::TableLines
