#include "documents/DocumentTools.h"
#include "documents/LayoutSlices.h"
#include "documents/PdfPages.h"
#include "documents/SectionPages.h"
#include "naming/PendingOutput.h"

#include <QDir>
#include <QFile>
#include <QFont>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace kelvane::DocumentTools {
namespace {

using PdfLayout::PageGeometry;
using PdfLayout::PdfPages;

// Sections on pages unlike their neighbours'; beyond these the rest share the last one's.
constexpr std::size_t maxSections = 200;

// A slice is about forty pages' worth of characters: laid out at once, never more.
constexpr int sliceCharacters = 200000;

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
    std::vector<Section> sections{{0, PdfLayout::geometryOf(paper)}};
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const auto page = SectionPages::pageOf(block.blockFormat());
        if (!page)
            continue;
        const PageGeometry geometry = PdfLayout::geometryOf(*page, paper);
        const int start = topLevelPosition(block);
        if (start <= sections.back().start)
            sections.back().geometry = geometry;
        else if ((geometry != sections.back().geometry || page->first || page->firstNumber > 0) &&
                 sections.size() < maxSections)
            sections.push_back({start, geometry});
    }
    return sections;
}

// Draws the document from `start` up to `end` on pages of its own, a slice at a time, until
// the page limit.
void drawSection(PdfPages& pages, const QTextDocument& document,
                 PdfLayout::PictureStandIns& standIns, int start, int end) {
    while (!pages.full()) {
        const int sliceEnd =
            std::min(end, PdfLayout::Slice::boundaryFrom(document, start + sliceCharacters));
        const bool last = sliceEnd >= end;
        PdfLayout::Slice slice(document, start, sliceEnd, pages, &standIns);
        int count = slice.pageCount();
        start = sliceEnd;
        if (!last && count > 1) {
            if (const auto carry = PdfLayout::carriedFrom(slice, pages.pageHeight())) {
                start = slice.sourcePosition(carry->position);
                count = carry->page;
            }
        }
        pages.drawFirst(slice, count);
        PdfPages::release(slice);
        if (last)
            break;
    }
}

// Plain text is laid out a slice at a time too, cut after a line end where one is near.
constexpr qsizetype longestLineSearch = 20000;

qsizetype textSliceEnd(const QString& text, qsizetype from) {
    qsizetype end = std::min(text.size(), from + sliceCharacters);
    if (end == text.size())
        return end;
    const qsizetype lineEnd = text.indexOf(u'\n', end);
    return lineEnd >= 0 && lineEnd - end < longestLineSearch ? lineEnd + 1 : end;
}

// The pages as the PDF writer draws them, pictures as their stand-ins where they have one.
void drawPages(PdfPages& pages, const std::vector<Section>& sections, const QTextDocument& document,
               PdfLayout::PictureStandIns& standIns) {
    const int documentEnd = document.characterCount() - 1;
    for (std::size_t i = 0; i < sections.size() && !pages.full(); ++i) {
        pages.turnTo(sections[i].geometry);
        drawSection(pages, document, standIns, sections[i].start,
                    i + 1 < sections.size() ? sections[i + 1].start : documentEnd);
    }
}

} // namespace

QByteArray pdf(const QTextDocument& document, PageSize pageSize) {
    const PendingOutput scratch = PendingOutput::file(QDir::tempPath().toStdString(), "pdf");
    writePdf(document, pageSize, scratch.path());
    QFile written(QString::fromStdString(scratch.path().string()));
    if (!written.open(QIODevice::ReadOnly))
        throw std::runtime_error("the written PDF cannot be read back");
    return written.readAll();
}

void writePdf(const QTextDocument& document, PageSize pageSize, const std::filesystem::path& file) {
    // The pages are drawn into a file of their own, never held whole in memory, that nothing
    // outlives the conversion.
    const PendingOutput scratch = PendingOutput::file(QDir::tempPath().toStdString(), "pdf");
    QFile drawn(QString::fromStdString(scratch.path().string()));
    if (!drawn.open(QIODevice::WriteOnly))
        throw std::runtime_error("no room for the drawn pages");
    const std::vector<Section> sections = sectionsOf(document, pageSize);
    PdfLayout::PictureStandIns standIns(document);
    PdfPages pages(sections.front().geometry, &drawn);
    drawPages(pages, sections, document, standIns);
    pages.finish();
    if (!drawn.flush())
        throw std::runtime_error("the drawn pages could not be written");
    standIns.write(scratch.path(), pages.pageSizes(), file);
}

QByteArray plainTextPdf(const QString& text, const QFont& font, PageSize pageSize) {
    PdfPages pages(PdfLayout::geometryOf(pageSize));
    QString carried;
    for (qsizetype from = 0; !pages.full();) {
        const qsizetype end = textSliceEnd(text, from);
        const bool last = end >= text.size();
        QTextDocument slice;
        slice.setDefaultFont(font);
        pages.layWhileFilling(
            slice, [&] { QTextCursor(&slice).insertText(carried + text.mid(from, end - from)); });
        from = end;
        carried.clear();
        int count = slice.pageCount();
        if (!last && count > 1) {
            if (const auto carry = PdfLayout::carriedFrom(slice, pages.pageHeight())) {
                carried = slice.toRawText().mid(carry->position);
                carried.replace(QChar::ParagraphSeparator, u'\n');
                count = carry->page;
            }
        }
        pages.drawFirst(slice, count);
        PdfPages::release(slice);
        if (last)
            break;
    }
    return pages.finish();
}

} // namespace kelvane::DocumentTools
