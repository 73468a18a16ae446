#include "documents/DocumentTools.h"
#include "documents/SectionPages.h"
#include "documents/Units.h"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QFont>
#include <QPainter>
#include <QPdfWriter>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace kelvane::DocumentTools {
namespace {

constexpr double marginPoints = 64;
constexpr double minPagePoints = 144;
constexpr double maxPagePoints = 1584; // 22 inches
constexpr double minTextPoints = 72;
constexpr double marginTextPoints = 9; // headers and footers
constexpr int maxPages = 5000;
// Sections on pages unlike their neighbours'; beyond these the rest share the last one's.
constexpr std::size_t maxSections = 200;
// At 96 dpi one device pixel is one CSS pixel, the unit of every length in the document
// other than font sizes: block margins and table widths then land where they should.
constexpr int layoutDpi = 96;

struct PageGeometry {
    QSizeF page;                // points
    QSizeF textArea;            // device pixels
    QPointF origin;             // device pixels, the text area's top-left corner
    SectionPages::Page section; // its header and footer lines and where its numbering starts
    bool operator==(const PageGeometry&) const = default;
};

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

PageGeometry geometryOf(PageSize size) {
    return geometryOf({size.widthInPoints(), size.heightInPoints()},
                      {marginPoints, marginPoints, marginPoints, marginPoints});
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

// A section's pages: the chosen paper turned the way the section turns its own, unless the
// section is on other paper altogether (A3, an envelope); the section's margins where they
// leave room for text.
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

// A line moved to the next page starts exactly on the boundary, and the layout draws lines
// touching the clip's edge: end the clip just short of it, or that line would also be
// drawn (invisibly, but found by search and copy) at the foot of this page.
constexpr double boundaryGap = 0.5;

void drawPage(QPainter& painter, QTextDocument& document, const PageGeometry& geometry, int page) {
    const double top = page * geometry.textArea.height();
    const QRectF clip(0, top, geometry.textArea.width(), geometry.textArea.height() - boundaryGap);
    painter.save();
    painter.translate(geometry.origin.x(), geometry.origin.y() - top);
    document.drawContents(&painter, clip);
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

// One PDF being written page by page into memory.
class PdfPages {
public:
    explicit PdfPages(const PageGeometry& geometry)
        : buffer_(&bytes_) {
        buffer_.open(QIODevice::WriteOnly);
        writer_.setCreator(QStringLiteral("Kelvane"));
        writer_.setResolution(layoutDpi);
        turnTo(geometry);
    }

    // The pages drawn from here on take this geometry.
    void turnTo(const PageGeometry& geometry) {
        geometry_ = geometry;
        if (geometry_.section.firstNumber > 0)
            number_ = geometry_.section.firstNumber - 1;
        writer_.setPageLayout(QPageLayout(QPageSize(geometry_.page, QPageSize::Point),
                                          QPageLayout::Portrait, QMarginsF()));
        const QSize rounded = writer_.pageLayout().fullRectPoints().size();
        if (std::find(sizes_.begin(), sizes_.end(), std::pair{rounded, geometry_.page}) ==
            sizes_.end())
            sizes_.emplace_back(rounded, geometry_.page);
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
    void drawFirst(QTextDocument& document, int count) {
        for (int page = 0; page < count && !full(); ++page)
            draw(document, page);
    }

    // Draws a document page by page, laid out only as far as the pages drawn: a long one
    // stops at the page limit without being laid out whole.
    void drawWhole(QTextDocument& document) {
        auto* layout = document.documentLayout();
        QTextBlock next = document.begin();
        for (int page = 0; !full(); ++page) {
            draw(document, page);
            const double bottom = (page + 1) * pageHeight();
            while (next.isValid() && layout->blockBoundingRect(next).bottom() <= bottom)
                next = next.next();
            if (!next.isValid())
                break;
        }
    }

    bool full() const { return drawn_ >= maxPages; }
    double pageHeight() const { return geometry_.textArea.height(); }

    QByteArray finish() {
        if (!painter_.isActive())
            painter_.begin(&writer_); // an empty document is one blank page
        painter_.end();
        for (const auto& [rounded, exact] : sizes_)
            setExactPageSize(bytes_, rounded, exact);
        return std::move(bytes_);
    }

private:
    void draw(QTextDocument& document, int page) {
        if (!painter_.isActive()) {
            painter_.begin(&writer_);
            // Pictures go in as they are, not re-encoded as JPEG.
            painter_.setRenderHint(QPainter::LosslessImageRendering);
        }
        if (drawn_++ > 0)
            writer_.newPage();
        drawPage(painter_, document, geometry_, page);
        const SectionPages::Lines lines = SectionPages::linesOn(geometry_.section, page, ++number_);
        drawMarginText(painter_, geometry_, lines.header, true, number_);
        drawMarginText(painter_, geometry_, lines.footer, false, number_);
    }

    PageGeometry geometry_;
    QByteArray bytes_;
    QBuffer buffer_;
    QPdfWriter writer_{&buffer_};
    QPainter painter_;
    std::vector<std::pair<QSize, QSizeF>> sizes_; // as the writer rounds them, and exact
    int drawn_ = 0;
    int number_ = 0; // the number of the last page drawn, as its section numbers it
};

// Where the section of a block begins among the document's top-level content: at the block,
// or before the table that holds it.
int topLevelPosition(const QTextBlock& block) {
    const QTextFrame* root = block.document()->rootFrame();
    const QTextFrame* frame = QTextCursor(block).currentFrame();
    while (frame != nullptr && frame->parentFrame() != nullptr && frame->parentFrame() != root)
        frame = frame->parentFrame();
    return frame != nullptr && frame != root ? frame->firstPosition() - 1 : block.position();
}

struct Section {
    int start; // document position
    PageGeometry geometry;
};

// The runs of the document whose pages differ from those before them.
std::vector<Section> sectionsOf(const QTextDocument& document, PageSize paper) {
    std::vector<Section> sections{{0, geometryOf(paper)}};
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const auto page = SectionPages::pageOf(block.blockFormat());
        if (!page)
            continue;
        const PageGeometry geometry = geometryOf(*page, paper);
        const int start = topLevelPosition(block);
        if (start <= sections.back().start)
            sections.back().geometry = geometry;
        else if ((geometry != sections.back().geometry || page->first || page->firstNumber > 0) &&
                 sections.size() < maxSections)
            sections.push_back({start, geometry});
    }
    return sections;
}

// A copy of the document from `start` up to `end` (-1: to its end).
std::unique_ptr<QTextDocument> sectionOf(const QTextDocument& source, int start, int end) {
    std::unique_ptr<QTextDocument> document(source.clone());
    QTextCursor cursor(document.get());
    if (end > 0) {
        // From the end of the section's last paragraph, leaving no empty one behind.
        if (document->characterAt(end - 1) == QChar::ParagraphSeparator)
            --end;
        cursor.setPosition(end);
        cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
    }
    if (start > 0) {
        // The first paragraph left keeps the format of the one removed before it: give it
        // its own back.
        const QTextBlock first = document->findBlock(start);
        const bool plain = first.position() == start;
        const QTextBlockFormat format = first.blockFormat();
        const QTextCharFormat chars = first.charFormat();
        cursor.setPosition(0);
        cursor.setPosition(start, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        if (plain) {
            cursor.setBlockFormat(format);
            cursor.setBlockCharFormat(chars);
        }
    }
    return document;
}

// The text starts on a page of its own already: a break before its first paragraph would
// leave a blank page.
void dropLeadingBreak(QTextDocument& document) {
    QTextCursor start(&document);
    if (!(start.blockFormat().pageBreakPolicy() & QTextFormat::PageBreak_AlwaysBefore))
        return;
    QTextBlockFormat noBreak;
    noBreak.setPageBreakPolicy(QTextFormat::PageBreak_Auto);
    start.mergeBlockFormat(noBreak);
}

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

QByteArray pdfLayingOut(QTextDocument& document, PageSize pageSize) {
    const std::vector<Section> sections = sectionsOf(document, pageSize);
    PdfPages pages(sections.front().geometry);
    for (std::size_t i = 0; i < sections.size() && !pages.full(); ++i) {
        // One section is the document itself; of several each is laid out from a copy.
        std::unique_ptr<QTextDocument> copy;
        if (sections.size() > 1)
            copy = sectionOf(document, sections[i].start,
                             i + 1 < sections.size() ? sections[i + 1].start : -1);
        QTextDocument& section = copy ? *copy : document;
        dropLeadingBreak(section);
        pages.turnTo(sections[i].geometry);
        pages.lay(section);
        pages.drawWhole(section);
        // The layout keeps a pointer to the writer; drop it before the writer goes.
        section.documentLayout()->setPaintDevice(nullptr);
    }
    return pages.finish();
}

QByteArray pdf(const QTextDocument& source, PageSize pageSize) {
    // Layout changes the document (page size, paint device): work on a copy.
    const std::unique_ptr<QTextDocument> document(source.clone());
    return pdfLayingOut(*document, pageSize);
}

QByteArray plainTextPdf(const QString& text, const QFont& font, PageSize pageSize) {
    PdfPages pages(geometryOf(pageSize));
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
        pages.drawFirst(slice, std::max(1, count));
        slice.documentLayout()->setPaintDevice(nullptr);
        if (last)
            break;
    }
    return pages.finish();
}

} // namespace kelvane::DocumentTools
