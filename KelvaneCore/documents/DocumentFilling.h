#pragma once

#include <QTextCursor>
#include <QTextDocument>

#include <stdexcept>

namespace kelvane {

// Most characters a document read from any format may hold: about twice what the page limit
// of a PDF could show of dense text. It bounds the memory a document takes while it is read,
// whatever the size its compressed source expands to.
constexpr int maxDocumentCharacters = 32 << 20;

// Readers call this as they add text; past the limit the document is refused.
inline void checkDocumentLength(const QTextDocument& document) {
    if (document.characterCount() > maxDocumentCharacters)
        throw std::runtime_error("document holds too much text");
}

// While a reader fills a document, the filling is one edit: an insertion outside an edit
// lays its paragraph out to place the cursor, and every paragraph would keep that layout
// (several times the memory of its text). Nor is a history of the insertions kept.
class DocumentFilling {
public:
    explicit DocumentFilling(QTextDocument& document)
        : cursor_(&document) {
        document.setUndoRedoEnabled(false);
        cursor_.beginEditBlock();
    }
    ~DocumentFilling() { cursor_.endEditBlock(); }
    DocumentFilling(const DocumentFilling&) = delete;
    DocumentFilling& operator=(const DocumentFilling&) = delete;

private:
    QTextCursor cursor_;
};

} // namespace kelvane
