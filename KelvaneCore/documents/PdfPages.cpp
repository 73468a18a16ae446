#include "documents/PdfPages.h"

#include "documents/Units.h"

#include <QAbstractTextDocumentLayout>
#include <QFont>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace kelvane::PdfLayout {
namespace {

constexpr double marginTextPoints = 9; // headers and footers

// A line moved to the next page starts exactly on the boundary, and the layout draws lines
// touching the clip's edge: end the clip just short of it, or that line would also be drawn
// (invisibly, but found by search and copy) at the foot of this page. A line left on a page
// may reach past its foot by its leading: start drawing lines just below the head of the
// next, and clip there only what is outside the page.
constexpr double boundaryGap = 0.5;
constexpr double overhangGap = 3;

// A line is on the page its top is on, as the slices count pages.
int pageAt(double lineTop, double pageHeight) {
    return static_cast<int>(std::floor((lineTop + 0.5) / pageHeight));
}

void addIfCrossing(std::vector<Crossing>& crossings, const QTextBlock& block, QPointF origin,
                   double pageHeight) {
    const QTextLayout* lines = block.layout();
    if (lines == nullptr || lines->lineCount() < 2)
        return;
    const int first = pageAt(origin.y() + lines->lineAt(0).y(), pageHeight);
    const int last = pageAt(origin.y() + lines->lineAt(lines->lineCount() - 1).y(), pageHeight);
    if (first != last)
        crossings.push_back({block, origin, first, last});
}

// The paragraphs, in tables too, whose lines run from one page onto the next.
std::vector<Crossing> crossingsOf(QTextDocument& document, double pageHeight) {
    const QAbstractTextDocumentLayout* layout = document.documentLayout();
    std::vector<Crossing> crossings;
    for (auto it = document.rootFrame()->begin(); !it.atEnd(); ++it) {
        if (const QTextBlock block = it.currentBlock(); block.isValid()) {
            if (block.layout() != nullptr)
                addIfCrossing(crossings, block, block.layout()->position(), pageHeight);
        } else if (const QTextFrame* frame = it.currentFrame()) {
            // The layout places a table's paragraphs in their cells, not in the document: a
            // paragraph's bounds start where its lines are placed from, in the document.
            for (QTextBlock inner = document.findBlock(frame->firstPosition());
                 inner.isValid() && inner.position() <= frame->lastPosition(); inner = inner.next())
                addIfCrossing(crossings, inner, layout->blockBoundingRect(inner).topLeft(),
                              pageHeight);
        }
    }
    return crossings;
}

// The lines of a paragraph that fall on the page, drawn one by one: the layout, asked to draw
// from a line inside a paragraph, draws the line before it as well, and that line belongs on
// the page before.
void drawLinesOnPage(QPainter& painter, const Crossing& crossing, int page, double pageHeight) {
    const QTextLayout* lines = crossing.paragraph.layout();
    if (const QBrush background = crossing.paragraph.blockFormat().background();
        background.style() != Qt::NoBrush)
        painter.fillRect(lines->boundingRect().translated(crossing.origin), background);
    painter.setPen(QAbstractTextDocumentLayout::PaintContext().palette.color(QPalette::Text));
    for (int i = 0; i < lines->lineCount(); ++i) {
        const QTextLine line = lines->lineAt(i);
        if (pageAt(crossing.origin.y() + line.y(), pageHeight) == page)
            line.draw(&painter, crossing.origin);
    }
}

// Shown or hidden only while a page is drawn: the layout stays as it is.
void setShown(QTextBlock paragraph, bool shown) {
    paragraph.setVisible(shown);
}

void drawPage(QPainter& painter, QTextDocument& document, const std::vector<Crossing>& crossings,
              const PageGeometry& geometry, int page) {
    const double pageHeight = geometry.textArea.height();
    const double top = page * pageHeight;
    const double width = geometry.textArea.width();
    const double height = pageHeight - boundaryGap;
    painter.save();
    painter.translate(geometry.origin.x(), geometry.origin.y() - top);
    painter.setClipRect(QRectF(0, top, width, height));
    // Paragraphs from the page before are kept out of the layout's drawing and drawn after it,
    // over their table cells' backgrounds.
    std::vector<const Crossing*> fromBefore;
    for (const Crossing& crossing : crossings)
        if (crossing.firstPage < page && crossing.lastPage >= page)
            fromBefore.push_back(&crossing);
    for (const Crossing* crossing : fromBefore)
        setShown(crossing->paragraph, false);
    QAbstractTextDocumentLayout::PaintContext context;
    context.clip = QRectF(0, top + overhangGap, width, height - overhangGap);
    document.documentLayout()->draw(&painter, context);
    for (const Crossing* crossing : fromBefore) {
        setShown(crossing->paragraph, true);
        drawLinesOnPage(painter, *crossing, page, pageHeight);
    }
    painter.restore();
}

// A header or footer line, centred in the margin above or below the text, with the page's
// number in place of its page number field.
void drawMarginText(QPainter& painter, const PageGeometry& geometry, const QString& line,
                    bool above, int pageNumber) {
    if (line.isEmpty())
        return;
    QString text = line;
    text.replace(SectionPages::pageNumberMark, QString::number(pageNumber));
    const double pageHeight = Units::pixelsFromPoints(geometry.page.height());
    const double textBottom = geometry.origin.y() + geometry.textArea.height();
    const QRectF area =
        above ? QRectF(geometry.origin.x(), 0, geometry.textArea.width(), geometry.origin.y())
              : QRectF(geometry.origin.x(), textBottom, geometry.textArea.width(),
                       pageHeight - textBottom);
    QFont font(QStringLiteral("Liberation Sans"));
    font.setPointSizeF(marginTextPoints);
    font.setStyleStrategy(QFont::PreferNoShaping);
    painter.save();
    painter.setFont(font);
    painter.setPen(Qt::black);
    painter.drawText(area, Qt::AlignCenter | Qt::TextSingleLine, text);
    painter.restore();
}

QByteArray mediaBox(double width, double height) {
    return "/MediaBox [0 0 " + QByteArray::number(width, 'f', 6) + ' ' +
           QByteArray::number(height, 'f', 6) + ']';
}

// The PDF writer rounds the page to whole points (A4 becomes 595 × 842). Its media boxes are
// written with six decimals, so the exact size takes the same number of bytes and goes in
// place, leaving every offset of the file as it was.
void setExactPageSize(QByteArray& bytes, QSize rounded, QSizeF exact) {
    const QByteArray from = mediaBox(rounded.width(), rounded.height());
    const QByteArray to = mediaBox(exact.width(), exact.height());
    if (from.size() == to.size())
        bytes.replace(from, to);
}

} // namespace

