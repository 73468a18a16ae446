#include "documents/DocumentFormats.h"
#include "documents/SectionPages.h"
#include "documents/Units.h"
#include "documents/WrittenBytes.h"
#include "documents/rtf/RtfLookWords.h"
#include "documents/rtf/RtfRuns.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextList>
#include <QTextTable>

#include <cmath>
#include <map>
#include <vector>

namespace kelvane::DocumentFormats {
namespace {

constexpr int listLevels = 9;
constexpr int listIndentTwips = 360;
constexpr int textWidthTwips = 9360; // 6.5 inches, a Letter or A4 page inside its margins
constexpr int marginTwips = 1440;    // an inch on each side
constexpr double marginPoints = 72;

QByteArray number(double value) {
    return QByteArray::number(std::lround(value));
}

QByteArray twips(double pixels) {
    return number(Units::twipsFromPoints(Units::pointsFromPixels(pixels)));
}

// \levelnfc values.
int numberFormat(QTextListFormat::Style style) {
    switch (style) {
    case QTextListFormat::ListDecimal:
        return 0;
    case QTextListFormat::ListUpperRoman:
        return 1;
    case QTextListFormat::ListLowerRoman:
        return 2;
    case QTextListFormat::ListUpperAlpha:
        return 3;
    case QTextListFormat::ListLowerAlpha:
        return 4;
    default:
        return 23;
    }
}

bool isBullet(const QTextList& list) {
    return numberFormat(list.format().style()) == 23;
}

// A bullet list's mark, escaped: a disc, or a circle or square as the style says.
QByteArray bulletOf(const QTextList& list) {
    switch (list.format().style()) {
    case QTextListFormat::ListCircle:
        return "\\u9702?"; // ◦
    case QTextListFormat::ListSquare:
        return "\\u9642?"; // ▪
    default:
        return "\\u8226?"; // •
    }
}

class Writer {
public:
    Writer(const QTextDocument& document, PageSize paper, PictureSlots& pictures)
        : document_(document)
        , paper_(paper)
        , tables_(document)
        , pictures_(pictures) {}

    QByteArray write();

private:
    void collectLists();
    void writeStyleSheet();
    void writeListTables();
    void writeListLevel(const QTextList& list, int level);
    void writePaper();
    void writeSection(const QTextBlock& block);
    void writeMarginText(const char* destination, const QString& line);
    void collectNotes();
    bool writeNote(QByteArray& out, const DocumentNotes::Note& note);
    void writeFrame(const QTextFrame& frame);
    void writeBlock(const QTextBlock& block, const char* ending, bool inTable);
    void writeParagraphProperties(const QTextBlock& block);
    void writeTable(const QTextTable& table);
    std::vector<int> cellRights(const QTextTable& table) const;
    static QByteArray mergeOf(const QTextTableCell& cell, int row, int column);
    void writeCell(const QTextTableCell& cell);
    int listNumber(const QTextList* list) const;

