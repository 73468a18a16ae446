#include "documents/LayoutSlices.h"

#include "documents/DocumentImages.h"
#include "documents/ListNumbering.h"

#include <QFontMetricsF>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocumentFragment>
#include <QTextFrame>
#include <QTextList>

#include <cmath>
#include <map>
#include <vector>

namespace kelvane::PdfLayout {
namespace {

constexpr QChar frameStart(0xFDD0);

// The table (or other frame) among the document's top-level content that holds a block, or
// none for a block of the text itself.
const QTextFrame* topLevelFrameOf(const QTextBlock& block) {
    const QTextFrame* root = block.document()->rootFrame();
    const QTextFrame* frame = QTextCursor(block).currentFrame();
    while (frame != nullptr && frame->parentFrame() != nullptr && frame->parentFrame() != root)
        frame = frame->parentFrame();
    return frame == root ? nullptr : frame;
}

// The label a list shows for its item `number` (from 1); empty for bullets.
QString labelOf(const QTextListFormat& format, int number) {
    using ListNumbering::NumberFormat;
    NumberFormat shown = NumberFormat::bullet;
    switch (format.style()) {
    case QTextListFormat::ListDecimal:
        shown = NumberFormat::decimal;
        break;
    case QTextListFormat::ListLowerAlpha:
        shown = NumberFormat::lowerLetter;
        break;
    case QTextListFormat::ListUpperAlpha:
        shown = NumberFormat::upperLetter;
        break;
    case QTextListFormat::ListLowerRoman:
        shown = NumberFormat::lowerRoman;
        break;
    case QTextListFormat::ListUpperRoman:
        shown = NumberFormat::upperRoman;
        break;
    default:
        return {};
    }
    const QString suffix = format.hasProperty(QTextFormat::ListNumberSuffix) ? format.numberSuffix()
                                                                             : QStringLiteral(".");
    return format.numberPrefix() + ListNumbering::numberText(shown, number) + suffix;
}

// A list item whose number is written out before its text, in the margin where the list would
// have drawn it, indented as it was.
int writeOutNumber(QTextBlock block, QTextList& list, const QString& label) {
    QTextBlockFormat format = block.blockFormat();
    const int indent = list.format().indent();
    list.remove(block);
    const QString text = label + u' ';
    format.setIndent(format.indent() + indent);
    format.setTextIndent(format.textIndent() -
                         QFontMetricsF(block.charFormat().font()).horizontalAdvance(text));
    format.clearProperty(QTextFormat::ObjectIndex);
    QTextCursor cursor(block);
    cursor.setBlockFormat(format);
    cursor.insertText(text, block.charFormat());
    return static_cast<int>(text.size());
}

} // namespace

Slice::Slice(SliceSource& source, int start, int end, PdfPages& pages)
    : source_(source)
    , start_(start) {
    setUndoRedoEnabled(false);
    {
        const std::lock_guard reading(source.lock);
        const QTextDocument& document = source.document;
        setDefaultFont(document.defaultFont());
        setDefaultTextOption(document.defaultTextOption());
        setIndentWidth(document.indentWidth());
        setUseDesignMetrics(document.useDesignMetrics());
        setBaseUrl(document.baseUrl());
        rootFrame()->setFrameFormat(document.rootFrame()->frameFormat());
    }
    pages.layWhileFilling(*this, [this, start, end] {
        const std::lock_guard reading(source_.lock);
        copyRange(start, end);
        findPictures();
        dropLeadingBreak();
    });
}

int Slice::boundaryFrom(const QTextDocument& source, int position) {
    QTextBlock block = source.findBlock(position);
    while (block.isValid()) {
        if (const QTextFrame* frame = topLevelFrameOf(block))
            block = source.findBlock(frame->lastPosition() + 1);
        else if (block.position() >= position)
            return block.position();
        else
            block = block.next();
    }
    return source.characterCount() - 1;
}

int Slice::sourcePosition(int position) const {
    int inSource = start_ + position;
    for (const auto& [at, length] : labels_)
        if (at < position)
            inSource -= length;
    return inSource;
}

QVariant Slice::loadResource(int type, const QUrl& name) {
    // Only pictures shown in the text have stand-ins: a background tiled from one would not be
    // given its picture. Pictures are decoded holding the lock too: the metafile drawers are
    // not known to be safe on two threads at once.
    const std::lock_guard reading(source_.lock);
    if (type == ImageResource && pictures_.contains(name))
        if (const auto standIn = source_.standIns.standIn(name))
            return *standIn;
    const QVariant resource = source_.document.resource(type, name);
    return type == ImageResource ? DocumentImages::forDrawing(resource) : resource;
}

// The pictures shown in the text. One without a width or height of its own would be laid out
// at its stand-in's size: it takes them from its bytes, as the layout would have from the
// decoded picture.
void Slice::findPictures() {
    std::vector<std::pair<int, QTextImageFormat>> unsized; // where, and the format to give
    for (QTextBlock block = begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            QTextImageFormat format = it.fragment().charFormat().toImageFormat();
            if (!format.isValid())
                continue;
            const QUrl name = baseUrl().resolved(QUrl(format.name()));
            pictures_.insert(name);
            if (format.hasProperty(QTextFormat::ImageWidth) &&
                format.hasProperty(QTextFormat::ImageHeight))
                continue;
            const auto pixels = source_.standIns.pixelSize(name);
            if (!pixels)
                continue;
            const double aspect = static_cast<double>(pixels->height()) / pixels->width();
            if (format.hasProperty(QTextFormat::ImageWidth)) {
                format.setHeight(std::round(format.width() * aspect));
            } else if (format.hasProperty(QTextFormat::ImageHeight)) {
                format.setWidth(std::round(format.height() / aspect));
            } else {
                format.setWidth(pixels->width());
                format.setHeight(pixels->height());
            }
            for (int i = 0; i < it.fragment().length(); ++i)
                unsized.emplace_back(it.fragment().position() + i, format);
        }
    }
    for (const auto& [position, format] : unsized) {
        QTextCursor cursor(this);
        cursor.setPosition(position);
        cursor.setPosition(position + 1, QTextCursor::KeepAnchor);
        cursor.setCharFormat(format);
    }
}

