#include "documents/PageGeometry.h"

#include "documents/Units.h"

#include <QMarginsF>

#include <algorithm>
#include <cmath>

namespace kelvane::PdfLayout {
namespace {

constexpr double marginPoints = 64;
constexpr double minPagePoints = 144;
constexpr double maxPagePoints = 1584; // 22 inches
constexpr double minTextPoints = 72;

// The layout keeps positions in 1/64 pixel. A page height between two of its steps would
// drift from ours a little on every page, until pages and drawing disagree by a line.
double inLayoutSteps(double pixels) {
    return std::floor(pixels * 64) / 64;
}

PageGeometry geometryOf(QSizeF page, QMarginsF margins) {
    const QSizeF textArea(
        inLayoutSteps(Units::pixelsFromPoints(page.width() - margins.left() - margins.right())),
        inLayoutSteps(Units::pixelsFromPoints(page.height() - margins.top() - margins.bottom())));
    return {page,
            textArea,
            {Units::pixelsFromPoints(margins.left()), Units::pixelsFromPoints(margins.top())},
            {}};
}

// Letter or A4 either way round: the paper the document was written on, which the chosen
// paper stands in for.
bool isEverydayPaper(QSizeF size) {
    constexpr double tolerance = 6;
    const double shorter = std::min(size.width(), size.height());
    const double longer = std::max(size.width(), size.height());
    for (const PageSize paper : PageSize::allCases()) {
        if (std::fabs(shorter - paper.widthInPoints()) < tolerance &&
            std::fabs(longer - paper.heightInPoints()) < tolerance)
            return true;
    }
    return false;
}

} // namespace

PageGeometry geometryOf(PageSize paper) {
    return geometryOf({paper.widthInPoints(), paper.heightInPoints()},
                      {marginPoints, marginPoints, marginPoints, marginPoints});
}

PageGeometry geometryOf(const SectionPages::Page& section, PageSize paper) {
    QSizeF size(paper.widthInPoints(), paper.heightInPoints());
    if (!isEverydayPaper(section.size))
        size = section.size.expandedTo({minPagePoints, minPagePoints})
                   .boundedTo({maxPagePoints, maxPagePoints});
    else if (section.size.width() > section.size.height())
        size.transpose();
    QMarginsF margins = section.margins;
    if (size.width() - margins.left() - margins.right() < minTextPoints ||
        size.height() - margins.top() - margins.bottom() < minTextPoints)
        margins = {marginPoints, marginPoints, marginPoints, marginPoints};
    PageGeometry geometry = geometryOf(size, margins);
    geometry.section = section;
    return geometry;
}

} // namespace kelvane::PdfLayout