    const QTextDocument& document_;
    PageSize paper_;
    bool bodyStarted_ = false; // a paragraph is written: a new section ends another
    Rtf::StyleTables tables_;
    PictureSlots& pictures_;
    std::vector<const QTextList*> lists_;
    std::map<const QTextList*, int> listNumbers_;
    // The paragraphs of each note, by kind and number; written where the text refers to it.
    std::map<std::pair<DocumentNotes::Kind, int>, std::vector<QTextBlock>> notes_;
    QByteArray out_;
};

QByteArray Writer::write() {
    collectLists();
    collectNotes();
    out_ = "{\\rtf1\\ansi\\ansicpg1252\\deff0\\uc1\n";
    out_ += tables_.fontTable();
    out_ += tables_.colorTable();
    writeStyleSheet();
    writeListTables();
    writePaper();
    writeFrame(*document_.rootFrame());
    out_ += "}\n";
    return out_;
}

// Headings name their styles, so that word processors reading the file find headings.
void Writer::writeStyleSheet() {
    out_ += "{\\stylesheet{\\s0 Normal;}";
    for (int level = 1; level <= 6; ++level)
        out_ += "{\\s" + QByteArray::number(level) + "\\sbasedon0\\snext0\\outlinelevel" +
                QByteArray::number(level - 1) + " heading " + QByteArray::number(level) + ";}";
    out_ += "}\n";
}

void Writer::collectLists() {
    for (QTextBlock block = document_.begin(); block.isValid(); block = block.next()) {
        const QTextList* list = block.textList();
        if (list && listNumber(list) == 0) {
            lists_.push_back(list);
            listNumbers_[list] = static_cast<int>(lists_.size());
        }
    }
}

int Writer::listNumber(const QTextList* list) const {
    const auto found = listNumbers_.find(list);
    return found == listNumbers_.end() ? 0 : found->second;
}

// Every list gets a definition of its own whose levels all number alike, so \ilvl can say
// how deep an item sits whatever its style.
void Writer::writeListTables() {
    if (lists_.empty())
        return;
    out_ += "{\\*\\listtable\n";
    for (std::size_t i = 0; i < lists_.size(); ++i) {
        const QByteArray id = QByteArray::number(i + 1);
        out_ += "{\\list\\listtemplateid" + id + "\\listhybrid\n";
        for (int level = 0; level < listLevels; ++level)
            writeListLevel(*lists_[i], level);
        out_ += "{\\listname ;}\\listid" + id + "}\n";
    }
    out_ += "}\n{\\*\\listoverridetable\n";
    for (std::size_t i = 0; i < lists_.size(); ++i) {
        const QByteArray id = QByteArray::number(i + 1);
        out_ += "{\\listoverride\\listid" + id + "\\listoverridecount0\\ls" + id + "}\n";
    }
    out_ += "}\n";
}

void Writer::writeListLevel(const QTextList& list, int level) {
    const QByteArray format = QByteArray::number(numberFormat(list.format().style()));
    out_ += "{\\listlevel\\levelnfc" + format + "\\levelnfcn" + format +
            "\\leveljc0\\leveljcn0\\levelfollow0\\levelstartat1";
    // \leveltext starts with its own length; \'0N stands for the number of level N.
    if (isBullet(list))
        out_ += "{\\leveltext\\'01" + bulletOf(list) + ";}{\\levelnumbers;}";
    else
        out_ += "{\\leveltext\\'02\\'0" + QByteArray::number(level) + ".;}{\\levelnumbers\\'01;}";
    out_ += "\\fi-" + QByteArray::number(listIndentTwips) + "\\li" +
            QByteArray::number(listIndentTwips * (level + 2)) + "}\n";
}

void Writer::collectNotes() {
    for (QTextBlock block = document_.begin(); block.isValid(); block = block.next()) {
        if (const auto note = DocumentNotes::bodyOf(block.blockFormat()))
            notes_[{note->kind, note->number}].push_back(block);
    }
}

// A note whose paragraphs the document holds, as a numbered mark with its text inside;
// \\ftnalt makes it an endnote. The paragraphs' own leading number becomes the mark.
bool Writer::writeNote(QByteArray& out, const DocumentNotes::Note& note) {
    const auto found = notes_.find({note.kind, note.number});
    if (found == notes_.end())
        return false;
    out += "{\\super\\chftn}{\\footnote";
    if (note.kind == DocumentNotes::Kind::endnote)
        out += "\\ftnalt";
    const auto ownNumber = [](QByteArray& into, const DocumentNotes::Note&) {
        into += "{\\super\\chftn}";
        return true;
    };
    for (std::size_t i = 0; i < found->second.size(); ++i) {
        out += i == 0 ? "\\pard\\plain " : "\\par\\pard\\plain ";
        Rtf::appendRuns(out, found->second[i], tables_, pictures_, ownNumber);
    }
    out += "}";
    return true;
}

// The paper and margins of the document, and whether even pages have lines of their own.
void Writer::writePaper() {
    for (QTextBlock block = document_.begin(); block.isValid(); block = block.next()) {
        const auto page = SectionPages::pageOf(block.blockFormat());
        if (page && page->even) {
            out_ += "\\facingp";
            break;
        }
    }
    out_ += "\\paperw" + number(Units::twipsFromPoints(paper_.widthInPoints())) + "\\paperh" +
            number(Units::twipsFromPoints(paper_.heightInPoints())) + "\\margl" +
            QByteArray::number(marginTwips) + "\\margr" + QByteArray::number(marginTwips) +
            "\\margt" + QByteArray::number(marginTwips) + "\\margb" +
            QByteArray::number(marginTwips) + '\n';
}

// A block that starts a section ends the one before it and states its own page.
void Writer::writeSection(const QTextBlock& block) {
    auto page = SectionPages::pageOf(block.blockFormat());
    if (!page && !bodyStarted_) // the first section is on the chosen paper
        page = SectionPages::Page{{paper_.widthInPoints(), paper_.heightInPoints()},
                                  {marginPoints, marginPoints, marginPoints, marginPoints},
                                  {},
                                  {}};
    if (!page)
        return;
    if (bodyStarted_)
        out_ += "\\sect";
    out_ += "\\sectd\\sbkpage";
    if (page->size.width() > page->size.height())
        out_ += "\\lndscpsxn";
    const auto twipsOf = [](double points) {
        return number(Units::twipsFromPoints(points));
    };
    out_ += "\\pgwsxn" + twipsOf(page->size.width()) + "\\pghsxn" + twipsOf(page->size.height()) +
            "\\marglsxn" + twipsOf(page->margins.left()) + "\\margrsxn" +
            twipsOf(page->margins.right()) + "\\margtsxn" + twipsOf(page->margins.top()) +
            "\\margbsxn" + twipsOf(page->margins.bottom()) + '\n';
    if (page->firstNumber > 0)
        out_ += "\\pgnrestart\\pgnstarts" + QByteArray::number(page->firstNumber);
    if (page->first)
        out_ += "\\titlepg";
    // With even pages apart, the lines of every page are those of odd pages.
    writeMarginText(page->even ? "headerr" : "header", page->header);
    writeMarginText(page->even ? "footerr" : "footer", page->footer);
    if (page->first) {
        writeMarginText("headerf", page->first->header);
        writeMarginText("footerf", page->first->footer);
    }
    if (page->even) {
        writeMarginText("headerl", page->even->header);
        writeMarginText("footerl", page->even->footer);
    }
}

// A header or footer of one centred line, the page's number where the line shows it; an empty
// one too, so that the section does not take the one before it.
void Writer::writeMarginText(const char* destination, const QString& line) {
    out_ += QByteArray("{\\") + destination + "\\pard\\plain\\qc ";
    const QStringList parts = line.split(SectionPages::pageNumberMark);
    for (qsizetype i = 0; i < parts.size(); ++i) {
        if (i > 0)
            out_ += "{\\chpgn}";
        Rtf::appendText(out_, parts[i]);
    }
    out_ += "\\par}\n";
}

void Writer::writeFrame(const QTextFrame& frame) {
    for (auto it = frame.begin(); !it.atEnd(); ++it) {
        if (const QTextFrame* child = it.currentFrame()) {
            if (const auto* table = qobject_cast<const QTextTable*>(child)) {
                writeSection(document_.findBlock(table->firstPosition()));
                writeTable(*table);
            } else {
                writeFrame(*child);
            }
        } else if (!DocumentNotes::bodyOf(it.currentBlock().blockFormat())) {
            writeSection(it.currentBlock());
            writeBlock(it.currentBlock(), "\\par\n", false);
        }
    }
}

void Writer::writeBlock(const QTextBlock& block, const char* ending, bool inTable) {
    bodyStarted_ = true;
    const QTextBlockFormat format = block.blockFormat();
    if (!inTable && format.pageBreakPolicy() & QTextFormat::PageBreak_AlwaysBefore &&
        !SectionPages::pageOf(format))
        out_ += "\\page\n";
    out_ += "\\pard";
    if (inTable)
        out_ += "\\intbl";
    writeParagraphProperties(block);
    out_ += ' ';
    if (const QTextList* list = block.textList()) {
        out_ += "{\\listtext ";
        if (isBullet(*list))
            out_ += bulletOf(*list);
        else
            Rtf::appendText(out_, list->itemText(block));
        out_ += "\\tab}";
    }
    Rtf::appendRuns(
        out_, block, tables_, pictures_,
        [this](QByteArray& out, const DocumentNotes::Note& note) { return writeNote(out, note); });
    out_ += ending;
}

void Writer::writeParagraphProperties(const QTextBlock& block) {
    const QTextBlockFormat format = block.blockFormat();
    const Qt::Alignment alignment = format.alignment() & Qt::AlignHorizontal_Mask;
    if (alignment & Qt::AlignHCenter)
        out_ += "\\qc";
    else if (alignment & Qt::AlignRight)
        out_ += "\\qr";
    else if (alignment & Qt::AlignJustify)
        out_ += "\\qj";
    if (const QTextList* list = block.textList()) {
        const int level = std::clamp(list->format().indent(), 1, listLevels);
        out_ += "\\ls" + QByteArray::number(listNumber(list)) + "\\ilvl" +
                QByteArray::number(level - 1) + "\\fi-" + QByteArray::number(listIndentTwips) +
                "\\li" + QByteArray::number(listIndentTwips * (level + 1));
    } else {
        if (std::lround(format.leftMargin()) != 0)
            out_ += "\\li" + twips(format.leftMargin());
        if (std::lround(format.textIndent()) != 0)
            out_ += "\\fi" + twips(format.textIndent());
    }
    if (std::lround(format.rightMargin()) != 0)
        out_ += "\\ri" + twips(format.rightMargin());
    out_ += Rtf::spacingWords(format);
    const int heading = format.headingLevel();
    if (heading >= 1 && heading <= 6)
        out_ += "\\s" + QByteArray::number(heading) + "\\outlinelevel" +
                QByteArray::number(heading - 1);
}

void Writer::writeTable(const QTextTable& table) {
    const std::vector<int> rights = cellRights(table);
    for (int row = 0; row < table.rows(); ++row) {
        out_ += "\\trowd\\trgaph108";
        if (row < table.format().headerRowCount())
            out_ += "\\trhdr";
        for (int column = 0; column < static_cast<int>(rights.size()); ++column) {
            const int right = rights[static_cast<std::size_t>(column)];
            const QTextTableCell cell = table.cellAt(row, column);
            out_ += mergeOf(cell, row, column);
            out_ += Rtf::cellLookWords(table, cell, tables_);
            out_ += "\\cellx" + QByteArray::number(right);
        }
        out_ += '\n';
        for (int column = 0; column < table.columns(); ++column) {
            const QTextTableCell cell = table.cellAt(row, column);
            // A cell spanning several grid cells is written once; the others stay empty.
            if (cell.row() == row && cell.column() == column)
                writeCell(cell);
            else
                out_ += "\\pard\\intbl \\cell\n";
        }
        out_ += "\\row\n";
    }
}

// The marks of a grid cell inside a merged cell: the first of a run across (\\clmgf) or down
// (\\clvmgf), or one the first covers (\\clmrg, \\clvmrg).
QByteArray Writer::mergeOf(const QTextTableCell& cell, int row, int column) {
    QByteArray marks;
    if (!cell.isValid())
        return marks;
    if (cell.columnSpan() > 1)
        marks += cell.column() == column ? "\\clmgf" : "\\clmrg";
    if (cell.rowSpan() > 1)
        marks += cell.row() == row ? "\\clvmgf" : "\\clvmrg";
    return marks;
}

std::vector<int> Writer::cellRights(const QTextTable& table) const {
    const QList<QTextLength> widths = table.format().columnWidthConstraints();
    const int columns = std::max(table.columns(), 1);
    std::vector<int> rights;
    int right = 0;
    for (int column = 0; column < columns; ++column) {
        const bool fixed = column < widths.size() &&
                           widths[column].type() == QTextLength::FixedLength &&
                           widths[column].rawValue() > 0;
        right += fixed ? twips(widths[column].rawValue()).toInt() : textWidthTwips / columns;
        rights.push_back(right);
    }
    return rights;
}

void Writer::writeCell(const QTextTableCell& cell) {
    // Tables nested in a cell come out as its paragraphs.
    const QTextBlock first = document_.findBlock(cell.firstPosition());
    const QTextBlock last = document_.findBlock(cell.lastPosition());
    for (QTextBlock block = first; block.isValid(); block = block.next()) {
        const bool isLast = block == last || block.position() > cell.lastPosition();
        writeBlock(block, isLast ? "\\cell\n" : "\\par\n", true);
        if (isLast)
            break;
    }
}

} // namespace

void writeRtf(const QTextDocument& document, PageSize paper, QIODevice& output) {
    PictureSlots pictures;
    pictures.copy(Writer(document, paper, pictures).write(), output);
}

QByteArray writeRtf(const QTextDocument& document, PageSize paper) {
    return writtenBytes([&](QIODevice& output) { writeRtf(document, paper, output); });
}

} // namespace kelvane::DocumentFormats
