#pragma once

#include "documents/TableLines.h"
#include "documents/rtf/RtfRowLines.h"

#include <QPointer>
#include <QSizeF>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextListFormat>

#include <array>
#include <map>
#include <optional>
#include <utility>
#include <vector>

class QTextDocument;
class QTextList;
class QTextTable;
class QTextTableCell;

namespace kelvane::Rtf {

struct ListItem {
    int group = 0; // items of one group and level continue one list
    int level = 1; // nesting, from 1
    QTextListFormat::Style style = QTextListFormat::ListDisc;
};

// How a table cell joins its neighbours: \clmgf and \clvmgf start a merged cell, \clmrg and
// \clvmrg continue the one to the left or above.
enum class CellMerge { none, first, across, firstDown, down };

// How a paragraph ends up once its closing \par, \cell or the end of the text is reached:
// RTF states paragraph properties anywhere inside the paragraph, so they are applied last.
struct ParagraphEnd {
    QTextBlockFormat format;
    std::optional<ListItem> listItem;
    // A hanging indent without list properties may hold a typed marker such as "•\t" or
    // "2.\t"; such paragraphs become list items at this level.
    int typedListLevel = 0;
    // Around the number of a list item: "(" and ")".
    QString numberPrefix;
    QString numberSuffix = QStringLiteral(".");
    // A list label no list can draw, put before the paragraph's text.
    QString label;
};

// Lays text out in a QTextDocument in the order RTF states it. A new block is opened only
// when something goes into it, so a closing \par leaves no empty paragraph behind, and
// table rows and cells are entered as \intbl paragraphs arrive.
class Builder {
public:
    explicit Builder(QTextDocument& document);

    void insertText(const QString& text, const QTextCharFormat& format, bool inTable);
    // Text already placed, from `start` on, is replaced.
    void replaceText(int start, int length, const QString& text, const QTextCharFormat& format);
    int position() const { return cursor_.position(); }
    // False, inserting nothing, when the bytes are no picture that can be shown.
    bool insertImage(const QByteArray& bytes, QSizeF points, bool inTable);
    void endParagraph(const ParagraphEnd& end, bool inTable);
    void breakPage();
    // Takes back the page break just asked for, while nothing has followed it.
    void cancelPageBreak();
    // The position of the first block since the last call, or -1 when none was entered.
    int takeSectionStart();
    QTextDocument& document() { return *cursor_.document(); }
    void endCell(const ParagraphEnd& end);
    void endRow();
    void defineRow();
    void markHeaderRow();
    void setRowLeft(int twips);
    // The room inside the row's cells at one side (a TableLines::Side), or at the left and
    // right where another word does not say (-1, \trgaph).
    void setRowPadding(int side, int twips);
    // The room inside the cell whose \cellx comes next, at one side, over the row's.
    void setCellPadding(int side, int twips);
    void addCellBoundary(int right);
    void mergeCell(CellMerge merge);
    void shadeCell(const QColor& color);
    // The border words of a row definition: the side they describe, and how it is drawn.
    void nameBorderSide(BorderSide side) { rowLines_.name(side); }
    void drawBorderSide(QTextFrameFormat::BorderStyle style) { rowLines_.draw(style); }
    void setBorderWidth(int twips) { rowLines_.setWidth(twips); }
    void setBorderColor(const QColor& color) { rowLines_.setColor(color); }
    void finish(const ParagraphEnd& end);

    // The current paragraph holds text or an image.
    bool paragraphStarted() const {
        return blockTouched_ && !needBlock_ && !(table_ && (cellEnded_ || rowEnded_));
    }

private:
    void enter(bool inTable);
    void startTable();
    void leaveTable();
    // Trims the rows made ahead and draws the lines and shading the cells were given.
    void finishTable();
    void setCellFormats();
    void recordCellLook(int row, int cell, const QTextTableCell& target);
    void moveToPendingCell();
    void layOutRow(int row);
    void fitBoundary(int right, int row);
    int columnOf(int cell);
    void moveToCell(int row, int cell);
    bool mergeCells(int row, int column, int rows, int columns); // false past the budget
    void applyParagraph(const ParagraphEnd& end);
    void joinList(const ListItem& item, const ParagraphEnd& end);
    std::optional<ListItem> takeTypedMarker(int level);

    QTextCursor cursor_;
    bool needBlock_ = false;    // the last paragraph ended; the next content opens a block
    bool blockTouched_ = false; // the current block holds content
    bool breakBefore_ = false;  // the current block starts a page
    bool pendingBreak_ = false; // the next block starts a page
    bool breakCancellable_ = false;
    int sectionStart_ = -1;
    // Qt deletes a list once its last block leaves it (another list can take it over).
    std::map<std::pair<int, int>, QPointer<QTextList>> lists_;

    QTextTable* table_ = nullptr;
    struct CellDefinition {
        int right = 0; // twips
        CellMerge merge = CellMerge::none;
        TableLines::CellSides sides; // those the cell names of its own
        QColor shading;
        std::array<std::optional<int>, 4> padding; // twips, those the cell gives of its own
    };
    void recordPadding(std::pair<int, int> start, const CellDefinition& definition);
    std::vector<CellDefinition> rowDefinition_;    // the cells the last \trowd defined
    int rowLeft_ = 0;                              // twips
    std::array<std::optional<int>, 4> rowPadding_; // twips, by TableLines::Side
    std::optional<int> rowGap_;
    RowLines rowLines_;
    bool headerRow_ = false;
    CellMerge nextMerge_ = CellMerge::none; // of the cell whose \cellx comes next
    QColor nextShading_;
    std::array<std::optional<int>, 4> nextPadding_;
    // The lines and shading of the table's cells, by the row and column they start at.
    std::map<std::pair<int, int>, TableLines::CellSides> lines_;
    std::map<std::pair<int, int>, QColor> shading_;
    std::map<std::pair<int, int>, std::array<int, 4>> padding_; // twips, where the row gives any
    // The cells of the latest row that take their bottom from the row: on the table's last row
    // that is \trbrdrb, known only once the table ends.
    std::vector<std::pair<int, int>> rowBottomCells_;
    std::optional<TableLines::Line> rowBottom_;
    int headerRows_ = 0;
    // While the rows' cells line up on common edges: the right edge of each column, and the
    // first column of each cell of the current row. Otherwise cells fill columns in turn.
    bool gridKnown_ = false;
    std::vector<int> grid_;
    int gridLeft_ = 0; // the left edge of the first column
    std::vector<int> cellColumns_;
    long long mergeCost_ = 0;
    int row_ = 0;
    int cell_ = 0;   // of the row, as RTF counts them
    int column_ = 0; // where that cell starts
    bool cellEnded_ = false;
    bool rowEnded_ = false;
};

} // namespace kelvane::Rtf
