#include "documents/docx/DocxTableLook.h"

#include "documents/CellSpacing.h"
#include "documents/NamedValues.h"
#include "documents/Units.h"
#include "documents/docx/DocxStyles.h"
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
// Cells give their text this much room at each side where nothing says otherwise, and none
// above and below it.
constexpr double wordCellMargin = 108; // twips
constexpr double maxMarginTwips = 31680;

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
constexpr NamedValues::Entry<Style> lineStyles[] = {
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
template <typename Value, std::size_t count>
void overlay(std::array<std::optional<Value>, count>& sides,
             const std::array<std::optional<Value>, count>& over) {
    for (std::size_t side = 0; side < count; ++side) {
        if (over[side])
            sides[side] = over[side];
    }
}

constexpr NamedValues::Entry<Region> regionNames[] = {
    {u"wholeTable", Region::wholeTable}, {u"band1Vert", Region::band1Vert},
    {u"band2Vert", Region::band2Vert},   {u"band1Horz", Region::band1Horz},
    {u"band2Horz", Region::band2Horz},   {u"firstCol", Region::firstCol},
    {u"lastCol", Region::lastCol},       {u"firstRow", Region::firstRow},
    {u"lastRow", Region::lastRow},
};

} // namespace

QTextFrameFormat::BorderStyle lineStyleOf(QStringView value) {
    return NamedValues::valueNamed(lineStyles, value).value_or(Style::BorderStyle_Solid);
}

QString lineValueOf(QTextFrameFormat::BorderStyle style) {
    return NamedValues::nameOf(lineStyles, style).value_or(QStringLiteral("single"));
}

bool Borders::isSet() const {
    return TableLines::anySet(sides);
}

void Borders::merge(const Borders& over) {
    overlay(sides, over.sides);
}

