#pragma once

#include <QTextFormat>

#include <optional>

// Footnotes and endnotes in the document model. The mark where the text refers to a note,
// and the number that leads the note's own text, carry `markProperty`; the paragraphs of the
// note's text, collected after the body (footnotes first, then endnotes from a new page, as a
// word processor prints them), carry `bodyProperty`. Both hold the note, so that a writer can
// make real notes of them again.
namespace kelvane::DocumentNotes {

enum class Kind { footnote, endnote };

struct Note {
    Kind kind = Kind::footnote;
    int number = 1; // from 1, each kind counted on its own
    friend bool operator==(const Note&, const Note&) = default;
};

constexpr int markProperty = QTextFormat::UserProperty + 2;
constexpr int bodyProperty = QTextFormat::UserProperty + 3;

// `format` raised to a superscript that marks `note`.
QTextCharFormat markFormat(QTextCharFormat format, Note note);
// The block becomes a paragraph of `note`'s text.
void setBody(QTextBlockFormat& block, Note note);

std::optional<Note> markOf(const QTextFormat& chars);
std::optional<Note> bodyOf(const QTextFormat& block);

} // namespace kelvane::DocumentNotes
