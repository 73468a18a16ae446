#pragma once

class QTextTable;

namespace kelvane::CellSpacing {

// The layout leaves out the space above a table cell's first paragraph and below its last,
// which word processors keep. Adds that space to the top and bottom padding of each cell
// that has it, once the table is complete.
void keepParagraphSpacing(QTextTable& table);

} // namespace kelvane::CellSpacing
