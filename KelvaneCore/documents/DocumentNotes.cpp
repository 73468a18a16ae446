#include "documents/DocumentNotes.h"

#include <QTextCharFormat>

namespace kelvane::DocumentNotes {
namespace {

// A footnote is stored as its number, an endnote as its number negated.
int keyOf(Note note) {
    return note.kind == Kind::footnote ? note.number : -note.number;
}

std::optional<Note> noteOf(const QTextFormat& format, int property) {
    const int key = format.intProperty(property);
    if (key == 0)
        return std::nullopt;
    return key > 0 ? Note{Kind::footnote, key} : Note{Kind::endnote, -key};
}

} // namespace

QTextCharFormat markFormat(QTextCharFormat format, Note note) {
    format.setVerticalAlignment(QTextCharFormat::AlignSuperScript);
    format.setProperty(markProperty, keyOf(note));
    return format;
}

void setBody(QTextBlockFormat& block, Note note) {
    block.setProperty(bodyProperty, keyOf(note));
}

std::optional<Note> markOf(const QTextFormat& chars) {
    return noteOf(chars, markProperty);
}

std::optional<Note> bodyOf(const QTextFormat& block) {
    return noteOf(block, bodyProperty);
}

} // namespace kelvane::DocumentNotes