PdfPages::PdfPages(const PageGeometry& geometry, QIODevice* device)
    : buffer_(&bytes_)
    , writer_(device != nullptr ? device : &buffer_) {
    buffer_.open(QIODevice::WriteOnly);
    writer_.setCreator(QStringLiteral("Kelvane"));
    writer_.setResolution(layoutDpi);
    turnTo(geometry);
}

void PdfPages::turnTo(const PageGeometry& geometry) {
    geometry_ = geometry;
    sectionPages_ = 0;
    if (geometry_.section.firstNumber > 0)
        number_ = geometry_.section.firstNumber - 1;
    writer_.setPageLayout(QPageLayout(QPageSize(geometry_.page, QPageSize::Point),
                                      QPageLayout::Portrait, QMarginsF()));
    const QSize rounded = writer_.pageLayout().fullRectPoints().size();
    if (std::find(sizes_.begin(), sizes_.end(), std::pair{rounded, geometry_.page}) == sizes_.end())
        sizes_.emplace_back(rounded, geometry_.page);
}

void PdfPages::layWhileFilling(QTextDocument& document, const std::function<void()>& fill) {
    // Ligatures ("ti", "fi") reach the PDF as glyphs without their letters, and search and
    // copy would find "Equa on": text goes in letter by letter.
    QFont font = document.defaultFont();
    font.setStyleStrategy(QFont::PreferNoShaping);
    document.setDefaultFont(font);
    document.documentLayout()->setPaintDevice(&writer_);
    document.setDocumentMargin(0);
    document.setPageSize(geometry_.textArea);
    // Filled in one edit, the document is laid out once, as a change to it, from its start to
    // its end. Filled first and then given its page size, it would be laid out in steps, and
    // the line a step starts with is left where it falls, even across a page's foot.
    QTextCursor edit(&document);
    edit.beginEditBlock();
    fill();
    // The lines keep the glyphs they were laid out with, to be drawn without shaping again.
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        block.layout()->setCacheEnabled(true);
    edit.endEditBlock();
}

void PdfPages::release(QTextDocument& document) {
    // The layout keeps a pointer to the writer.
    document.documentLayout()->setPaintDevice(nullptr);
}

void PdfPages::drawFirst(QTextDocument& document, int count) {
    const std::vector<Crossing> crossings = crossingsOf(document, pageHeight());
    for (int page = 0; page < count && !full(); ++page)
        draw(document, crossings, page);
}

void PdfPages::skip(int count) {
    const int counted = std::min(count, maxPages - drawn_);
    drawn_ += counted;
    sectionPages_ += counted;
    number_ += counted;
}

void PdfPages::recount() {
    drawn_ = 0;
    sectionPages_ = 0;
    number_ = 0;
}

QByteArray PdfPages::finish() {
    if (!painter_.isActive())
        painter_.begin(&writer_); // an empty document is one blank page
    painter_.end();
    for (const auto& [rounded, exact] : sizes_)
        setExactPageSize(bytes_, rounded, exact);
    return std::move(bytes_);
}

void PdfPages::draw(QTextDocument& document, const std::vector<Crossing>& crossings, int page) {
    if (!painter_.isActive()) {
        painter_.begin(&writer_);
        // Pictures go in as they are, not re-encoded as JPEG.
        painter_.setRenderHint(QPainter::LosslessImageRendering);
    }
    if (written_++ > 0)
        writer_.newPage();
    ++drawn_;
    drawPage(painter_, document, crossings, geometry_, page);
    const SectionPages::Lines lines =
        SectionPages::linesOn(geometry_.section, sectionPages_++, ++number_);
    drawMarginText(painter_, geometry_, lines.header, true, number_);
    drawMarginText(painter_, geometry_, lines.footer, false, number_);
}

} // namespace kelvane::PdfLayout
