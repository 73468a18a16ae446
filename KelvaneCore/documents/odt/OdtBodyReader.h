#pragma once

#include "documents/DocumentNotes.h"
#include "documents/odt/OdtStyles.h"

#include <QPointer>
#include <QTextCursor>
#include <QTextDocumentFragment>
#include <QXmlStreamReader>

#include <map>
#include <vector>

class QTextDocument;
class QTextList;
class QTextTable;
class QTextTableCell;

namespace kelvane {
class ZipContainer;
}

namespace kelvane::Odt {

// Walks office:text into a QTextDocument, one cursor moving through paragraphs, lists and
// table cells.
class BodyReader {
public:
    BodyReader(QIODevice& content, const Styles& styles, const ZipContainer& zip,
               QTextDocument& document)
        : xml_(&content)
        , styles_(styles)
        , zip_(zip)
        , cursor_(&document) {}

    void read();

private:
    // Repeated table rows and cells copy their contents; a small file must not repeat a
    // large cell into gigabytes.
    static constexpr int maxCopiedCharacters = 4 << 20;
    static constexpr int maxRepeatedCells = 1 << 16;

    struct CellContents {
        QTextDocumentFragment fragment;
        int length = 0;
    };
    struct Note {
        QString citation;
        QTextDocumentFragment text;
        DocumentNotes::Note note;
    };
    struct ListLevel {
        QString style;
        // Qt deletes a list once its last block leaves it (another list can take it over).
        QPointer<QTextList> list;
        bool awaitingItem = false; // the next paragraph starts a numbered item
        int counter = 0;           // whose numbers the items take: one per outermost list
    };
    struct Table {
        QTextTable* table = nullptr;
        int rows = 0;
        std::vector<double> columnWidths; // points, or 0 where a column's style gives none
        std::map<std::pair<int, int>, TableLines::CellSides> lines; // by row and column
        std::map<std::pair<int, int>, CellPadding> padding;         // likewise, where given
        int headerRows = 0; // rows at the top repeated on every page
        struct Merge {
            int row, column, rows, columns;
        };
        std::vector<Merge> merges; // cells spanning several, merged once all rows are in
    };

    void readBlocks(int depth);
    void readBlockElement(int depth);
    void readParagraph(int depth, int headingLevel);
    void readInline(int depth, const QTextCharFormat& format);
    void readInlineElement(int depth, const QTextCharFormat& format);
    void readList(int depth);
    void readTable(int depth);
    void readTableRows(int depth, Table& table);
    void readRow(int depth, Table& table);
    void readColumn(Table& table);
    void applyWidths(Table& table) const;
    void applyMerges(Table& table);
    void repeatRow(Table& table, int row, int copies);
    void applyPadding(Table& table) const;
    int spendRepeats(int cells);
    void readFrame(int depth, const QTextCharFormat& format);
    bool readImage(QSizeF size);
    QString readChartText();
    void readNote(int depth, const QTextCharFormat& format);
    QTextDocumentFragment readNoteBody(int depth);
    void appendNotes();

    void startBlock(QTextBlockFormat block, const QTextCharFormat& chars,
                    const QString& paragraphStyle);
    void joinList(const QString& paragraphStyle);
    QTextTableCell cellAt(Table& table, int row, int column);
    CellContents contentsOf(const Table& table, int row, int column) const;
    void paste(Table& table, int row, int column, const CellContents& contents);
    void writeText(QStringView text, const QTextCharFormat& format);
    void put(const QString& text, const QTextCharFormat& format);
    void checkDepth(int depth) const;

    QXmlStreamReader xml_;
    const Styles& styles_;
    const ZipContainer& zip_;
    QTextCursor cursor_;
    std::vector<ListLevel> lists_;
    std::map<QString, int> noteCounts_; // by note class
    ListNumbering::Counter counter_;
    int listsStarted_ = 0;
    std::vector<Note> notes_;
    bool blockUnused_ = true;   // the cursor's block is still empty and awaits a paragraph
    bool hasContent_ = false;   // the current paragraph has shown something
    bool pendingSpace_ = false; // collapsed white space, shown only if more text follows
    QTextCharFormat pendingSpaceFormat_;
    bool pendingPageBreak_ = false;
    int copyBudget_ = maxCopiedCharacters;
    int repeatBudget_ = maxRepeatedCells;
};

} // namespace kelvane::Odt