void Slice::copyRange(int start, int end) {
    // The last paragraph's end stays out: the slice's own last paragraph takes its text.
    if (end > start && source_.document.characterAt(end - 1) == QChar::ParagraphSeparator)
        --end;
    // A paragraph's format travels with the separator before it: copy from there when that is
    // a plain paragraph end, then drop the empty paragraph it makes.
    const bool atTable = source_.document.characterAt(start) == frameStart;
    const bool fromSeparator = !atTable && start > 0 &&
                               source_.document.characterAt(start - 1) == QChar::ParagraphSeparator;
    QTextCursor selection(const_cast<QTextDocument*>(&source_.document));
    selection.setPosition(fromSeparator ? start - 1 : start);
    selection.setPosition(end, QTextCursor::KeepAnchor);
    QTextCursor(this).insertFragment(QTextDocumentFragment(selection));
    if (!atTable)
        keepFirstParagraphFormat(source_.document.findBlock(start), fromSeparator);
    if (!atTable && source_.document.findBlock(start).position() != start)
        continueParagraph();
    continueListNumbers(start);
}

// The copy leaves an empty paragraph before the first one where it began at a separator, and
// where that paragraph is a list item; the rest of the first paragraph's format is lost.
void Slice::keepFirstParagraphFormat(const QTextBlock& original, bool hasSpareBlock) {
    QTextCursor cursor(this);
    if (hasSpareBlock || (original.textList() != nullptr && firstBlock().textList() == nullptr))
        cursor.deleteChar();
    if (original.textList() == nullptr)
        cursor.setBlockFormat(original.blockFormat());
    cursor.setBlockCharFormat(original.charFormat());
}

// The slice goes on with a paragraph begun on the page before: its first line is no first
// line, without the paragraph's indent, space above, page break or list label.
void Slice::continueParagraph() {
    QTextBlock block = firstBlock();
    int listIndent = 0;
    if (QTextList* list = block.textList()) {
        listIndent = list->format().indent();
        list->remove(block);
    }
    QTextBlockFormat format = block.blockFormat();
    format.clearProperty(QTextFormat::ObjectIndex);
    format.setIndent(format.indent() + listIndent);
    format.setTextIndent(0);
    format.setTopMargin(0);
    format.setPageBreakPolicy(QTextFormat::PageBreak_Auto);
    QTextCursor(block).setBlockFormat(format);
}

// Numbered lists count from one in each document: the items of a list that began before the
// slice have their numbers written out.
void Slice::continueListNumbers(int start) {
    std::map<const QTextList*, int> countedBefore; // items of each list before the slice's first
    QTextBlock original = source_.document.findBlock(start);
    for (QTextBlock block = firstBlock(); block.isValid() && original.isValid();
         block = block.next(), original = original.next()) {
        QTextList* list = block.textList();
        if (list == nullptr || labelOf(list->format(), 1).isEmpty())
            continue;
        auto counted = countedBefore.find(list);
        if (counted == countedBefore.end()) {
            const QTextList* from = original.textList();
            counted = countedBefore.emplace(list, from ? from->itemNumber(original) : 0).first;
        }
        if (counted->second == 0)
            continue; // the list begins in the slice
        const int position = block.position();
        labels_.emplace_back(
            position, writeOutNumber(block, *list, labelOf(list->format(), ++counted->second)));
    }
}

// The text starts on a page of its own already: a break before its first paragraph would
// leave a blank page.
void Slice::dropLeadingBreak() {
    QTextCursor start(this);
    if (!(start.blockFormat().pageBreakPolicy() & QTextFormat::PageBreak_AlwaysBefore))
        return;
    QTextBlockFormat noBreak;
    noBreak.setPageBreakPolicy(QTextFormat::PageBreak_Auto);
    start.mergeBlockFormat(noBreak);
}

} // namespace kelvane::PdfLayout
