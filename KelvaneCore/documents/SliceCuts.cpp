#include "documents/LayoutSlices.h"

#include <QAbstractTextDocumentLayout>
#include <QTextBlock>
#include <QTextFrame>
#include <QTextLayout>

#include <cmath>
#include <vector>

namespace kelvane::PdfLayout {
namespace {

int pageAt(double y, double pageHeight) {
    return static_cast<int>(std::floor((y + 0.5) / pageHeight));
}

// A paragraph or table of the text itself, and the pages it starts and ends on. A line that
// does not fit is moved to the next page inside its paragraph: a paragraph is on the pages of
// its first and last lines, not of its top and bottom.
struct Item {
    QTextBlock block; // or invalid for a table
    int position;     // where it begins: a paragraph's first character, a table's marker
    int startPage;
    int endPage;
};

std::vector<Item> itemsOf(QTextDocument& document, double pageHeight) {
    auto* layout = document.documentLayout();
    std::vector<Item> items;
    for (auto it = document.rootFrame()->begin(); !it.atEnd(); ++it) {
        if (const QTextBlock block = it.currentBlock(); block.isValid()) {
            const QTextLayout* lines = block.layout();
            double first = layout->blockBoundingRect(block).top();
            double last = first;
            if (lines != nullptr && lines->lineCount() > 0) {
                first = lines->position().y() + lines->lineAt(0).y();
                last = lines->position().y() + lines->lineAt(lines->lineCount() - 1).y();
            }
            items.push_back(
                {block, block.position(), pageAt(first, pageHeight), pageAt(last, pageHeight)});
        } else if (const QTextFrame* frame = it.currentFrame()) {
            const QRectF bounds = layout->frameBoundingRect(const_cast<QTextFrame*>(frame));
            items.push_back({{},
                             frame->firstPosition() - 1,
                             pageAt(bounds.top(), pageHeight),
                             pageAt(bounds.bottom() - 1, pageHeight)});
        }
    }
    return items;
}

} // namespace

std::optional<Carry> carriedFrom(QTextDocument& document, double pageHeight) {
    const std::vector<Item> items = itemsOf(document, pageHeight);
    for (int page = document.pageCount() - 1; page >= 1 && !items.empty();) {
        // The first item that starts on the page or after it, and the one before.
        std::size_t first = items.size();
        while (first > 0 && items[first - 1].startPage >= page)
            --first;
        if (first == 0)
            return std::nullopt;
        const Item& before = items[first - 1];
        if (before.endPage < page)
            return Carry{items[first].position, page};
        if (before.block.isValid()) {
            // A paragraph across the page's head goes on from its first line on the page.
            const QTextLayout* lines = before.block.layout();
            for (int i = 0; i < lines->lineCount(); ++i) {
                if (pageAt(lines->position().y() + lines->lineAt(i).y(), pageHeight) >= page)
                    return Carry{before.position + lines->lineAt(i).textStart(), page};
            }
            if (first < items.size())
                return Carry{items[first].position, page};
            return std::nullopt;
        }
        page = before.startPage; // a table across the page's head goes on whole
    }
    return std::nullopt;
}

} // namespace kelvane::PdfLayout
