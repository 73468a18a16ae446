#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/SectionPages.h"
#include "documents/TableLines.h"
#include "documents/ZipContainer.h"
#include "fixtures/Bytes.h"
#include "fixtures/DocumentQueries.h"
#include "fixtures/StyledDocument.h"
#include "fixtures/TempFolder.h"

#include <QImage>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>

#include <gtest/gtest.h>

namespace kelvane {
namespace {

using fixtures::TempFolder;
namespace fs = std::filesystem;

using fixtures::cellText;
using fixtures::formatOf;
using fixtures::imagesOf;
using fixtures::pngBytes;
using fixtures::writeBytes;

QTextBlock blockWith(const QTextDocument& document, const QString& text) {
    return fixtures::blockOf(document, text);
}

QTextTable* firstTable(const QTextDocument& document) {
    for (QTextFrame* frame : document.rootFrame()->childFrames())
        if (auto* table = qobject_cast<QTextTable*>(frame))
            return table;
    return nullptr;
}

std::unique_ptr<QTextDocument> read(const QByteArray& body) {
    return DocumentFormats::readRtf("{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fswiss "
                                    "Arial;}{\\f1\\froman\\fcharset0 Times New Roman;}"
                                    "{\\f2\\fnil\\fcharset204 Cyr;}}{\\colortbl;\\red255\\green0"
                                    "\\blue0;\\red255\\green255\\blue0;}\n" +
                                    body + "}");
}

TEST(RtfReader, CharacterFormattingFontsAndColours) {
    const auto document = read("\\pard {\\b bold} {\\i italic} {\\ul under}\\ulnone  plain "
                               "{\\strike struck} {\\f1\\fs36 serif} {\\cf1 red} "
                               "{\\highlight2 marked} {\\b\\plain reset} {\\super up}\\par");
    EXPECT_EQ(formatOf(*document, "bold").fontWeight(), QFont::Bold);
    EXPECT_TRUE(formatOf(*document, "italic").fontItalic());
    EXPECT_TRUE(formatOf(*document, "under").fontUnderline());
    EXPECT_FALSE(formatOf(*document, "plain").fontUnderline());
    EXPECT_TRUE(formatOf(*document, "struck").fontStrikeOut());
    EXPECT_EQ(formatOf(*document, "serif").fontFamilies().toStringList().value(0),
              "Times New Roman");
    EXPECT_DOUBLE_EQ(formatOf(*document, "serif").fontPointSize(), 18);
    EXPECT_EQ(formatOf(*document, "plain").fontFamilies().toStringList().value(0), "Arial");
    EXPECT_DOUBLE_EQ(formatOf(*document, "plain").fontPointSize(), 12);
    EXPECT_EQ(formatOf(*document, "red").foreground().color(), QColor(255, 0, 0));
    EXPECT_EQ(formatOf(*document, "marked").background().color(), QColor(255, 255, 0));
    EXPECT_NE(formatOf(*document, "reset").fontWeight(), QFont::Bold);
    EXPECT_EQ(formatOf(*document, "up").verticalAlignment(), QTextCharFormat::AlignSuperScript);
}

TEST(RtfReader, ParagraphAlignmentIndentsSpacingAndBreaks) {
    const auto document = read("\\pard\\qc centred\\par\\pard\\qr right\\par\\pard\\qj justified"
                               "\\par\\pard\\li1440\\fi-720\\ri720\\sb240\\sa120\\sl-360\\slmult0 "
                               "indented\\par\\pard\\sl300\\slmult0 least\\par"
                               "\\pard\\outlinelevel1 {\\b\\fs32 Heading}\\par"
                               "\\pard one\\line two\\tab three\\page after\\par");
    EXPECT_EQ(blockWith(*document, "centred").blockFormat().alignment(), Qt::AlignHCenter);
    EXPECT_EQ(blockWith(*document, "right").blockFormat().alignment(), Qt::AlignRight);
    EXPECT_EQ(blockWith(*document, "justified").blockFormat().alignment(), Qt::AlignJustify);
    const QTextBlockFormat indented = blockWith(*document, "indented").blockFormat();
    EXPECT_DOUBLE_EQ(indented.leftMargin(), 96); // 1440 twips: one inch
    EXPECT_DOUBLE_EQ(indented.textIndent(), -48);
    EXPECT_DOUBLE_EQ(indented.rightMargin(), 48);
    EXPECT_DOUBLE_EQ(indented.topMargin(), 16);
    EXPECT_DOUBLE_EQ(indented.bottomMargin(), 8);
    EXPECT_DOUBLE_EQ(indented.lineHeight(), 24);
    EXPECT_EQ(indented.lineHeightType(), QTextBlockFormat::FixedHeight);
    const QTextBlockFormat least = blockWith(*document, "least").blockFormat();
    EXPECT_DOUBLE_EQ(least.lineHeight(), 20);
    EXPECT_EQ(least.lineHeightType(), QTextBlockFormat::MinimumHeight);
    EXPECT_DOUBLE_EQ(least.topMargin(), 0);
    EXPECT_EQ(blockWith(*document, "Heading").blockFormat().headingLevel(), 2);
    EXPECT_EQ(blockWith(*document, "one").text(), QString::fromUtf16(u"one\u2028two\tthree"));
    EXPECT_TRUE(blockWith(*document, "after").blockFormat().pageBreakPolicy() &
                QTextFormat::PageBreak_AlwaysBefore);
    EXPECT_FALSE(blockWith(*document, "one").blockFormat().pageBreakPolicy() &
                 QTextFormat::PageBreak_AlwaysBefore);
}

// Each section keeps its page, its break and its header and footer, read and written back.
TEST(RtfReader, SectionsKeepTheirPagesBreaksAndMarginLines) {
    const auto document =
        read("\\paperw12240\\paperh15840\\margl1440\\margr1440\\margt720\\margb720\\sectd"
             "{\\header\\pard\\qc Log {\\field{\\*\\fldinst PAGE}{\\fldrslt 1}}\\tab end\\par}"
             "{\\footer\\pard\\chpgn\\par}\\pard Opening\\par"
             "\\sect\\sectd\\sbknone\\pard Runs on\\par"
             "\\sect\\sectd\\sbkpage\\lndscpsxn\\pgwsxn12240\\pghsxn15840\\pard Wide\\par");
    EXPECT_EQ(document->toPlainText(), "Opening\nRuns on\nWide");
    const auto pageOf = [](const QTextDocument& read, const char* text) {
        return SectionPages::pageOf(blockWith(read, text).blockFormat());
    };
    const auto opening = pageOf(*document, "Opening");
    const auto wide = pageOf(*document, "Wide");
    ASSERT_TRUE(opening && wide && pageOf(*document, "Runs on"));
    EXPECT_EQ(opening->size, QSizeF(612, 792));
    EXPECT_EQ(opening->margins, QMarginsF(72, 36, 72, 36));
    const QString mark(SectionPages::pageNumberMark);
    EXPECT_EQ(opening->header, "Log " + mark + " end");
    EXPECT_EQ(opening->footer, mark);
    EXPECT_EQ(wide->size, QSizeF(792, 612)); // the portrait size turned by the orientation
    EXPECT_EQ(wide->header, opening->header);
    EXPECT_FALSE(blockWith(*document, "Runs on").blockFormat().pageBreakPolicy());
    EXPECT_TRUE(blockWith(*document, "Wide").blockFormat().pageBreakPolicy());

    const auto back = DocumentFormats::readRtf(DocumentFormats::writeRtf(*document));
    for (const char* text : {"Opening", "Runs on", "Wide"})
        EXPECT_EQ(pageOf(*back, text), pageOf(*document, text)) << text;
    // A document without sections is written on the chosen paper.
    const auto a4 = pageOf(
        *DocumentFormats::readRtf(DocumentFormats::writeRtf(QTextDocument("Plain"), PageSize::a4)),
        "Plain");
    ASSERT_TRUE(a4);
    EXPECT_NEAR(a4->size.width(), PageSize(PageSize::a4).widthInPoints(), 0.05);
    EXPECT_NEAR(a4->size.height(), PageSize(PageSize::a4).heightInPoints(), 0.05);
}

TEST(RtfReader, DecodesUnicodeEscapesAndCodePages) {
    const auto document =
        read("\\pard caf\\'e9 \\'80\\'93q\\'94 {\\f2 \\'c0\\'e1} \\u8364?x \\uc2\\u-3913ab|"
             "\\uc0\\u21734 z {\\uc1\\u-10179?\\u-8704?} \\emdash\\~\\{\\}\\\\\\par");
    // The space after a control word only ends it: "\\u21734 z" is two characters.
    EXPECT_EQ(document->toRawText(),
              QString::fromUtf16(u"café €\u201cq\u201d \u0410\u0431 €x \uF0B7|\u54E6z \U0001F600 "
                                 u"\u2014\u00a0{}\\"));
}

// Hidden text and destinations without text stay out; footnotes follow the text, numbered.
TEST(RtfReader, SkipsHiddenTextAndMovesFootnotesToTheEnd) {
    const auto document = read("{\\info{\\title Secret title}{\\author Someone}}"
                               "{\\stylesheet{\\s1 heading 1;}}{\\header Head text\\par}"
                               "{\\*\\generator Writer 1.0;}{\\*\\unknown {\\nested words}}"
                               "\\pard Visible{\\v hidden words}{\\super\\chftn}{\\footnote\\pard "
                               "{\\super\\chftn} A note\\par with two lines}. After\\par");
    EXPECT_EQ(document->toPlainText(), "Visible1. After\n1 A note with two lines");
    EXPECT_EQ(formatOf(*document, "1").verticalAlignment(), QTextCharFormat::AlignSuperScript);
}

TEST(RtfReader, HyperlinkFieldBecomesAnAnchor) {
    const auto document =
        read("\\pard Go {\\field{\\*\\fldinst{HYPERLINK \"https://example.org/a?b=1\"}}"
             "{\\fldrslt{\\ul\\cf1 there}}} {\\field{\\*\\fldinst PAGE}{\\fldrslt 7}} now\\par");
    EXPECT_EQ(document->toPlainText(), "Go there 7 now");
    const QTextCharFormat link = formatOf(*document, "there");
    EXPECT_TRUE(link.isAnchor());
    EXPECT_EQ(link.anchorHref(), "https://example.org/a?b=1");
    EXPECT_FALSE(formatOf(*document, "7").isAnchor());
    EXPECT_FALSE(formatOf(*document, "now").isAnchor());
}

// Pictures in every kind RTF names: PNG and JPEG kept as they are, a Windows metafile filed as
// an OS/2 one drawn, a bitmap without its file header decoded, a floating picture read from its
// shape; what cannot be drawn leaves its description, or a mark where it has none.
TEST(RtfReader, PicturesOfEveryKindShowOrLeaveTheirDescription) {
    const QByteArray png = pngBytes(40, 20, Qt::red);
    QImage photo(8, 8, QImage::Format_RGB32);
    photo.fill(Qt::blue);
    const QByteArray jpeg = fixtures::encodedBytes(photo, "JPEG");
    const QByteArray bitmap = fixtures::encodedBytes(photo, "BMP");
    const auto metafile =
        ZipContainer::open(fs::path(KELVANE_TEST_FILES) / "documents" / "pictures.docx")
            .part("word/media/image3.wmf");
    ASSERT_TRUE(metafile);
    const auto document =
        read("\\pard A{\\*\\shppict{\\pict\\pngblip\\picw40\\pich20\\picwgoal1440\\pichgoal720\n" +
             png.toHex() + "}}{\\nonshppict{\\pict\\wmetafile8 0102}}B{\\pict\\jpegblip\\bin" +
             QByteArray::number(jpeg.size()) + " " + jpeg +
             "}C{\\pict\\emfblip 0102}D{\\pict{\\*\\picprop" +
             "{\\sp{\\sn wzDescription}{\\sv harbour plan}}}\\macpict 0102}E{\\pict\\pmmetafile8 " +
             metafile->toHex() + "}F{\\pict\\dibitmap0 " + bitmap.mid(14).toHex() +
             "}G{\\shp{\\*\\shpinst{\\sp{\\sn shapeType}{\\sv 75}}{\\sp{\\sn pib}{\\sv "
             "{\\pict\\pngblip " +
             png.toHex() + "}}}}{\\shprslt{\\pict\\wmetafile8 0102}}}\\par");
    EXPECT_EQ(document->toPlainText(),
              QString::fromUtf16(u"A\uFFFCB\uFFFCC[Picture]D[harbour plan]E\uFFFCF\uFFFCG\uFFFC"));
    const auto images = imagesOf(*document);
    ASSERT_EQ(images.size(), 5u);
    const QImage decoded = QImage::fromData(DocumentImages::encoded(*document, images[3]).bytes);
    EXPECT_EQ(decoded.size(), QSize(8, 8));
    EXPECT_EQ(decoded.pixelColor(4, 4), QColor(Qt::blue));
    const auto first = DocumentImages::encoded(*document, images[0]);
    EXPECT_EQ(first.bytes, png);
    EXPECT_DOUBLE_EQ(first.sizeInPoints.width(), 72);
    EXPECT_DOUBLE_EQ(first.sizeInPoints.height(), 36);
    EXPECT_EQ(DocumentImages::encoded(*document, images[1]).bytes, jpeg);
}

TEST(RtfReader, ListsFromListTablesAndFromListText) {
    const auto document = read(
        "{\\*\\listtable{\\list\\listtemplateid1{\\listlevel\\levelnfc23{\\leveltext\\'01\\'b7;}}"
        "{\\listlevel\\levelnfc4{\\leveltext\\'02\\'01.;}}\\listid7}"
        "{\\list{\\listlevel\\levelnfc0}\\listid8}}"
        "{\\*\\listoverridetable{\\listoverride\\listid7\\listoverridecount0\\ls1}"
        "{\\listoverride\\listid8\\listoverridecount0\\ls2}}\n"
        "{\\listtext\\'b7\\tab}\\pard\\ls1\\ilvl0\\li720\\fi-360 dot one\\par"
        "{\\listtext a.\\tab}\\pard\\ls1\\ilvl1 letter\\par"
        "{\\listtext\\'b7\\tab}\\pard\\ls1\\ilvl0 dot two\\par"
        "\\pard between\\par"
        "{\\listtext 1.\\tab}\\pard\\ls2 num one\\par{\\listtext 2.\\tab}\\pard\\ls2 num two\\par"
        "\\pard{\\pntext 1.\\tab}{\\*\\pn\\pnlvlbody\\pnucrm}old one\\par"
        "\\pard{\\pntext 2.\\tab}{\\*\\pn\\pnlvlbody\\pnucrm}old two\\par"
        "\\pard\\li360\\fi-360 \\bullet\\tab typed\\par");
    const QTextList* dots = blockWith(*document, "dot one").textList();
    ASSERT_TRUE(dots);
    EXPECT_EQ(dots->format().style(), QTextListFormat::ListDisc);
    EXPECT_EQ(dots->format().indent(), 1);
    EXPECT_EQ(blockWith(*document, "dot two").textList(), dots);
    EXPECT_EQ(dots->count(), 2);
    EXPECT_DOUBLE_EQ(blockWith(*document, "dot one").blockFormat().leftMargin(), 0);
    const QTextList* letters = blockWith(*document, "letter").textList();
    ASSERT_TRUE(letters);
    EXPECT_EQ(letters->format().style(), QTextListFormat::ListLowerAlpha);
    EXPECT_EQ(letters->format().indent(), 2);
    EXPECT_FALSE(blockWith(*document, "between").textList());
    const QTextList* numbers = blockWith(*document, "num one").textList();
    ASSERT_TRUE(numbers);
    EXPECT_EQ(numbers->format().style(), QTextListFormat::ListDecimal);
    EXPECT_EQ(blockWith(*document, "num two").textList(), numbers);
    const QTextList* old = blockWith(*document, "old one").textList();
    ASSERT_TRUE(old);
    EXPECT_EQ(old->format().style(), QTextListFormat::ListUpperRoman);
    EXPECT_EQ(blockWith(*document, "old two").textList(), old);
    EXPECT_EQ(blockWith(*document, "old two").text(), "old two"); // the marker is not text
    const QTextBlock typed = blockWith(*document, "typed");
    ASSERT_TRUE(typed.textList());
    EXPECT_EQ(typed.text(), "typed");
}

// Rows and cells, including a row with more cells than its \\cellx list, one written with
// \\par before \\cell, and a page break right after the last \\row.
TEST(RtfReader, TableRowsAndCells) {
    const auto document =
        read("\\pard before\\par\\trowd\\trgaph108\\trhdr\\trbrdrt\\brdrs"
             "\\clbrdrb\\brdrs\\brdrw20\\brdrcf1\\clcbpat2\\clpadt144\\cellx2000"
             "\\clbrdrt\\brdrnone\\clbrdrb\\brdrs\\cellx4000\n"
             "\\pard\\intbl {\\b A1}\\cell\\pard\\intbl\\sb240 B1 first\\par B1 second\\cell\\row\n"
             "\\trowd\\cellx2000\\cellx4000\n\\pard\\intbl A2\\cell\\pard\\intbl\\cell\\row\n"
             "\\pard after\\par"
             "\\trowd\\cellx1000\\pard\\intbl a\\cell b\\cell c\\cell\\row"
             "\\trowd\\cellx1000\\cellx2000\\pard\\intbl {d\\par}\\cell{e\\par}\\cell\\row"
             "\\page\\pard last\\par");
    QTextTable* table = fixtures::tableOf(*document, "A1");
    ASSERT_TRUE(table);
    EXPECT_EQ(table->rows(), 2);
    EXPECT_EQ(table->columns(), 2);
    EXPECT_EQ(cellText(*table, 0, 0), "A1");
    EXPECT_EQ(cellText(*table, 0, 1), QString::fromUtf16(u"B1 first\u2029B1 second"));
    EXPECT_EQ(cellText(*table, 1, 0), "A2");
    EXPECT_EQ(cellText(*table, 1, 1), "");
    EXPECT_EQ(formatOf(*document, "A1").fontWeight(), QFont::Bold);
    // The heading row repeats; it has its own sides, the row's top where a cell names none.
    EXPECT_EQ(table->format().headerRowCount(), 1);
    EXPECT_EQ(table->format().border(), 0);
    const auto sidesAt = [&](int row, int column) {
        return TableLines::sidesOf(table->cellAt(row, column).format().toTableCellFormat());
    };
    const auto a1 = sidesAt(0, 0);
    ASSERT_TRUE(a1[TableLines::top] && a1[TableLines::bottom]);
    EXPECT_DOUBLE_EQ(a1[TableLines::top]->points, 0.5);
    EXPECT_DOUBLE_EQ(a1[TableLines::bottom]->points, 1);
    EXPECT_EQ(a1[TableLines::bottom]->color, QColor(255, 0, 0));
    EXPECT_FALSE(a1[TableLines::left] || a1[TableLines::right]);
    EXPECT_EQ(table->cellAt(0, 0).format().background().color(), QColor(255, 255, 0));
    const auto b1 = sidesAt(0, 1);
    EXPECT_FALSE(b1[TableLines::top]);
    EXPECT_TRUE(b1[TableLines::bottom]);
    for (const auto& side : sidesAt(1, 0))
        EXPECT_FALSE(side);
    // The row's room at the cells' sides (\\trgaph) or a cell's own (\\clpadt, the left one),
    // none above or below but the space before the first paragraph, which the layout would
    // leave out.
    const auto roomAt = [&](int row, int column) {
        return table->cellAt(row, column).format().toTableCellFormat();
    };
    EXPECT_NEAR(roomAt(0, 0).leftPadding(), 9.6, 0.01);
    EXPECT_NEAR(roomAt(0, 1).leftPadding(), 7.2, 0.01);
    EXPECT_DOUBLE_EQ(roomAt(0, 0).topPadding(), 0);
    EXPECT_DOUBLE_EQ(roomAt(0, 1).topPadding(), 16);
    EXPECT_FALSE(QTextCursor(blockWith(*document, "before")).currentTable());
    EXPECT_FALSE(QTextCursor(blockWith(*document, "after")).currentTable());

    QTextTable* irregular = QTextCursor(blockWith(*document, "c")).currentTable();
    ASSERT_TRUE(irregular && irregular != table);
    EXPECT_EQ(irregular->rows(), 2);
    EXPECT_EQ(irregular->columns(), 3);
    EXPECT_EQ(cellText(*irregular, 0, 2), "c");
    EXPECT_EQ(cellText(*irregular, 1, 0), "d");
    EXPECT_EQ(cellText(*irregular, 1, 1), "e");
    EXPECT_EQ(cellText(*irregular, 1, 2), "");
    const QTextBlock last = blockWith(*document, "last");
    EXPECT_FALSE(QTextCursor(last).currentTable());
    EXPECT_TRUE(last.blockFormat().pageBreakPolicy() & QTextFormat::PageBreak_AlwaysBefore);
}

TEST(RtfReader, RtfdPackageReadsOnlyItsOwnAttachments) {
    TempFolder temp;
    const QByteArray inside = pngBytes(10, 10, Qt::green);
    temp.makeFolder("doc.rtfd");
    writeBytes(temp, "doc.rtfd/image one.png", inside);
    writeBytes(temp, "outside.png", pngBytes(12, 12, Qt::red));
    fs::create_symlink(temp / "outside.png", temp / "doc.rtfd" / "link.png");
    temp.write("doc.rtfd/TXT.rtf",
               "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl\\f0\\fswiss Helvetica;}\n"
               "\\pard\\f0 Start {{\\NeXTGraphic image one.png \\width1440 \\height1440\n}\xac}"
               " mid {{\\NeXTGraphic ../outside.png \\width20 \\height20}\xac}"
               " {{\\NeXTGraphic link.png}\xac} {{\\NeXTGraphic /etc/passwd}\xac}end\\par}");
    const auto document = DocumentFormats::readRtfd(temp / "doc.rtfd");
    const auto images = imagesOf(*document);
    ASSERT_EQ(images.size(), 1u);
    const auto image = DocumentImages::encoded(*document, images[0]);
    EXPECT_EQ(image.bytes, inside);
    EXPECT_DOUBLE_EQ(image.sizeInPoints.width(), 72);
    EXPECT_EQ(document->toPlainText(), QString::fromUtf16(u"Start \uFFFC mid   end"));

    EXPECT_THROW(DocumentFormats::readRtfd(temp / "missing.rtfd"), std::exception);
    temp.makeFolder("escape.rtfd");
    fs::create_symlink(temp / "doc.rtfd" / "TXT.rtf", temp / "escape.rtfd" / "TXT.rtf");
    EXPECT_THROW(DocumentFormats::readRtfd(temp / "escape.rtfd"), std::exception);
}

// The styled document, with a bold table cell and a paragraph of what RTF must escape, a
// background, indents, spacing and a page break.
std::unique_ptr<QTextDocument> richDocument() {
    auto document = fixtures::styledDocument();
    QTextCharFormat bold;
    bold.setFontWeight(QFont::Bold);
    document->find("cellA1").mergeCharFormat(bold);
    QTextCursor cursor(document.get());
    cursor.movePosition(QTextCursor::End);
    QTextBlockFormat indented;
    indented.setLeftMargin(48);
    indented.setTextIndent(24);
    indented.setAlignment(Qt::AlignRight);
    indented.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
    indented.setTopMargin(12);
    indented.setBottomMargin(6);
    indented.setLineHeight(150, QTextBlockFormat::ProportionalHeight);
    cursor.insertBlock(indented, {});
    cursor.insertText(QString::fromUtf16(u"Escaped \\{braces}\u2028Žluťoučký \U0001F600\t"), {});
    QTextCharFormat marked;
    marked.setBackground(QColor(255, 255, 0));
    cursor.insertText("marked", marked);
    return document;
}

// What every writer keeps is checked by the round trip over all of them; here, the rest.
TEST(RtfWriter, WhatItWritesReadsBackTheSame) {
    const auto original = richDocument();
    const QByteArray rtf = DocumentFormats::writeRtf(*original);
    const auto document = DocumentFormats::readRtf(rtf);
    EXPECT_EQ(formatOf(*document, "Annual Report").fontWeight(), QFont::Bold);
    EXPECT_DOUBLE_EQ(formatOf(*document, "Annual Report").fontPointSize(), 24);
    const QTextBlock escaped = blockWith(*document, "Escaped");
    EXPECT_EQ(escaped.text(),
              QString::fromUtf16(u"Escaped \\{braces}\u2028Žluťoučký \U0001F600\tmarked"));
    EXPECT_DOUBLE_EQ(escaped.blockFormat().leftMargin(), 48);
    EXPECT_DOUBLE_EQ(escaped.blockFormat().textIndent(), 24);
    EXPECT_EQ(escaped.blockFormat().alignment() & Qt::AlignHorizontal_Mask, Qt::AlignRight);
    EXPECT_TRUE(escaped.blockFormat().pageBreakPolicy() & QTextFormat::PageBreak_AlwaysBefore);
    EXPECT_DOUBLE_EQ(escaped.blockFormat().topMargin(), 12);
    EXPECT_DOUBLE_EQ(escaped.blockFormat().bottomMargin(), 6);
    EXPECT_DOUBLE_EQ(escaped.blockFormat().lineHeight(), 150);
    EXPECT_EQ(escaped.blockFormat().lineHeightType(), QTextBlockFormat::ProportionalHeight);
    EXPECT_EQ(formatOf(*document, "marked").background().color(), QColor(255, 255, 0));
    EXPECT_EQ(formatOf(*document, "cellA1").fontWeight(), QFont::Bold);

    const QTextList* bullets = blockWith(*document, "bulletone").textList();
    const QTextList* nested = blockWith(*document, "nestedbullet").textList();
    ASSERT_TRUE(bullets && nested);
    EXPECT_EQ(bullets->format().style(), QTextListFormat::ListDisc);
    EXPECT_EQ(nested->format().style(), QTextListFormat::ListCircle);
    EXPECT_EQ(bullets->format().indent(), 1);
    EXPECT_EQ(nested->format().indent(), 2);
    EXPECT_EQ(blockWith(*document, "numbertwo").textList(),
              blockWith(*document, "numberone").textList());
    EXPECT_FALSE(blockWith(*document, "cellA1").textList());

    const auto images = imagesOf(*document);
    ASSERT_EQ(images.size(), 1u);
    const auto image = DocumentImages::encoded(*document, images[0]);
    EXPECT_EQ(image.bytes, fixtures::picturesOf(*original).front());
    EXPECT_NEAR(image.sizeInPoints.width(), 60, 0.1);
    EXPECT_NEAR(image.sizeInPoints.height(), 45, 0.1);
    // Written again, nothing drifts.
    EXPECT_EQ(DocumentFormats::writeRtf(*document), rtf);
}

TEST(RtfWriter, EdgeDocumentsReadBack) {
    QTextDocument empty;
    EXPECT_EQ(DocumentFormats::readRtf(DocumentFormats::writeRtf(empty))->toPlainText(), "");

    // A table first and last, and two identical images that Qt keeps as one fragment.
    QTextDocument document;
    QTextCursor cursor(&document);
    cursor.insertTable(1, 3)->cellAt(0, 2).firstCursorPosition().insertText("{only}");
    cursor.movePosition(QTextCursor::End);
    const QByteArray png = pngBytes(4, 4, Qt::cyan);
    DocumentImages::insert(cursor, png, QSizeF(12, 12));
    cursor.insertImage(cursor.charFormat().toImageFormat());
    cursor.insertTable(1, 1);
    const auto read = DocumentFormats::readRtf(DocumentFormats::writeRtf(document));
    QTextTable* table = firstTable(*read);
    ASSERT_TRUE(table);
    EXPECT_EQ(table->columns(), 3);
    EXPECT_EQ(cellText(*table, 0, 2), "{only}");
    const auto images = imagesOf(*read);
    ASSERT_EQ(images.size(), 2u);
    EXPECT_EQ(DocumentImages::encoded(*read, images[1]).bytes, png);
    EXPECT_EQ(read->rootFrame()->childFrames().size(), 2);

    // Merged cells say so, across and down; headings name their style in a stylesheet.
    QTextDocument merged;
    QTextCursor at(&merged);
    QTextBlockFormat heading;
    heading.setHeadingLevel(2);
    at.insertBlock(heading);
    at.insertText("Title");
    QTextTable* grid = at.insertTable(3, 3);
    grid->cellAt(0, 0).firstCursorPosition().insertText("wide");
    grid->mergeCells(0, 0, 1, 2);
    grid->mergeCells(1, 2, 2, 1);
    const QByteArray rtf = DocumentFormats::writeRtf(merged);
    EXPECT_EQ(rtf.count("\\clmgf"), 1);
    EXPECT_EQ(rtf.count("\\clmrg"), 1);
    EXPECT_EQ(rtf.count("\\clvmgf"), 1);
    EXPECT_EQ(rtf.count("\\clvmrg"), 1);
    EXPECT_TRUE(rtf.contains("{\\s2\\sbasedon0\\snext0\\outlinelevel1 heading 2;}"));
    EXPECT_TRUE(rtf.contains("\\s2\\outlinelevel1"));
    const auto mergedBack = DocumentFormats::readRtf(rtf);
    QTextTable* gridBack = firstTable(*mergedBack);
    ASSERT_TRUE(gridBack);
    EXPECT_EQ(cellText(*gridBack, 0, 0), "wide");
    EXPECT_EQ(gridBack->cellAt(0, 0).columnSpan(), 2);
    EXPECT_EQ(gridBack->cellAt(2, 2).row(), 1);
    EXPECT_EQ(gridBack->cellAt(1, 2).rowSpan(), 2);
    EXPECT_EQ(DocumentFormats::writeRtf(*mergedBack), rtf);
}

TEST(RtfWriter, PandocReadsWhatItWrites) {
    if (!fixtures::hasPandoc())
        GTEST_SKIP() << "pandoc is not installed";
    TempFolder temp;
    writeBytes(temp, "out.rtf", DocumentFormats::writeRtf(*richDocument()));
    const QString html =
        fixtures::pandoc({"-f", "rtf", "-t", "html", "--wrap=none", "out.rtf"}, temp.path());
    EXPECT_TRUE(html.contains(QRegularExpression("<h1[^>]*>Annual Report</h1>")))
        << html.toStdString();
    EXPECT_TRUE(html.contains(QString::fromUtf16(u"Žluťoučký")));
    EXPECT_TRUE(html.contains("\\{braces}"));
    EXPECT_TRUE(html.contains("<a href=\"https://example.org/report\">linkword</a>"));
    EXPECT_TRUE(html.contains(QRegularExpression("<ul>\\s*<li>(<p>)?bulletone")));
    EXPECT_TRUE(html.contains(QRegularExpression("<ol[^>]*>\\s*<li>(<p>)?numberone")));
    EXPECT_TRUE(html.contains("cellB2"));
    EXPECT_TRUE(html.contains("<img"));
}

TEST(RtfReader, HostileInputFailsOrDegrades) {
    EXPECT_THROW(DocumentFormats::readRtf(""), std::exception);
    EXPECT_THROW(DocumentFormats::readRtf("plain text {\\rtf1 later}"), std::exception);

    const QByteArray deep = "{\\rtf1 " + QByteArray(10'000'000, '{');
    EXPECT_THROW(DocumentFormats::readRtf(deep), std::exception);
    // Inside a skipped destination nesting costs nothing and is still bounded by the file.
    const auto skipped =
        DocumentFormats::readRtf("{\\rtf1 {\\*\\unknown " + QByteArray(1'000'000, '{') + "} kept");
    EXPECT_EQ(skipped->toPlainText(), "");

    EXPECT_EQ(DocumentFormats::readRtf("{\\rtf1 open {\\b bold")->toPlainText(), "open bold");
    EXPECT_EQ(DocumentFormats::readRtf("{\\rtf1 closed}} after}")->toPlainText(), "closed");
    EXPECT_EQ(
        DocumentFormats::readRtf("{\\rtf1 a{\\pict\\pngblip\\bin999999999 12}b}")->toPlainText(),
        "a[Picture]");
    const QByteArray png = pngBytes(20, 20, Qt::black).toHex();
    const auto truncated =
        DocumentFormats::readRtf("{\\rtf1 x{\\pict\\pngblip " + png.left(png.size() / 2));
    EXPECT_TRUE(imagesOf(*truncated).empty());
    EXPECT_EQ(DocumentFormats::readRtf("{\\rtf1 \\uc999999999\\u233 abcdefghijklmnopqrstuvwxyz}")
                  ->toPlainText(),
              QString::fromUtf16(u"éqrstuvwxyz"));
    EXPECT_NO_THROW(DocumentFormats::readRtf("{\\rtf1 \\'zz\\'4\\u\\fs-5 \\fs99999999999 x\\"));
    // Pages, edges and merges out of every range, a header left open.
    const QString odd = DocumentFormats::readRtf(
                            "{\\rtf1 \\pgwsxn-99999999999\\sect\\sbknone\\sect\\trowd\\clvmrg"
                            "\\cellx-99999999999\\clmrg\\cellx-5\\cellx99999999999\\pard\\intbl "
                            "a\\cell b\\cell\\row{\\header{\\field{\\*\\fldinst PAGE}{\\fldrslt x")
                            ->toPlainText();
    EXPECT_TRUE(odd.contains(u'a') && odd.contains(u'b') && !odd.contains(u'x'))
        << odd.toStdString();
}

} // namespace
} // namespace kelvane
