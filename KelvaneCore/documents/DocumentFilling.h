#pragma once

#include <QTextCursor>
#include <QTextDocument>

namespace kelvane {

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
