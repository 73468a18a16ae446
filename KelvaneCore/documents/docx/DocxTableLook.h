#pragma once

#include "documents/TableLines.h"

#include <QColor>
#include <QString>
#include <QTextCharFormat>
#include <QTextFormat>

#include <array>
#include <map>
#include <optional>
#include <utility>
#include <vector>

class QXmlStreamReader;
class QTextTable;
class QTextTableFormat;

// The look of a table as its style, its own properties and its cells set it: lines, shading,
// the room inside cells, and what the style gives the paragraphs in them.
namespace kelvane::Docx {

// What one w:tblBorders or w:tcBorders sets; unset sides leave what lies beneath in place.
struct Borders {
    enum Side { top, left, bottom, right, insideH, insideV };
    std::array<std::optional<TableLines::Line>, 6> sides;

    bool isSet() const;
    // `over`'s sides on top of these.
    void merge(const Borders& over);
};

// The shading and character format a table style gives one region of its tables.
struct RegionLook {
    std::optional<QColor> shading;
    QTextCharFormat chars;
};

// The regions of a table a style may format, each over those before it.
enum class Region {
    wholeTable,
    band1Vert,
    band2Vert,
    band1Horz,
    band2Horz,
    firstCol,
    lastCol,
    firstRow,
    lastRow,
};
constexpr std::size_t regionCount = 9;

// The space between a cell's sides and its text, in twips, as w:tblCellMar or w:tcMar give
// it; unset sides leave what lies beneath in place.
struct CellMargins {
    std::array<std::optional<double>, 4> sides; // by TableLines::Side

    bool isSet() const;
    void merge(const CellMargins& over);
};

// Reads the children of the current w:tblCellMar or w:tcMar.
CellMargins readCellMargins(QXmlStreamReader& xml);

// What a table's style gives the paragraphs of one of its cells, beneath their own style.
struct CellParagraphs {
    QTextBlockFormat block;
    QTextCharFormat chars;
};

// What a table style sets: borders for the whole table and, where the table's look asks for
// them, for the cells of its first and last rows; shading and characters by region; the
// spacing and the like of every paragraph in its cells.
struct TableStyle {
    Borders table;
    Borders firstRow;
    Borders lastRow;
    std::array<RegionLook, regionCount> regions;
    QTextBlockFormat paragraphs;
    CellMargins margins;

    RegionLook& region(Region region) { return regions[static_cast<std::size_t>(region)]; }
    const RegionLook& region(Region region) const {
        return regions[static_cast<std::size_t>(region)];
    }
    void merge(const TableStyle& over);
};

// A line's w:val as the style it is drawn with, and back; values without a style of their own
// are drawn solid. Three lines (w:val "triple") are drawn as two.
QTextFrameFormat::BorderStyle lineStyleOf(QStringView value);
QString lineValueOf(QTextFrameFormat::BorderStyle style);

// Reads the children of the current w:tblBorders or w:tcBorders.
Borders readBorders(QXmlStreamReader& xml);
// Reads the current w:tblStylePr: the shading and characters of its region, and the borders
// of a first or last row.
void readConditionalLook(QXmlStreamReader& xml, TableStyle& style);
// The fill of the current w:shd, if it gives one.
std::optional<QColor> shadingOf(const QXmlStreamReader& xml);

// The look of a table being read: its style's, its own, and its cells'.
struct TableLook {
    TableStyle style;
    Borders table;
    // w:tblLook: the regions of the style that apply.
    bool firstRowLook = true;
    bool lastRowLook = false;
    bool firstColumnLook = true;
    bool lastColumnLook = false;
    bool rowBands = true;
    bool columnBands = false;
    CellMargins margins;
    std::map<std::pair<int, int>, Borders> cells;      // by row and column, the cells' own
    std::map<std::pair<int, int>, QColor> shading;     // likewise
    std::map<std::pair<int, int>, CellMargins> spaces; // likewise

    // Reads the current w:tblLook.
    void readLook(const QXmlStreamReader& xml);
    // What the style gives the paragraphs of the cell at `row` and `column` of a table of
    // `columns`, as far as it is known while the rows are read: the last row's is not.
    CellParagraphs paragraphsAt(int row, int column, int columns) const;
    // Draws the lines on `grid`, its cells merged: each cell's sides resolved from the
    // style, the table and the cell, in that order; and shades the cells and sets their
    // margins likewise. The grid's border goes into `format`.
    void apply(QTextTable& grid, QTextTableFormat& format) const;

private:
    // The regions of the style a cell lies in, in order, the last row's only where `rows` is
    // known.
    std::vector<Region> regionsAt(int row, int column, int rows, int columns) const;
    void applyCellFormats(QTextTable& grid) const;
    std::optional<QColor> shadingAt(int row, int column, int rows, int columns) const;
    CellMargins marginsAt(int row, int column) const;
};

} // namespace kelvane::Docx
