#include "documents/DocumentTools.h"
#include "documents/Units.h"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QPainter>
#include <QPdfWriter>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <optional>

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

// One PDF being written page by page into memory.
class PdfPages {
public:
    explicit PdfPages(PageSize size)
        : geometry_(geometryOf(size))
        , buffer_(&bytes_) {
        buffer_.open(QIODevice::WriteOnly);
        writer_.setCreator(QStringLiteral("Kelvane"));
        writer_.setResolution(layoutDpi);
        writer_.setPageLayout(QPageLayout(QPageSize(geometry_.page, QPageSize::Point),
                                          QPageLayout::Portrait, QMarginsF()));
    }

    // Prepares a document for layout on these pages.
    void lay(QTextDocument& document) {
        // Ligatures ("ti", "fi") reach the PDF as glyphs without their letters, and search and
        // copy would find "Equa on": text goes in letter by letter.
        QFont font = document.defaultFont();
        font.setStyleStrategy(QFont::PreferNoShaping);
        document.setDefaultFont(font);
        document.documentLayout()->setPaintDevice(&writer_);
        document.setDocumentMargin(0);
        document.setPageSize(geometry_.textArea);
    }

    // Draws the first `count` pages of a laid-out document, as far as the page limit allows.
    void draw(QTextDocument& document, int count) {
        if (!painter_.isActive()) {
            painter_.begin(&writer_);
            // Pictures go in as they are, not re-encoded as JPEG.
            painter_.setRenderHint(QPainter::LosslessImageRendering);
        }
        for (int page = 0; page < count && drawn_ < maxPages; ++page, ++drawn_) {
            if (drawn_ > 0)
                writer_.newPage();
            drawPage(painter_, document, geometry_, page);
        }
    }

    bool full() const { return drawn_ >= maxPages; }
    double pageHeight() const { return geometry_.textArea.height(); }

    QByteArray finish() {
        if (!painter_.isActive())
            painter_.begin(&writer_); // an empty document is one blank page
        painter_.end();
        setExactPageSize(bytes_, writer_.pageLayout(), geometry_.page);
        return std::move(bytes_);
    }

private:
    PageGeometry geometry_;
    QByteArray bytes_;
    QBuffer buffer_;
    QPdfWriter writer_{&buffer_};
    QPainter painter_;
    int drawn_ = 0;
};

// Plain text is laid out a slice at a time, so that a long file never has to be laid out
// whole. About forty pages' worth of characters, cut after a line end where one is near.
constexpr qsizetype sliceCharacters = 200000;
constexpr qsizetype longestLineSearch = 20000;

qsizetype sliceEnd(const QString& text, qsizetype from) {
    qsizetype end = std::min(text.size(), from + sliceCharacters);
    if (end == text.size())
        return end;
    const qsizetype lineEnd = text.indexOf(u'\n', end);
    return lineEnd >= 0 && lineEnd - end < longestLineSearch ? lineEnd + 1 : end;
}

// The position of the first paragraph that reaches onto the last page, and the page it starts
// on; its text goes on with the next slice. None when one paragraph fills every page.
std::optional<std::pair<int, int>> carriedFrom(QTextDocument& document, double pageHeight) {
    const double lastPageTop = (document.pageCount() - 1) * pageHeight;
    auto* layout = document.documentLayout();
    QTextBlock first;
    for (QTextBlock block = document.lastBlock(); block.isValid(); block = block.previous()) {
        if (layout->blockBoundingRect(block).bottom() <= lastPageTop)
            break;
        first = block;
    }
    if (!first.isValid())
        return std::nullopt;
    // A line that does not fit is moved to the next page inside its block: the page is that
    // of the block's first line, not of the block's top.
    double top = layout->blockBoundingRect(first).top();
    if (const QTextLayout* lines = first.layout(); lines != nullptr && lines->lineCount() > 0)
        top = lines->position().y() + lines->lineAt(0).y();
    const int page = static_cast<int>(std::floor((top + 0.5) / pageHeight));
    if (page < 1)
        return std::nullopt;
    return std::pair{first.position(), page};
}

} // namespace

QByteArray pdf(const QTextDocument& source, PageSize pageSize) {
    PdfPages pages(pageSize);
    // Layout changes the document (page size, paint device): work on a copy.
    std::unique_ptr<QTextDocument> document(source.clone());
    pages.lay(*document);
    pages.draw(*document, std::max(1, document->pageCount()));
    // The layout keeps a pointer to the writer; drop it before the writer goes.
    document->documentLayout()->setPaintDevice(nullptr);
    return pages.finish();
}

QByteArray plainTextPdf(const QString& text, const QFont& font, PageSize pageSize) {
    PdfPages pages(pageSize);
    QString carried;
    for (qsizetype from = 0; !pages.full();) {
        const qsizetype end = sliceEnd(text, from);
        const bool last = end >= text.size();
        QTextDocument slice;
        slice.setDefaultFont(font);
        pages.lay(slice);
        slice.setPlainText(carried + text.mid(from, end - from));
        from = end;
        carried.clear();
        int count = slice.pageCount();
        if (!last && count > 1) {
            if (const auto carry = carriedFrom(slice, pages.pageHeight())) {
                carried = slice.toRawText().mid(carry->first);
                carried.replace(QChar::ParagraphSeparator, u'\n');
                count = carry->second;
            }
        }
        pages.draw(slice, std::max(1, count));
        slice.documentLayout()->setPaintDevice(nullptr);
        if (last)
            break;
    }
    return pages.finish();
}

} // namespace kelvane::DocumentTools
