#include "documents/odt/OdtBodyReader.h"

#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>
#include <utility>

namespace kelvane::Odt {

void BodyReader::readNote(int depth, const QTextCharFormat& format) {
    const QString noteClass = attribute(xml_, ns::text, "note-class");
    Note note;
    while (xml_.readNextStartElement()) {
        if (isElement(xml_, ns::text, u"note-citation"))
            note.citation =
                xml_.readElementText(QXmlStreamReader::IncludeChildElements).simplified();
        else if (isElement(xml_, ns::text, u"note-body"))
            note.text = readNoteBody(depth + 1);
        else
            xml_.skipCurrentElement();
    }
    // Notes are marked in figures, each class counted on its own: a letter or roman numeral
    // would run into the word before it.
    const int number = ++noteCounts_[noteClass];
    if (note.citation.isEmpty() || !note.citation.front().isDigit())
        note.citation = QString::number(number);
    note.note = {noteClass == u"endnote" ? DocumentNotes::Kind::endnote
                                         : DocumentNotes::Kind::footnote,
                 number};
    put(note.citation, DocumentNotes::markFormat(format, note.note));
    notes_.push_back(std::move(note));
}

// A note's paragraphs, lists and runs, read aside while the paragraph that refers to the
// note waits for its next words.
QTextDocumentFragment BodyReader::readNoteBody(int depth) {
    QTextDocument body;
    QTextCursor outer = std::exchange(cursor_, QTextCursor(&body));
    auto outerLists = std::exchange(lists_, {});
    const bool unused = std::exchange(blockUnused_, true);
    const bool content = std::exchange(hasContent_, false);
    const bool space = std::exchange(pendingSpace_, false);
    const QTextCharFormat spaceFormat = pendingSpaceFormat_;
    const bool pageBreak = std::exchange(pendingPageBreak_, false);
    readBlocks(depth);
    QTextDocumentFragment fragment(&body);
    cursor_ = outer;
    lists_ = std::move(outerLists);
    blockUnused_ = unused;
    hasContent_ = content;
    pendingSpace_ = space;
    pendingSpaceFormat_ = spaceFormat;
    pendingPageBreak_ = pageBreak;
    return fragment;
}

// Footnotes first, then endnotes from a new page; each led by its number.
void BodyReader::appendNotes() {
    cursor_.movePosition(QTextCursor::End);
    lists_.clear();
    std::stable_partition(notes_.begin(), notes_.end(), [](const Note& note) {
        return note.note.kind == DocumentNotes::Kind::footnote;
    });
    bool endnotesStarted = false;
    for (const Note& note : notes_) {
        QTextBlockFormat block;
        if (note.note.kind == DocumentNotes::Kind::endnote && !endnotesStarted) {
            block.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
            endnotesStarted = true;
        }
        startBlock(block, {}, {});
        const int start = cursor_.block().position();
        put(note.citation, DocumentNotes::markFormat({}, note.note));
        put(QStringLiteral(" "), {});
        cursor_.insertFragment(note.text);
        QTextBlockFormat body;
        DocumentNotes::setBody(body, note.note);
        QTextCursor all(cursor_.document());
        all.setPosition(start);
        all.setPosition(cursor_.position(), QTextCursor::KeepAnchor);
        all.mergeBlockFormat(body);
    }
}

} // namespace kelvane::Odt
