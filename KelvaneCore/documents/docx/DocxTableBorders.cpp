#include "documents/docx/DocxTableBorders.h"

#include "documents/docx/Ooxml.h"

#include <QTextTable>

#include <algorithm>

namespace kelvane::Docx {

using Ooxml::isW;
using Ooxml::nextChild;
using Ooxml::wAttribute;

namespace {

using TableLines::CellSides;
using TableLines::Line;

constexpr double maxBorderPoints = 12; // the widest line the format allows

std::optional<Borders::Side> sideOf(const QXmlStreamReader& xml) {
    if (isW(xml, u"top"))
        return Borders::top;
    if (isW(xml, u"left") || isW(xml, u"start"))
        return Borders::left;
    if (isW(xml, u"bottom"))
        return Borders::bottom;
    if (isW(xml, u"right") || isW(xml, u"end"))
        return Borders::right;
    if (isW(xml, u"insideH"))
        return Borders::insideH;
    if (isW(xml, u"insideV"))
        return Borders::insideV;
    return std::nullopt;
}

// One side's line: its width is given in eighths of a point.
Line lineOf(const QXmlStreamReader& xml) {
    const QString line = wAttribute(xml, u"val");
    if (line.isEmpty() || line == u"none" || line == u"nil")
        return {};
    const double eighths = Ooxml::numericValue(xml, u"sz").value_or(4);
    const QString color = wAttribute(xml, u"color");
    const auto style = lineStyleOf(line);
    return {std::clamp(eighths / 8, 0.25, maxBorderPoints),
            color.size() == 6 ? QColor(u'#' + color) : QColor(Qt::black), style};
}

using Style = QTextFrameFormat::BorderStyle;
constexpr std::pair<const char16_t*, Style> lineStyles[] = {
    {u"single", Style::BorderStyle_Solid},         {u"double", Style::BorderStyle_Double},
    {u"dotted", Style::BorderStyle_Dotted},        {u"dashed", Style::BorderStyle_Dashed},
    {u"dotDash", Style::BorderStyle_DotDash},      {u"dotDotDash", Style::BorderStyle_DotDotDash},
    {u"threeDEngrave", Style::BorderStyle_Groove}, {u"threeDEmboss", Style::BorderStyle_Ridge},
    {u"inset", Style::BorderStyle_Inset},          {u"outset", Style::BorderStyle_Outset},
    {u"triple", Style::BorderStyle_Double},        {u"dashSmallGap", Style::BorderStyle_Dashed},
};

// Where a cell lies in its table, merged cells counted whole.
struct Place {
    bool firstRow, lastRow, firstColumn, lastColumn;
};

// The sides `borders` gives a cell at `place`: the table's outer lines at its edges, the
// inside ones elsewhere.
CellSides sidesAt(const Borders& borders, Place place) {
    const auto& side = borders.sides;
    return {place.firstRow ? side[Borders::top] : side[Borders::insideH],
            place.firstColumn ? side[Borders::left] : side[Borders::insideV],
            place.lastRow ? side[Borders::bottom] : side[Borders::insideH],
            place.lastColumn ? side[Borders::right] : side[Borders::insideV]};
}

// `over`'s sides on top of `sides`, where it sets them.
template <std::size_t count>
void overlay(std::array<std::optional<Line>, count>& sides,
             const std::array<std::optional<Line>, count>& over) {
    for (std::size_t side = 0; side < count; ++side) {
        if (over[side])
            sides[side] = over[side];
    }
}

} // namespace

QTextFrameFormat::BorderStyle lineStyleOf(QStringView value) {
    for (const auto& [name, style] : lineStyles) {
        if (value == name)
            return style;
    }
    return Style::BorderStyle_Solid;
}

QString lineValueOf(QTextFrameFormat::BorderStyle style) {
    for (const auto& [name, known] : lineStyles) {
        if (known == style)
            return QString::fromUtf16(name);
    }
    return QStringLiteral("single");
}

bool Borders::isSet() const {
    return std::any_of(sides.begin(), sides.end(),
                       [](const auto& side) { return side.has_value(); });
}

void Borders::merge(const Borders& over) {
    overlay(sides, over.sides);
}

void TableStyleBorders::merge(const TableStyleBorders& over) {
    table.merge(over.table);
    firstRow.merge(over.firstRow);
    lastRow.merge(over.lastRow);
}

Borders readBorders(QXmlStreamReader& xml) {
    Borders borders;
    while (nextChild(xml)) {
        if (const auto side = sideOf(xml))
            borders.sides[*side] = lineOf(xml);
        xml.skipCurrentElement();
    }
    return borders;
}

void readConditionalBorders(QXmlStreamReader& xml, TableStyleBorders& style) {
    const QString type = wAttribute(xml, u"type");
    Borders* row = type == u"firstRow"  ? &style.firstRow
                   : type == u"lastRow" ? &style.lastRow
                                        : nullptr;
    while (nextChild(xml)) {
        if (row == nullptr || !isW(xml, u"tcPr")) {
            xml.skipCurrentElement();
            continue;
        }
        while (nextChild(xml)) {
            if (isW(xml, u"tcBorders"))
                row->merge(readBorders(xml));
            else
                xml.skipCurrentElement();
        }
    }
}

void TableBorders::readLook(const QXmlStreamReader& xml) {
    // Older files give the look as a bit mask only.
    const int mask = wAttribute(xml, u"val").toInt(nullptr, 16);
    const auto flag = [&](QStringView name, int bit) {
        const QString value = wAttribute(xml, name);
        return value.isEmpty() ? (mask & bit) != 0 : value == u"1" || value == u"true";
    };
    firstRowLook = flag(u"firstRow", 0x20);
    lastRowLook = flag(u"lastRow", 0x40);
}

void TableBorders::apply(QTextTable& grid, QTextTableFormat& format) const {
    Borders base = style.table;
    base.merge(table);
    std::map<std::pair<int, int>, CellSides> resolved;
    const bool anySet =
        base.isSet() || style.firstRow.isSet() || style.lastRow.isSet() || !cells.empty();
    for (int row = 0; anySet && row < grid.rows(); ++row) {
        for (int column = 0; column < grid.columns(); ++column) {
            const QTextTableCell cell = grid.cellAt(row, column);
            if (cell.row() != row || cell.column() != column)
                continue; // covered by a merged cell
            const Place place{row == 0, row + cell.rowSpan() >= grid.rows(), column == 0,
                              column + cell.columnSpan() >= grid.columns()};
            CellSides sides = sidesAt(base, place);
            // A first or last row's own borders run along both its edges.
            const Place inRow{true, true, place.firstColumn, place.lastColumn};
            if (firstRowLook && place.firstRow)
                overlay(sides, sidesAt(style.firstRow, inRow));
            if (lastRowLook && place.lastRow)
                overlay(sides, sidesAt(style.lastRow, inRow));
            if (const auto own = cells.find({row, column}); own != cells.end())
                overlay(sides, sidesAt(own->second, {true, true, true, true}));
            resolved[{row, column}] = sides;
        }
    }
    TableLines::apply(grid, resolved, format);
}

} // namespace kelvane::Docx
