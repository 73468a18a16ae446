#pragma once

#include "documents/TableLines.h"

#include <QString>

#include <array>
#include <map>
#include <optional>
#include <utility>

class QXmlStreamReader;
class QTextTable;
class QTextTableFormat;

// The lines of a table as its style, its own properties and its cells set them.
namespace kelvane::Docx {

// What one w:tblBorders or w:tcBorders sets; unset sides leave what lies beneath in place.
struct Borders {
    enum Side { top, left, bottom, right, insideH, insideV };
    std::array<std::optional<TableLines::Line>, 6> sides;

    bool isSet() const;
    // `over`'s sides on top of these.
    void merge(const Borders& over);
};

// The borders a table style sets for the whole table and, where the table's look asks for
// them, for the cells of its first and last rows.
struct TableStyleBorders {
    Borders table;
    Borders firstRow;
    Borders lastRow;

    void merge(const TableStyleBorders& over);
};

// A line's w:val as the style it is drawn with, and back; values without a style of their own
// are drawn solid. Three lines (w:val "triple") are drawn as two.
QTextFrameFormat::BorderStyle lineStyleOf(QStringView value);
QString lineValueOf(QTextFrameFormat::BorderStyle style);

// Reads the children of the current w:tblBorders or w:tcBorders.
Borders readBorders(QXmlStreamReader& xml);
// Reads the current w:tblStylePr into the style's borders of its first or last row.
void readConditionalBorders(QXmlStreamReader& xml, TableStyleBorders& style);

// The borders of a table being read: its style's, its own, and its cells'.
struct TableBorders {
    TableStyleBorders style;
    Borders table;
    bool firstRowLook = true; // w:tblLook: the style's first-row borders apply
    bool lastRowLook = false;
    std::map<std::pair<int, int>, Borders> cells; // by row and column, the cells' own

    // Reads the current w:tblLook.
    void readLook(const QXmlStreamReader& xml);
    // Draws the lines on `grid`, its cells merged: each cell's sides resolved from the
    // style, the table and the cell, in that order. The grid's border goes into `format`.
    void apply(QTextTable& grid, QTextTableFormat& format) const;
};

} // namespace kelvane::Docx
