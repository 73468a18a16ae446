#include "documents/ListNumbering.h"
#include "documents/docx/DocxBodyReader.h"

// Footnotes and endnotes of the body reader.
namespace kelvane::Docx {

using Ooxml::nextChild;
using Ooxml::wAttribute;

QString Notes::label(NoteKind, int number) {
    return ListNumbering::numberText(ListNumbering::NumberFormat::decimal, number);
}

void BodyReader::readNotes(NoteKind kind) {
    if (!nextChild(xml_))
        return;
    const auto& numbers = notes_.of(kind);
    pendingPageBreak_ = kind == NoteKind::endnote;
    while (nextChild(xml_)) {
        const auto found = numbers.find(wAttribute(xml_, u"id"));
        if (found == numbers.end() || !wAttribute(xml_, u"type").isEmpty()) {
            xml_.skipCurrentElement(); // separators, and notes the text never refers to
            continue;
        }
        note_ = DocumentNotes::Note{kind, found->second};
        readBlocks(1);
    }
    note_.reset();
}

void BodyReader::readNoteReference(NoteKind kind, const QTextCharFormat& format) {
    auto& numbers = notes_.of(kind);
    const QString id = wAttribute(xml_, u"id");
    const auto [entry, added] = numbers.emplace(id, static_cast<int>(numbers.size()) + 1);
    write(Notes::label(kind, entry->second),
          DocumentNotes::markFormat(format, {kind, entry->second}));
}

} // namespace kelvane::Docx
