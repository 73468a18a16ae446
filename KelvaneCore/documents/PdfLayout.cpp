#include "documents/DocumentTools.h"
#include "documents/LayoutSlices.h"
#include "documents/PdfPages.h"
#include "documents/PictureTools.h"
#include "documents/SectionPages.h"
#include "documents/SplitDrawing.h"
#include "naming/PendingOutput.h"

#include <QDir>
#include <QFile>
#include <QFont>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>

#include <algorithm>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace kelvane::DocumentTools {
namespace {

using PdfLayout::PageGeometry;
using PdfLayout::PdfPages;
using PdfLayout::Slice;
using PdfLayout::SliceSource;
using PdfLayout::SplitDrawing;

// Sections on pages unlike their neighbours'; beyond these the rest share the last one's.
constexpr std::size_t maxSections = 200;

// Plain text is laid out in slices of about forty pages' worth of characters.
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

// Plans the document from `start` up to `end` on pages of its own, a slice at a time, until
// the page limit: each slice is laid out to find where the next goes on from, and drawn.
void planSection(SplitDrawing& drawing, SliceSource& source, const Section& section, int end,
                 bool lastSection, int& pages) {
    PdfPages& planner = drawing.planner();
    planner.turnTo(section.geometry);
    const PageGeometry* turn = &section.geometry;
    for (int start = section.start;; turn = nullptr) {
        int sliceEnd = 0;
        {
            const std::lock_guard reading(source.lock);
            sliceEnd = std::min(
                end, Slice::boundaryFrom(source.document, start + drawing.sliceCharacters()));
        }
        const bool last = sliceEnd >= end;
        Slice slice(source, start, sliceEnd, planner);
        int count = slice.pageCount();
        const int from = start;
        start = sliceEnd;
        if (!last && count > 1) {
            if (const auto carry = PdfLayout::carriedFrom(slice, planner.pageHeight())) {
                start = slice.sourcePosition(carry->position);
                count = carry->page;
            }
        }
        pages += count;
        const bool full = pages >= PdfLayout::maxPages;
        drawing.add({from, sliceEnd, count, turn}, slice, full || (last && lastSection));
        PdfPages::release(slice);
        if (last || full)
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
void drawPages(SplitDrawing& drawing, const std::vector<Section>& sections, SliceSource& source) {
    const int documentEnd = source.document.characterCount() - 1;
    int pages = 0;
    for (std::size_t i = 0; i < sections.size() && pages < PdfLayout::maxPages; ++i) {
        const bool last = i + 1 == sections.size();
        planSection(drawing, source, sections[i], last ? documentEnd : sections[i + 1].start, last,
                    pages);
    }
}

// A scratch file the pages are drawn into.
struct DrawnFile {
    DrawnFile()
        : scratch(PendingOutput::file(QDir::tempPath().toStdString(), "pdf"))
        , file(QString::fromStdString(scratch.path().string())) {
        if (!file.open(QIODevice::WriteOnly))
            throw std::runtime_error("no room for the drawn pages");
    }
    void flush() {
        if (!file.flush())
            throw std::runtime_error("the drawn pages could not be written");
    }
    // The drawn pages, read back to be joined with those drawn after them.
    std::unique_ptr<PictureTools::DrawnPdf> readBack() {
        flush();
        return PictureTools::tools().readDrawnPdf(scratch.path());
    }
    PendingOutput scratch;
    QFile file;
};

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
    // The pages are drawn into files of their own, never held whole in memory, that nothing
    // outlives the conversion.
    const std::vector<Section> sections = sectionsOf(document, pageSize);
    PdfLayout::PictureStandIns standIns(document);
    SliceSource source{document, standIns, {}};
    DrawnFile frontFile;
    DrawnFile backFile;
    PdfPages front(sections.front().geometry, &frontFile.file);
    PdfPages back(sections.front().geometry, &backFile.file);
    std::unique_ptr<PictureTools::DrawnPdf> first; // read back by the thread that drew it
    std::vector<std::filesystem::path> rest;
    PdfLayout::PageSizes sizes;
    {
        SplitDrawing drawing(source, front, back, [&] { first = frontFile.readBack(); });
        drawPages(drawing, sections, source);
        if (drawing.drewFront()) {
            if (!first)
                first = frontFile.readBack();
            sizes = front.pageSizes();
        }
        if (drawing.drewBack()) {
            if (first) {
                backFile.flush();
                rest.push_back(backFile.scratch.path());
            } else {
                first = backFile.readBack();
            }
            sizes.insert(sizes.end(), back.pageSizes().begin(), back.pageSizes().end());
        }
    }
    first->writeJoined(rest, sizes, file, standIns);
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
