#pragma once

#include "documents/TableLines.h"

#include <QTextFormat>

class QTextTable;

namespace kelvane::CellSpacing {

// The layout leaves out the space above a table cell's first paragraph and below its last,
// which word processors keep. Adds that space to the top and bottom padding of each cell
// that has it, once the table is complete.
void keepParagraphSpacing(QTextTable& table);

// Sets the room inside a cell at each side to `pixelsAt(side)`, sides as TableLines numbers them.
template <typename PixelsAt> void setPadding(QTextTableCellFormat& format, PixelsAt pixelsAt) {
    format.setTopPadding(pixelsAt(TableLines::top));
    format.setLeftPadding(pixelsAt(TableLines::left));
    format.setBottomPadding(pixelsAt(TableLines::bottom));
    format.setRightPadding(pixelsAt(TableLines::right));
}

} // namespace kelvane::CellSpacing