void TableStyle::merge(const TableStyle& over) {
    table.merge(over.table);
    firstRow.merge(over.firstRow);
    lastRow.merge(over.lastRow);
    paragraphs.merge(over.paragraphs);
    margins.merge(over.margins);
    for (std::size_t region = 0; region < regionCount; ++region) {
        if (over.regions[region].shading)
            regions[region].shading = over.regions[region].shading;
        regions[region].chars.merge(over.regions[region].chars);
    }
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

void readConditionalLook(QXmlStreamReader& xml, TableStyle& style) {
    const QString type = wAttribute(xml, u"type");
    const auto region = NamedValues::valueNamed(regionNames, type);
    Borders* row = type == u"firstRow"  ? &style.firstRow
                   : type == u"lastRow" ? &style.lastRow
                                        : nullptr;
    while (nextChild(xml)) {
        if (region && isW(xml, u"rPr")) {
            readRunProperties(xml, style.region(*region).chars, nullptr);
            continue;
        }
        if (!isW(xml, u"tcPr")) {
            xml.skipCurrentElement();
            continue;
        }
        while (nextChild(xml)) {
            if (row != nullptr && isW(xml, u"tcBorders")) {
                row->merge(readBorders(xml));
                continue;
            }
            if (region && isW(xml, u"shd"))
                style.region(*region).shading = shadingOf(xml);
            xml.skipCurrentElement();
        }
    }
}

std::optional<QColor> shadingOf(const QXmlStreamReader& xml) {
    const QString fill = wAttribute(xml, u"fill");
    if (fill.size() != 6)
        return std::nullopt;
    const QColor color(u'#' + fill);
    return color.isValid() ? std::optional<QColor>(color) : std::nullopt;
}

void TableLook::readLook(const QXmlStreamReader& xml) {
    // Older files give the look as a bit mask only.
    const int mask = wAttribute(xml, u"val").toInt(nullptr, 16);
    const auto flag = [&](QStringView name, int bit) {
        const QString value = wAttribute(xml, name);
        return value.isEmpty() ? (mask & bit) != 0 : value == u"1" || value == u"true";
    };
    firstRowLook = flag(u"firstRow", 0x20);
    lastRowLook = flag(u"lastRow", 0x40);
    firstColumnLook = flag(u"firstColumn", 0x80);
    lastColumnLook = flag(u"lastColumn", 0x100);
    rowBands = !flag(u"noHBand", 0x200);
    columnBands = !flag(u"noVBand", 0x400);
}

std::vector<Region> TableLook::regionsAt(int row, int column, int rows, int columns) const {
    std::vector<Region> regions{Region::wholeTable};
    const bool firstRow = firstRowLook && row == 0;
    const bool lastRow = lastRowLook && row == rows - 1;
    const bool firstColumn = firstColumnLook && column == 0;
    const bool lastColumn = lastColumnLook && column == columns - 1;
    // Bands count from the first row and column that are not headings.
    if (columnBands && !firstColumn && !lastColumn)
        regions.push_back((column - (firstColumnLook ? 1 : 0)) % 2 == 0 ? Region::band1Vert
                                                                        : Region::band2Vert);
    if (rowBands && !firstRow && !lastRow)
        regions.push_back((row - (firstRowLook ? 1 : 0)) % 2 == 0 ? Region::band1Horz
                                                                  : Region::band2Horz);
    for (const auto& [inside, region] :
         {std::pair{firstColumn, Region::firstCol}, std::pair{lastColumn, Region::lastCol},
          std::pair{firstRow, Region::firstRow}, std::pair{lastRow, Region::lastRow}}) {
        if (inside)
            regions.push_back(region);
    }
    return regions;
}

CellParagraphs TableLook::paragraphsAt(int row, int column, int columns) const {
    CellParagraphs paragraphs{style.paragraphs, {}};
    for (const Region region : regionsAt(row, column, -1, columns))
        paragraphs.chars.merge(style.region(region).chars);
    return paragraphs;
}

void TableLook::apply(QTextTable& grid, QTextTableFormat& format) const {
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
    applyCellFormats(grid);
    CellSpacing::keepParagraphSpacing(grid);
}

std::optional<QColor> TableLook::shadingAt(int row, int column, int rows, int columns) const {
    if (const auto own = shading.find({row, column}); own != shading.end())
        return own->second;
    std::optional<QColor> color;
    for (const Region region : regionsAt(row, column, rows, columns)) {
        if (const auto& given = style.region(region).shading)
            color = given;
    }
    return color;
}

CellMargins TableLook::marginsAt(int row, int column) const {
    CellMargins resolved{{0, wordCellMargin, 0, wordCellMargin}};
    resolved.merge(style.margins);
    resolved.merge(margins);
    if (const auto own = spaces.find({row, column}); own != spaces.end())
        resolved.merge(own->second);
    return resolved;
}

void TableLook::applyCellFormats(QTextTable& grid) const {
    // Setting a cell's format makes the table look its grid up afresh: find every cell first.
    std::vector<QTextTableCell> found;
    for (int row = 0; row < grid.rows(); ++row) {
        for (int column = 0; column < grid.columns(); ++column) {
            const QTextTableCell cell = grid.cellAt(row, column);
            if (cell.row() == row && cell.column() == column)
                found.push_back(cell);
        }
    }
    for (QTextTableCell& cell : found) {
        QTextTableCellFormat format = cell.format().toTableCellFormat();
        if (const auto color = shadingAt(cell.row(), cell.column(), grid.rows(), grid.columns()))
            format.setBackground(*color);
        const auto& sides = marginsAt(cell.row(), cell.column()).sides;
        const auto pixels = [&](TableLines::Side side) {
            return Units::pixelsFromPoints(Units::pointsFromTwips(sides[side].value_or(0)));
        };
        CellSpacing::setPadding(format, pixels);
        cell.setFormat(format);
    }
}

bool CellMargins::isSet() const {
    return TableLines::anySet(sides);
}

void CellMargins::merge(const CellMargins& over) {
    overlay(sides, over.sides);
}

CellMargins readCellMargins(QXmlStreamReader& xml) {
    static constexpr std::pair<const char16_t*, TableLines::Side> names[] = {
        {u"top", TableLines::top},     {u"left", TableLines::left},
        {u"start", TableLines::left},  {u"bottom", TableLines::bottom},
        {u"right", TableLines::right}, {u"end", TableLines::right}};
    CellMargins margins;
    while (nextChild(xml)) {
        const QString type = wAttribute(xml, u"type");
        const auto twips = Ooxml::numericValue(xml, u"w");
        for (const auto& [name, side] : names) {
            if (isW(xml, name) && twips && (type.isEmpty() || type == u"dxa"))
                margins.sides[side] = std::clamp(*twips, 0.0, maxMarginTwips);
        }
        xml.skipCurrentElement();
    }
    return margins;
}

} // namespace kelvane::Docx
