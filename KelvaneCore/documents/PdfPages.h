#pragma once

#include "documents/PageGeometry.h"

#include <QBuffer>
#include <QByteArray>
#include <QPainter>
#include <QPdfWriter>
#include <QTextBlock>

#include <functional>
#include <utility>
#include <vector>

class QTextDocument;

namespace kelvane::PdfLayout {

constexpr int maxPages = 5000;

// A paragraph whose lines run from one page onto the next: where the layout put it, and the
// pages of its first and last lines.
struct Crossing {
    QTextBlock paragraph;
    QPointF origin;
    int firstPage;
    int lastPage;
};

// The sizes of the pages, as the PDF writer rounds them to whole points and exact.
using PageSizes = std::vector<std::pair<QSize, QSizeF>>;

// One PDF being written page by page, into memory or into `device`, from documents laid out
// one after another on its pages.
class PdfPages {
public:
    explicit PdfPages(const PageGeometry& geometry, QIODevice* device = nullptr);

    // The pages drawn from here on take this geometry, as a section's of their own: its first
    // page is the next drawn.
    void turnTo(const PageGeometry& geometry);

    // Lays out an empty document on these pages as `fill` puts its content in. Undo with
    // `release` before the pages go.
    void layWhileFilling(QTextDocument& document, const std::function<void()>& fill);
    static void release(QTextDocument& document);

    // Draws the first `count` pages of a laid-out document, as far as the page limit allows.
    void drawFirst(QTextDocument& document, int count);

    // Counts `count` pages, as far as the page limit allows, as drawn into another PDF: the
    // pages drawn next are numbered on from them.
    void skip(int count);

    // Counts the pages from the document's first again, before any is drawn.
    void recount();

    bool full() const { return drawn_ >= maxPages; }
    double pageHeight() const { return geometry_.textArea.height(); }

    // The PDF's bytes when written into memory, its pages at their exact sizes; nothing when
    // written into a device, where the pages keep the sizes the writer rounded.
    QByteArray finish();
    const PageSizes& pageSizes() const { return sizes_; }

private:
    void draw(QTextDocument& document, const std::vector<Crossing>& crossings, int page);

    PageGeometry geometry_;
    QByteArray bytes_;
    QBuffer buffer_;
    QPdfWriter writer_;
    QPainter painter_;
    PageSizes sizes_;
    int drawn_ = 0;        // pages of the document, skipped ones too
    int written_ = 0;      // pages of this PDF
    int sectionPages_ = 0; // drawn since the pages last turned to a section's
    int number_ = 0;       // the number of the last page drawn, as its section numbers it
};

} // namespace kelvane::PdfLayout
