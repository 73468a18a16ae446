#pragma once

#include <QTextLength>

#include <optional>
#include <vector>

class QTextTableFormat;

namespace kelvane::TableWidths {

// Gives the columns of `format` widths in proportion to `columnPoints`, and the table the width
// `tableWidth`, or that of its columns together; a table wider than the narrowest text we lay
// out fills the text's width instead. Leaves the format as it is unless every column has a
// width.
void apply(QTextTableFormat& format, const std::vector<double>& columnPoints,
           std::optional<QTextLength> tableWidth = std::nullopt);

} // namespace kelvane::TableWidths
