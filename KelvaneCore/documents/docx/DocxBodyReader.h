#pragma once

#include "documents/DocumentNotes.h"
#include "documents/docx/DocxNumbering.h"
#include "documents/docx/DocxPictures.h"
#include "documents/docx/DocxStyles.h"
#include "documents/docx/Ooxml.h"

#include <QColor>
#include <QPointer>
#include <QTextCursor>
#include <QTextFormat>
#include <QXmlStreamReader>

#include <map>
#include <optional>
#include <vector>

class QTextDocument;
class QTextList;
class QTextTable;

namespace kelvane {
class ZipContainer;
}

namespace kelvane::Docx {

constexpr int maxDepth = 64;
constexpr int maxTableNesting = 8;
constexpr int maxTableColumns = 64;
constexpr int maxBlocks = 500000;

// Elements whose content is not running text: tracked deletions, field instructions,
// content-control settings, revision records, section settings, and the fallback branch of
// markup-compatibility blocks whose first branch is read instead.
bool isSkipped(const QXmlStreamReader& xml);
// Content controls, their content and custom XML: elements that only wrap what they hold.
bool isWrapper(const QXmlStreamReader& xml);

// The link of a HYPERLINK field instruction: its quoted target, or "#name" for a place in
// the document (\l).
QString hyperlinkOf(const QString& instruction);
void setLink(QTextCharFormat& format, const QString& href);

// Footnotes and endnotes are numbered in the order the text refers to them, each kind on its
// own; their text follows the body, each note led by its number.
using NoteKind = DocumentNotes::Kind;
struct Notes {
    std::map<QString, int> footnotes; // w:id to number
    std::map<QString, int> endnotes;
    std::map<QString, int>& of(NoteKind kind) {
        return kind == NoteKind::footnote ? footnotes : endnotes;
    }
    // The mark of a note: its number, in figures (letters would run into the word before).
    static QString label(NoteKind kind, int number);
};

// A complex field (w:fldChar begin … separate … end) being read: its instruction, and once
// its result begins, the link a HYPERLINK field gives that result.
struct Field {
    QString instruction;
    QString href;
    bool inResult = false;
};

struct Table {
    QTextTable* table = nullptr;
    int rows = 0;
    std::vector<int> mergeStart; // per column, the row a vertical merge began in, or -1
    // Merged cells by their first row and column: rows and columns they cover. Merging waits
    // for the whole grid, as QTextTable loses track of cells when rows are appended below
    // merged ones.
    std::map<std::pair<int, int>, std::pair<int, int>> merges;
    std::vector<double> columnWidths; // twips, from the grid
    std::optional<QTextLength> width; // as the table's properties give it
    TableLook look;
    int headerRows = 0; // rows at the top repeated on every page
};

// Walks w:body into a QTextDocument, one cursor moving through paragraphs and table cells.
class BodyReader {
public:
    BodyReader(QIODevice& content, const Ooxml::Relationships& relationships,
               const ZipContainer& zip, const Styles& styles, const Numbering& numbering,
               QTextDocument& document, Notes& notes)
        : xml_(&content)
        , relationships_(relationships)
        , zip_(zip)
        , styles_(styles)
        , numbering_(numbering)
        , notes_(notes)
        , cursor_(&document) {
        cursor_.movePosition(QTextCursor::End);
        blockUnused_ = document.isEmpty();
    }

    // The body of word/document.xml; `evenPagesApart` where the settings give even pages
    // headers and footers of their own.
    void read(bool evenPagesApart);
    // The notes of a footnotes or endnotes part that the body referred to, in their order.
    void readNotes(NoteKind kind);

private:
    void readBlocks(int depth);
    void readBlockElement(int depth);
    void readParagraph(int depth);
    void beginParagraph(const ParagraphProperties& direct);
    void joinList(int numId, int level, const ListNumbering::ListLook& look);
    void readInline(int depth, const QTextCharFormat& format);
    void readHyperlink(int depth, QTextCharFormat format);
    void readRun(int depth, QTextCharFormat& format);
    void readRunChild(int depth, QTextCharFormat& format);
    void readText(const QTextCharFormat& format);
    void readAlternateContent(int depth, QTextCharFormat& format);
    void insertImage(const PictureReference& picture);
    void readNoteReference(NoteKind kind, const QTextCharFormat& format);
    void readSymbol(const QTextCharFormat& format);
    void readFieldChar(const QTextCharFormat& format);
    void readTextBoxes(int depth);
    void readTable(int depth);
    void readTableChildren(int depth, Table& table, int& columns);
    void readRow(int depth, Table& table);
    void readCells(int depth, Table& table, int& column);
    void readRowProperties(Table& table);
    struct CellProperties {
        int span = 1;
        bool merged = false; // part of a vertical merge
        bool restart = false;
        Borders borders;
        QColor shading; // invalid when the cell is not shaded
        CellMargins margins;
    };
    void readCell(int depth, Table& table, int& column);
    CellProperties readCellProperties();
    // Puts the cursor into the cell's place in the grid; false when its content is not read.
    bool placeCell(Table& table, int& column, const CellProperties& properties);
    void skipRest();

    void startBlock(QTextBlockFormat block, const QTextCharFormat& chars);
    void endSection(const Section& section);
    QString partText(const QString& relationshipId);
    SectionPages::Lines linesOf(const Section& section, const QString& type);
    void beforeContent();
    void write(const QString& text, const QTextCharFormat& format);
    void countBlocks(int count);
    void checkDepth(int depth) const;

    QXmlStreamReader xml_;
    const Ooxml::Relationships& relationships_;
    const ZipContainer& zip_;
    const Styles& styles_;
    const Numbering& numbering_;
    Notes& notes_;
    ListNumbering::Counter counter_;
    QTextCursor cursor_;
    std::vector<Field> fields_;               // nested complex fields, innermost last
    std::optional<DocumentNotes::Note> note_; // the note whose text is being read
    // Inside a choice of mc:AlternateContent: the alternative text of a picture not drawn.
    std::optional<QString>* unshown_ = nullptr;
    // By numId and level. Qt deletes a list once its last block leaves it.
    std::map<std::pair<int, int>, QPointer<QTextList>> lists_;
    QTextCharFormat paragraphChars_;
    CellParagraphs cellParagraphs_; // what the table's style gives the cell being read
    bool blockUnused_ = true;       // the cursor's block is still empty and awaits a paragraph
    bool hasContent_ = false;       // the current paragraph has shown something
    bool pendingPageBreak_ = false;
    // Where the current section's first block starts; -1 until the block after a section's
    // end is started, which starts a new page unless the break was continuous.
    int sectionStart_ = 0;
    bool sectionOnNewPage_ = false;
    bool evenPagesApart_ = false;
    // The header and footer lines of the last section, by type, for sections that name none.
    std::map<QString, SectionPages::Lines> lastLines_;
    std::map<QString, QString> partTexts_; // header and footer texts by relationship id
    int tableNesting_ = 0;
    int blocks_ = 0;
};

} // namespace kelvane::Docx
