#include "documents/PdfPages.h"

#include "documents/Units.h"

#include <QAbstractTextDocumentLayout>
#include <QFont>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextLayout>

#include <algorithm>

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
bool isOnOrBelow(double lineTop, double top) {
    return lineTop + 0.5 >= top;
}

bool isOnPage(double lineTop, double top, double pageHeight) {
    return isOnOrBelow(lineTop, top) && !isOnOrBelow(lineTop, top + pageHeight);
}

// Where a paragraph's lines are in the document.
QRectF areaOf(const QTextBlock& paragraph) {
    const QTextLayout* lines = paragraph.layout();
    return lines->boundingRect().translated(lines->position());
}

// The paragraph of the text itself begun on a page before `top` whose lines go on below `y`,
// or an invalid block. `paragraphs` are the document's own paragraphs (not those in tables),
// top to bottom.
QTextBlock paragraphAcross(const std::vector<QTextBlock>& paragraphs, double top, double y) {
    const auto after =
        std::partition_point(paragraphs.begin(), paragraphs.end(),
                             [y](const QTextBlock& block) { return areaOf(block).bottom() < y; });
    if (after == paragraphs.end() || isOnOrBelow(areaOf(*after).top(), top))
        return {};
    return *after;
}

// The lines of a paragraph that fall on the page, drawn one by one: the layout, asked to draw
// from a line inside a paragraph, draws the line before it as well, and that line belongs on
// the page before.
void drawLinesOnPage(QPainter& painter, const QTextBlock& paragraph, double top,
                     double pageHeight) {
    const QTextLayout* lines = paragraph.layout();
    if (const QBrush background = paragraph.blockFormat().background();
        background.style() != Qt::NoBrush)
        painter.fillRect(areaOf(paragraph), background);
    painter.setPen(QAbstractTextDocumentLayout::PaintContext().palette.color(QPalette::Text));
    for (int i = 0; i < lines->lineCount(); ++i) {
        const QTextLine line = lines->lineAt(i);
        if (isOnPage(lines->position().y() + line.y(), top, pageHeight))
            line.draw(&painter, lines->position());
    }
}

void drawPage(QPainter& painter, QTextDocument& document, const std::vector<QTextBlock>& paragraphs,
              const PageGeometry& geometry, int page) {
    const double pageHeight = geometry.textArea.height();
    const double top = page * pageHeight;
    const double width = geometry.textArea.width();
    const double bottom = top + pageHeight - boundaryGap;
    painter.save();
    painter.translate(geometry.origin.x(), geometry.origin.y() - top);
    painter.setClipRect(QRectF(0, top, width, bottom - top));
    double drawFrom = top + overhangGap;
    if (const QTextBlock across = paragraphAcross(paragraphs, top, drawFrom); across.isValid()) {
        drawLinesOnPage(painter, across, top, pageHeight);
        drawFrom = areaOf(across).bottom() + boundaryGap;
    }
    if (drawFrom < bottom) {
        QAbstractTextDocumentLayout::PaintContext context;
        context.clip = QRectF(0, drawFrom, width, bottom - drawFrom);
        document.documentLayout()->draw(&painter, context);
    }
    painter.restore();
}

// The document's own paragraphs, top to bottom, leaving out those in tables.
std::vector<QTextBlock> paragraphsOf(const QTextDocument& document) {
    std::vector<QTextBlock> paragraphs;
    for (auto it = document.rootFrame()->begin(); !it.atEnd(); ++it)
        if (const QTextBlock block = it.currentBlock(); block.isValid() && block.layout())
            paragraphs.push_back(block);
    return paragraphs;
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

PdfPages::PdfPages(const PageGeometry& geometry)
    : buffer_(&bytes_) {
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

void PdfPages::lay(QTextDocument& document) {
    // Ligatures ("ti", "fi") reach the PDF as glyphs without their letters, and search and
    // copy would find "Equa on": text goes in letter by letter.
    QFont font = document.defaultFont();
    font.setStyleStrategy(QFont::PreferNoShaping);
    document.setDefaultFont(font);
    document.documentLayout()->setPaintDevice(&writer_);
    document.setDocumentMargin(0);
    document.setPageSize(geometry_.textArea);
}

void PdfPages::release(QTextDocument& document) {
    // The layout keeps a pointer to the writer.
    document.documentLayout()->setPaintDevice(nullptr);
}

void PdfPages::drawFirst(QTextDocument& document, int count) {
    const std::vector<QTextBlock> paragraphs = paragraphsOf(document);
    for (int page = 0; page < count && !full(); ++page)
        draw(document, paragraphs, page);
}

QByteArray PdfPages::finish() {
    if (!painter_.isActive())
        painter_.begin(&writer_); // an empty document is one blank page
    painter_.end();
    for (const auto& [rounded, exact] : sizes_)
        setExactPageSize(bytes_, rounded, exact);
    return std::move(bytes_);
}

void PdfPages::draw(QTextDocument& document, const std::vector<QTextBlock>& paragraphs, int page) {
    if (!painter_.isActive()) {
        painter_.begin(&writer_);
        // Pictures go in as they are, not re-encoded as JPEG.
        painter_.setRenderHint(QPainter::LosslessImageRendering);
    }
    if (drawn_++ > 0)
        writer_.newPage();
    drawPage(painter_, document, paragraphs, geometry_, page);
    const SectionPages::Lines lines =
        SectionPages::linesOn(geometry_.section, sectionPages_++, ++number_);
    drawMarginText(painter_, geometry_, lines.header, true, number_);
    drawMarginText(painter_, geometry_, lines.footer, false, number_);
}

} // namespace kelvane::PdfLayout
