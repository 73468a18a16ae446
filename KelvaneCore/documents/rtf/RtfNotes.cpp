#include "documents/DocumentNotes.h"
#include "documents/rtf/RtfReading.h"

#include <utility>

namespace kelvane::Rtf {

// Notes follow the text, each a paragraph led by its number: footnotes, then endnotes from a
// new page.
void Reader::finishWithNotes() {
    if (notes_.empty())
        return builder_.finish(paragraphEnd());
    if (builder_.paragraphStarted())
        builder_.endParagraph(paragraphEnd(), false);
    for (const bool endnotes : {false, true}) {
        bool first = true;
        for (std::size_t index = 0; index < notes_.size(); ++index) {
            if (notes_[index].endnote != endnotes)
                continue;
            if (endnotes && std::exchange(first, false))
                builder_.breakPage();
            const DocumentNotes::Note note = notes_[index].note;
            builder_.insertText(QString::number(note.number), DocumentNotes::markFormat({}, note),
                                false);
            builder_.insertText(u' ' + notes_[index].text.simplified(), QTextCharFormat(), false);
            ParagraphEnd end;
            DocumentNotes::setBody(end.format, note);
            builder_.endParagraph(end, false);
        }
    }
    builder_.finish({});
}

// Footnotes and endnotes are numbered each on their own, their marks with them.
void Reader::finishNote() {
    Note& note = notes_.back();
    const auto kind = note.endnote ? DocumentNotes::Kind::endnote : DocumentNotes::Kind::footnote;
    note.note = {kind, ++noteCounts_[note.endnote ? 1 : 0]};
    if (note.mark.position >= 0)
        builder_.replaceText(note.mark.position, note.mark.length,
                             QString::number(note.note.number),
                             DocumentNotes::markFormat(note.mark.format, note.note));
}

} // namespace kelvane::Rtf
