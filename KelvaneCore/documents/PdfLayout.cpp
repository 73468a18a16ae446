#include "documents/DocumentTools.h"
#include "documents/Units.h"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QPainter>
#include <QPdfWriter>
#include <QTextDocument>

#include <algorithm>
#include <cmath>

namespace kelvane::DocumentTools {
namespace {

constexpr double marginPoints = 64;
constexpr int maxPages = 5000;
// At 96 dpi one device pixel is one CSS pixel, the unit of every length in the document
// other than font sizes: block margins and table widths then land where they should.
constexpr int layoutDpi = 96;

struct PageGeometry {
    QSizeF page;     // points
    QSizeF textArea; // device pixels
    double margin;   // device pixels
};

// The layout keeps positions in 1/64 pixel. A page height between two of its steps would
// drift from ours a little on every page, until pages and drawing disagree by a line.
double inLayoutSteps(double pixels) {
    return std::floor(pixels * 64) / 64;
}

PageGeometry geometryOf(PageSize size) {
    const QSizeF page(size.widthInPoints(), size.heightInPoints());
    const QSizeF textArea(inLayoutSteps(Units::pixelsFromPoints(page.width() - 2 * marginPoints)),
                          inLayoutSteps(Units::pixelsFromPoints(page.height() - 2 * marginPoints)));
    return {page, textArea, Units::pixelsFromPoints(marginPoints)};
}

// A line moved to the next page starts exactly on the boundary, and the layout draws lines
// touching the clip's edge: end the clip just short of it, or that line would also be
// drawn (invisibly, but found by search and copy) at the foot of this page.
constexpr double boundaryGap = 0.5;

void drawPage(QPainter& painter, QTextDocument& document, const PageGeometry& geometry, int page) {
    const double top = page * geometry.textArea.height();
    const QRectF clip(0, top, geometry.textArea.width(), geometry.textArea.height() - boundaryGap);
    painter.save();
    painter.translate(geometry.margin, geometry.margin - top);
    document.drawContents(&painter, clip);
    painter.restore();
}

QByteArray mediaBox(double width, double height) {
    return "/MediaBox [0 0 " + QByteArray::number(width, 'f', 6) + ' ' +
           QByteArray::number(height, 'f', 6) + ']';
}

// The PDF writer rounds the page to whole points (A4 becomes 595 × 842). Its media boxes are
// written with six decimals, so the exact size takes the same number of bytes and goes in
// place, leaving every offset of the file as it was.
void setExactPageSize(QByteArray& bytes, const QPageLayout& written, QSizeF exact) {
    const QSize rounded = written.fullRectPoints().size();
    const QByteArray from = mediaBox(rounded.width(), rounded.height());
    const QByteArray to = mediaBox(exact.width(), exact.height());
    if (from.size() == to.size())
        bytes.replace(from, to);
}

} // namespace

QByteArray pdf(const QTextDocument& source, PageSize pageSize) {
    const PageGeometry geometry = geometryOf(pageSize);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);

    QPdfWriter writer(&buffer);
    writer.setCreator(QStringLiteral("Kelvane"));
    writer.setResolution(layoutDpi);
    writer.setPageLayout(QPageLayout(QPageSize(geometry.page, QPageSize::Point),
                                     QPageLayout::Portrait, QMarginsF()));

    // Layout changes the document (page size, paint device): work on a copy.
    std::unique_ptr<QTextDocument> document(source.clone());
    document->documentLayout()->setPaintDevice(&writer);
    document->setDocumentMargin(0);
    document->setPageSize(geometry.textArea);
    const int pages = std::clamp(document->pageCount(), 1, maxPages);

    QPainter painter(&writer);
    for (int page = 0; page < pages; ++page) {
        if (page > 0)
            writer.newPage();
        drawPage(painter, *document, geometry, page);
    }
    painter.end();
    // The layout keeps a pointer to the writer; drop it before the writer goes.
    document->documentLayout()->setPaintDevice(nullptr);
    setExactPageSize(bytes, writer.pageLayout(), geometry.page);
    return bytes;
}

} // namespace kelvane::DocumentTools
