#include "documents/rtf/RtfBuilder.h"

#include "documents/DocumentFilling.h"
#include "documents/DocumentImages.h"
#include "documents/TableRows.h"

#include <QTextDocument>
#include <QTextList>
#include <QTextTable>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace kelvane::Rtf {
Builder::Builder(QTextDocument& document)
    : cursor_(&document) {}

void Builder::insertText(const QString& text, const QTextCharFormat& format, bool inTable) {
    enter(inTable);
    checkDocumentLength(*cursor_.document());
    cursor_.insertText(text, format);
    blockTouched_ = true;
}

void Builder::replaceText(int start, int length, const QString& text,
                          const QTextCharFormat& format) {
    QTextCursor placed(cursor_.document());
    placed.setPosition(start);
    placed.setPosition(start + length, QTextCursor::KeepAnchor);
    placed.insertText(text, format);
}

bool Builder::insertImage(const QByteArray& bytes, QSizeF points, bool inTable) {
    enter(inTable);
    if (!DocumentImages::insert(cursor_, bytes, points))
        return false;
    blockTouched_ = true;
    return true;
}

void Builder::endParagraph(const ParagraphEnd& end, bool inTable) {
    enter(inTable);
    applyParagraph(end);
    needBlock_ = true;
}

void Builder::breakPage() {
    if (table_ && !rowEnded_)
        return; // a table row cannot start a page in this model
    if (table_)
        leaveTable();
    breakCancellable_ = !(needBlock_ ? pendingBreak_ : breakBefore_);
    if (needBlock_)
        pendingBreak_ = true;
    else
        breakBefore_ = true;
}

void Builder::cancelPageBreak() {
    if (!std::exchange(breakCancellable_, false))
        return;
    pendingBreak_ = false;
    breakBefore_ = false;
}

int Builder::takeSectionStart() {
    return std::exchange(sectionStart_, -1);
}

void Builder::finish(const ParagraphEnd& end) {
    if (blockTouched_ && !needBlock_)
        applyParagraph(end);
    if (table_)
        finishTable();
}

void Builder::enter(bool inTable) {
    if (inTable && !table_)
        startTable();
    else if (!inTable && table_)
        leaveTable();
    if (table_)
        moveToPendingCell();
    breakCancellable_ = false;
    if (needBlock_) {
        cursor_.insertBlock(QTextBlockFormat(), QTextCharFormat());
        needBlock_ = false;
        blockTouched_ = false;
        breakBefore_ = pendingBreak_;
        pendingBreak_ = false;
    }
    if (sectionStart_ < 0)
        sectionStart_ = cursor_.block().position();
}

void Builder::applyParagraph(const ParagraphEnd& end) {
    QTextBlockFormat format = end.format;
    if (breakBefore_)
        format.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
    std::optional<ListItem> item = end.listItem;
    if (!item && end.typedListLevel > 0 && (item = takeTypedMarker(end.typedListLevel))) {
        format.clearProperty(QTextFormat::BlockLeftMargin);
        format.clearProperty(QTextFormat::TextIndent);
    }
    cursor_.setBlockFormat(format);
    if (!end.label.isEmpty()) {
        QTextCursor start(cursor_.block());
        start.insertText(end.label + u' ');
    }
    if (item) {
        joinList(*item, end);
    } else {
        // Numbering without list definitions restarts after any other paragraph.
        std::erase_if(lists_, [](const auto& entry) { return entry.first.first == 0; });
    }
}

void Builder::joinList(const ListItem& item, const ParagraphEnd& end) {
    // A shallower item closes the deeper lists of its group: their next items start anew.
    std::erase_if(lists_, [&](const auto& entry) {
        return entry.first.first == item.group && entry.first.second > item.level;
    });
    QPointer<QTextList>& list = lists_[{item.group, item.level}];
    if (list && list->format().style() == item.style) {
        list->add(cursor_.block());
        return;
    }
    QTextListFormat format;
    format.setStyle(item.style);
    format.setIndent(item.level);
    format.setNumberPrefix(end.numberPrefix);
    format.setNumberSuffix(end.numberSuffix);
    list = cursor_.createList(format);
}

std::optional<ListItem> Builder::takeTypedMarker(int level) {
    const QString text = cursor_.block().text();
    const qsizetype tab = text.indexOf(u'\t');
    if (tab < 1 || tab > 6)
        return std::nullopt;
    const QStringView marker = QStringView(text).first(tab).trimmed();
    std::optional<ListItem> item;
    if (marker.size() == 1 &&
        QStringView(u"\u2022\u00B7\u25CF\u25E6\u25AA-o").contains(marker[0])) {
        item = ListItem{0, level, QTextListFormat::ListDisc};
    } else if (marker.size() >= 2 && (marker.endsWith(u'.') || marker.endsWith(u')'))) {
        const QStringView number = marker.chopped(1);
        if (std::all_of(number.begin(), number.end(), [](QChar c) { return c.isDigit(); }))
            item = ListItem{0, level, QTextListFormat::ListDecimal};
        else if (number.size() == 1 && number[0].isLower())
            item = ListItem{0, level, QTextListFormat::ListLowerAlpha};
        else if (number.size() == 1 && number[0].isUpper())
            item = ListItem{0, level, QTextListFormat::ListUpperAlpha};
    }
    if (item) {
        QTextCursor marked(cursor_.block());
        marked.setPosition(cursor_.block().position() + static_cast<int>(tab) + 1,
                           QTextCursor::KeepAnchor);
        marked.removeSelectedText();
    }
    return item;
}

} // namespace kelvane::Rtf
