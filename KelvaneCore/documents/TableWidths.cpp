#include "documents/TableWidths.h"

#include "documents/Units.h"

#include <QTextFormat>

#include <algorithm>
#include <numeric>

namespace kelvane::TableWidths {
namespace {

// The text of A4 in portrait with our margins, the narrowest we lay out on everyday paper.
constexpr double narrowestTextPixels = Units::pixelsFromPoints(467.28);

} // namespace

void apply(QTextTableFormat& format, const std::vector<double>& columnPoints,
           std::optional<QTextLength> tableWidth) {
    const double total = std::accumulate(columnPoints.begin(), columnPoints.end(), 0.0);
    if (static_cast<int>(columnPoints.size()) != format.columns() || total <= 0 ||
        std::any_of(columnPoints.begin(), columnPoints.end(), [](double w) { return w < 0; }))
        return;
    QList<QTextLength> constraints;
    for (const double width : columnPoints)
        constraints.append(QTextLength(QTextLength::PercentageLength, width / total * 100));
    format.setColumnWidthConstraints(constraints);
    QTextLength width =
        tableWidth.value_or(QTextLength(QTextLength::FixedLength, Units::pixelsFromPoints(total)));
    if (width.type() == QTextLength::FixedLength && width.rawValue() > narrowestTextPixels)
        width = QTextLength(QTextLength::PercentageLength, 100);
    format.setWidth(width);
}

} // namespace kelvane::TableWidths
