#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/DocumentNotes.h"
#include "documents/DocumentTools.h"
#include "documents/ZipContainer.h"
#include "documents/doc/DocReader.h"
#include "fixtures/Bytes.h"
#include "fixtures/DocumentQueries.h"
#include "fixtures/PdfProbe.h"
#include "fixtures/TempFolder.h"

#include <QImage>
#include <QStandardPaths>
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

const char* const namespaces =
    R"( xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0")"
    R"( xmlns:style="urn:oasis:names:tc:opendocument:xmlns:style:1.0")"
    R"( xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0")"
    R"( xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0")"
    R"( xmlns:draw="urn:oasis:names:tc:opendocument:xmlns:drawing:1.0")"
    R"( xmlns:fo="urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0")"
    R"( xmlns:svg="urn:oasis:names:tc:opendocument:xmlns:svg-compatible:1.0")"
    R"( xmlns:xlink="http://www.w3.org/1999/xlink")";

using fixtures::formatOf;
using fixtures::pngBytes;
using fixtures::writeBytes;

QByteArray content(const QByteArray& automaticStyles, const QByteArray& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><office:document-content" +
           QByteArray(namespaces) + "><office:automatic-styles>" + automaticStyles +
           "</office:automatic-styles><office:body><office:text>" + body +
           "</office:text></office:body></office:document-content>";
}

fs::path writeOdt(const TempFolder& temp, const char* name, const fixtures::Parts& parts) {
    return fixtures::writeZip(temp, name, parts);
}

const QByteArray commonStyles =
    "<office:document-styles" + QByteArray(namespaces) +
    "><office:font-face-decls><style:font-face style:name=\"Sans1\" "
    "svg:font-family=\"'DejaVu Sans'\"/></office:font-face-decls><office:styles>"
    "<style:default-style style:family=\"paragraph\"><style:text-properties "
    "style:font-name=\"Sans1\" fo:font-size=\"11pt\"/></style:default-style>"
    "<style:style style:name=\"Body\" style:family=\"paragraph\"><style:paragraph-properties "
    "fo:margin-left=\"2.54cm\" fo:text-indent=\"0.5in\"/><style:text-properties "
    "fo:font-size=\"10pt\"/></style:style>"
    "<style:style style:name=\"Heading_20_2\" style:family=\"paragraph\">"
    "<style:text-properties fo:font-size=\"16pt\" fo:color=\"#800000\"/></style:style>"
    "</office:styles><office:automatic-styles><style:page-layout style:name=\"pm1\">"
    "<style:page-layout-properties fo:page-width=\"21cm\" fo:page-height=\"29.7cm\" "
    "fo:margin=\"1in\"/></style:page-layout></office:automatic-styles><office:master-styles>"
    "<style:master-page style:name=\"Standard\" style:page-layout-name=\"pm1\"><style:footer>"
    "<text:p>Page <text:page-number>7</text:page-number></text:p></style:footer>"
    "</style:master-page></office:master-styles></office:document-styles>";

const QByteArray automaticStyles =
    "<office:font-face-decls/>"
    "<style:style style:name=\"Narrow\" style:family=\"table-column\">"
    "<style:table-column-properties style:column-width=\"1in\"/></style:style>"
    "<style:style style:name=\"Wide\" style:family=\"table-column\">"
    "<style:table-column-properties style:column-width=\"2in\"/></style:style>"
    "<style:style style:name=\"Shaded\" style:family=\"table-cell\">"
    "<style:table-cell-properties fo:background-color=\"#ddeeff\"/></style:style>"
    "<style:style style:name=\"P1\" style:family=\"paragraph\" style:parent-style-name=\"Body\">"
    "<style:paragraph-properties fo:text-align=\"center\" fo:break-before=\"page\" "
    "fo:margin-top=\"0.5in\" fo:margin-bottom=\"6pt\" fo:line-height=\"150%\"/></style:style>"
    "<style:style style:name=\"T1\" style:family=\"text\"><style:text-properties "
    "fo:font-weight=\"bold\" fo:font-style=\"italic\" style:text-underline-style=\"solid\" "
    "style:text-line-through-style=\"solid\" fo:color=\"#112233\" fo:background-color=\"#ffff00\" "
    "fo:font-family=\"'DejaVu Serif'\" fo:font-size=\"150%\"/></style:style>"
    "<text:list-style style:name=\"L1\"><text:list-level-style-bullet text:level=\"1\" "
    "text:bullet-char=\"•\"/><text:list-level-style-number text:level=\"2\" "
    "style:num-format=\"a\"/>"
    "<text:list-level-style-number text:level=\"3\" style:num-format=\"I\"/></text:list-style>";

const QByteArray body =
    "<text:sequence-decls><text:sequence-decl text:name=\"Figure\"/></text:sequence-decls>"
    "<text:h text:style-name=\"Heading_20_2\" text:outline-level=\"2\">Chapter "
    "<text:span>two</text:span></text:h>"
    "<text:p text:style-name=\"P1\">\n  Plain   spaced <text:span text:style-name=\"T1\">styled"
    "</text:span><text:s text:c=\"3\"/>gap<text:tab/>tab<text:line-break/>next <text:a "
    "xlink:href=\"https://example.org/x\">link</text:a><office:annotation><text:p>comment"
    "</text:p></office:annotation><text:soft-page-break/>\n</text:p>"
    "<text:list text:style-name=\"L1\"><text:list-item><text:p>one</text:p><text:list>"
    "<text:list-item><text:p>one-a</text:p><text:list><text:list-item><text:p>deep</text:p>"
    "</text:list-item></text:list></text:list-item><text:list-item><text:p>one-b</text:p>"
    "</text:list-item></text:list></text:list-item><text:list-item><text:p>two</text:p>"
    "<text:p>two continued</text:p></text:list-item></text:list>"
    "<table:table><table:table-column table:style-name=\"Narrow\"/><table:table-column "
    "table:style-name=\"Wide\" table:number-columns-repeated=\"2\"/>"
    "<table:table-header-rows><table:table-row><table:table-cell "
    "table:number-columns-spanned=\"2\"><text:p>wide</text:p></table:table-cell>"
    "<table:covered-table-cell/><table:table-cell table:style-name=\"Shaded\"><text:p>H3</text:p>"
    "</table:table-cell>"
    "</table:table-row></table:table-header-rows><table:table-row><table:table-cell "
    "table:number-columns-repeated=\"2\"><text:p>same</text:p></table:table-cell>"
    "<table:table-cell><text:p><text:span text:style-name=\"T1\">B</text:span></text:p>"
    "</table:table-cell></table:table-row><table:table-row table:number-rows-repeated=\"2\">"
    "<table:table-cell><text:p>r</text:p></table:table-cell></table:table-row></table:table>"
    "<text:p>after table</text:p>"
    "<text:p>Picture <draw:frame svg:width=\"2in\" svg:height=\"1in\"><draw:image "
    "xlink:href=\"Pictures/x.png\"/><svg:title>frame title</svg:title></draw:frame> and note"
    "<text:note text:note-class=\"footnote\"><text:note-citation>1</text:note-citation>"
    "<text:note-body><text:p>Footnote body <text:span text:style-name=\"T1\">boldnote</text:span>"
    "</text:p><text:list text:style-name=\"L1\"><text:list-item><text:p>note item</text:p>"
    "</text:list-item></text:list></text:note-body></text:note> after</text:p>"
    "<text:p><draw:frame><draw:image xlink:href=\"../../outside.png\"/><svg:desc>harbour "
    "chart</svg:desc></draw:frame>escape"
    "<draw:frame><draw:object xlink:href=\"./Object 1\"/><draw:image "
    "xlink:href=\"./ObjectReplacements/Object 1\"/></draw:frame> chart"
    "</text:p>";

// A chart object's own content: its title, and its series named by cells of its table.
const QByteArray chartContent =
    R"(<office:document-content xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" )"
    R"(xmlns:chart="urn:oasis:names:tc:opendocument:xmlns:chart:1.0" )"
    R"(xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0" )"
    R"(xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0"><office:body><office:chart>)"
    R"(<chart:chart><chart:title><text:p>Rainfall</text:p></chart:title><chart:plot-area>)"
    R"(<chart:series chart:label-cell-address="local-table.$C$1"/>)"
    R"(<chart:series chart:label-cell-address="local-table.$B$1"/></chart:plot-area>)"
    R"(<table:table table:name="local-table"><table:table-header-rows><table:table-row>)"
    R"(<table:table-cell/><table:table-cell><text:p>Harbour</text:p></table:table-cell>)"
    R"(<table:table-cell><text:p>Hills</text:p></table:table-cell></table:table-row>)"
    R"(</table:table-header-rows><table:table-row><table:table-cell table:number-columns-repeated="3">)"
    R"(<text:p>4</text:p></table:table-cell></table:table-row></table:table></chart:chart>)"
    R"(</office:chart></office:body></office:document-content>)";

std::unique_ptr<QTextDocument> readHandWritten(const TempFolder& temp) {
    return DocumentFormats::readOdt(writeOdt(
        temp, "hand.odt",
        {{"mimetype", "application/vnd.oasis.opendocument.text"},
         {"content.xml", content(automaticStyles, body)},
         {"styles.xml", commonStyles},
         {"META-INF/manifest.xml", "<manifest:manifest xmlns:manifest="
                                   "\"urn:oasis:names:tc:opendocument:xmlns:manifest:1.0\"/>"},
         {"Pictures/x.png", pngBytes(8, 4, Qt::blue)},
         {"Object 1/content.xml", chartContent},
         {"ObjectReplacements/Object 1", "not a picture Qt reads"}}));
}

QTextBlock blockWith(const QTextDocument& document, const QString& text) {
    return fixtures::blockOf(document, text);
}

QTextTable* firstTable(const QTextDocument& document) {
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        if (auto* table = qobject_cast<QTextTable*>(QTextCursor(block).currentTable()))
            return table;
    return nullptr;
}

QString cellText(QTextTable* table, int row, int column) {
    return fixtures::cellText(*table, row, column);
}

TEST(OdtReader, ParagraphAndCharacterStylesFollowInheritance) {
    TempFolder temp;
    const auto document = readHandWritten(temp);
    EXPECT_EQ(document->defaultFont().family(), "DejaVu Sans");
    EXPECT_DOUBLE_EQ(document->defaultFont().pointSizeF(), 11);

    const QTextBlock heading = blockWith(*document, "Chapter two");
    EXPECT_EQ(heading.blockFormat().headingLevel(), 2);
    EXPECT_LT(heading.charFormat().fontWeight(), QFont::DemiBold); // its style is not bold
    EXPECT_EQ(formatOf(*document, "two").fontPointSize(), 16);
    EXPECT_EQ(formatOf(*document, "two").foreground().color(), QColor("#800000"));

    const QString expected = QStringLiteral("Plain spaced styled   gap\ttab") +
                             QChar::LineSeparator + QStringLiteral("next link");
    const QTextBlock styled = blockWith(*document, expected);
    EXPECT_EQ(styled.blockFormat().alignment(), Qt::AlignHCenter);
    EXPECT_DOUBLE_EQ(styled.blockFormat().leftMargin(), 96);
    EXPECT_DOUBLE_EQ(styled.blockFormat().textIndent(), 48);
    EXPECT_EQ(styled.blockFormat().pageBreakPolicy(), QTextFormat::PageBreak_AlwaysBefore);
    EXPECT_DOUBLE_EQ(styled.blockFormat().topMargin(), 48);
    EXPECT_DOUBLE_EQ(styled.blockFormat().bottomMargin(), 8);
    EXPECT_EQ(styled.blockFormat().lineHeightType(), QTextBlockFormat::ProportionalHeight);
    EXPECT_DOUBLE_EQ(styled.blockFormat().lineHeight(), 150);
    EXPECT_EQ(formatOf(*document, "Plain").fontPointSize(), 10);
    EXPECT_NE(formatOf(*document, "Plain").fontWeight(), QFont::Bold);

    const QTextCharFormat chars = formatOf(*document, "styled");
    EXPECT_EQ(chars.fontPointSize(), 15);
    EXPECT_EQ(chars.fontWeight(), QFont::Bold);
    EXPECT_TRUE(chars.fontItalic());
    EXPECT_TRUE(chars.fontUnderline());
    EXPECT_TRUE(chars.fontStrikeOut());
    EXPECT_EQ(chars.foreground().color(), QColor("#112233"));
    EXPECT_EQ(chars.background().color(), QColor("#ffff00"));
    EXPECT_EQ(chars.fontFamilies().toStringList(), QStringList{"DejaVu Serif"});
    EXPECT_EQ(formatOf(*document, "link").anchorHref(), "https://example.org/x");
    EXPECT_TRUE(document->find("comment").isNull());
}

TEST(OdtReader, NestedListsTakeTheirLevelStyleAndIndent) {
    TempFolder temp;
    const auto document = readHandWritten(temp);
    QTextList* outer = blockWith(*document, "one").textList();
    QTextList* middle = blockWith(*document, "one-a").textList();
    QTextList* inner = blockWith(*document, "deep").textList();
    ASSERT_TRUE(outer && middle && inner);
    EXPECT_EQ(blockWith(*document, "two").textList(), outer);
    EXPECT_EQ(blockWith(*document, "one-b").textList(), middle);
    EXPECT_EQ(outer->format().style(), QTextListFormat::ListDisc);
    EXPECT_EQ(middle->format().style(), QTextListFormat::ListLowerAlpha);
    EXPECT_EQ(inner->format().style(), QTextListFormat::ListUpperRoman);
    EXPECT_EQ(outer->format().indent(), 1);
    EXPECT_EQ(middle->format().indent(), 2);
    EXPECT_EQ(inner->format().indent(), 3);
    EXPECT_EQ(outer->count(), 2);
    EXPECT_EQ(blockWith(*document, "two continued").textList(), nullptr);
}

// The master page's footer numbers every page of the PDF.
TEST(OdtReader, TheMasterPageGivesThePdfItsMarginsAndFooter) {
    TempFolder temp;
    const auto document = readHandWritten(temp);
    const fixtures::PdfProbe pdf(
        fixtures::writeBytes(temp, "hand.pdf", DocumentTools::pdf(*document, PageSize::letter)));
    ASSERT_GE(pdf.pageCount(), 2);
    for (int page = 0; page < pdf.pageCount(); ++page)
        EXPECT_TRUE(pdf.text(page).simplified().endsWith(QStringLiteral("Page %1").arg(page + 1)))
            << pdf.text(page).toStdString();
    const auto words = pdf.words(0);
    ASSERT_FALSE(words.empty());
    EXPECT_NEAR(words.front().second.left(), 72, 1.0); // the layout's inch, not our default
}

TEST(OdtReader, TablesKeepTheirGridWithRepeatedAndCoveredCells) {
    TempFolder temp;
    const auto document = readHandWritten(temp);
    QTextTable* table = firstTable(*document);
    ASSERT_TRUE(table);
    EXPECT_EQ(table->rows(), 4);
    EXPECT_EQ(table->columns(), 3);
    EXPECT_EQ(cellText(table, 0, 0), "wide");
    EXPECT_EQ(table->cellAt(0, 1), table->cellAt(0, 0)); // merged across
    EXPECT_EQ(cellText(table, 0, 2), "H3");
    // Columns of one and two inches, and a shaded cell.
    ASSERT_EQ(table->format().columnWidthConstraints().size(), 3);
    EXPECT_NEAR(table->format().columnWidthConstraints()[0].rawValue(), 20, 0.01);
    EXPECT_NEAR(table->format().width().rawValue(), 480, 0.01);
    EXPECT_EQ(table->cellAt(0, 2).format().background().color(), QColor("#ddeeff"));
    EXPECT_EQ(table->cellAt(1, 0).format().background().style(), Qt::NoBrush);
    EXPECT_EQ(cellText(table, 1, 0), "same");
    EXPECT_EQ(cellText(table, 1, 1), "same");
    EXPECT_EQ(cellText(table, 3, 0), "r");
    EXPECT_EQ(formatOf(*document, "B").fontWeight(), QFont::Bold);
    EXPECT_EQ(QTextCursor(blockWith(*document, "after table")).currentTable(), nullptr);
}

// Cell styles drawing rules above and below the heading row and under the last one draw just
// those sides, in their colours; no line runs between the columns. The heading row repeats.
TEST(OdtReader, TableCellsDrawTheSidesAndLeaveTheRoomTheirStylesSet) {
    const QByteArray styles =
        R"(<style:style style:name="Head" style:family="table-cell"><style:table-cell-properties )"
        R"(fo:border="none" fo:border-top="0.5pt solid #000000" fo:border-bottom="1pt solid #000000"/>)"
        R"(</style:style><style:style style:name="Body" style:family="table-cell">)"
        R"(<style:table-cell-properties fo:border="none" fo:padding="0pt" fo:padding-left="9pt"/>)"
        R"(</style:style>)"
        R"(<style:style style:name="Last" style:family="table-cell"><style:table-cell-properties )"
        R"(fo:border-left="none" fo:border-right="none" fo:border-bottom="0.05cm solid #ff0000"/>)"
        R"(</style:style>)";
    const auto row = [](const char* style, const char* left, const char* right) {
        return QByteArray("<table:table-row><table:table-cell table:style-name=\"") + style +
               "\"><text:p>" + left +
               "</text:p></table:table-cell><table:table-cell "
               "table:style-name=\"" +
               style + "\"><text:p>" + right + "</text:p></table:table-cell></table:table-row>";
    };
    const QByteArray rules = "<table:table><table:table-header-rows>" +
                             row("Head", "Mass", "Volume") + "</table:table-header-rows>" +
                             row("Body", "Alpha", "One") + row("Last", "Beta", "Two") +
                             "</table:table>";
    TempFolder temp;
    const auto document =
        DocumentFormats::readOdt(writeOdt(temp, "rules.odt",
                                          {{"mimetype", "application/vnd.oasis.opendocument.text"},
                                           {"content.xml", content(styles, rules)}}));
    QTextTable* table = firstTable(*document);
    ASSERT_TRUE(table);
    EXPECT_EQ(table->format().border(), 0);
    EXPECT_EQ(table->format().headerRowCount(), 1);
    const auto cell = [&](int r, int c) {
        return table->cellAt(r, c).format().toTableCellFormat();
    };
    EXPECT_EQ(cell(0, 1).topBorderStyle(), QTextFrameFormat::BorderStyle_Solid);
    EXPECT_GT(cell(0, 1).bottomBorder(), cell(0, 1).topBorder());
    EXPECT_FALSE(cell(1, 0).hasProperty(QTextFormat::TableCellTopBorderStyle));
    EXPECT_FALSE(cell(1, 0).hasProperty(QTextFormat::TableCellBottomBorderStyle));
    EXPECT_EQ(cell(2, 1).bottomBorderBrush().color(), QColor(Qt::red));
    EXPECT_DOUBLE_EQ(cell(1, 0).leftPadding(), 12); // the style's room: 9 points
    EXPECT_DOUBLE_EQ(cell(1, 0).topPadding(), 0);
    for (int r = 0; r < 3; ++r) {
        EXPECT_FALSE(cell(r, 0).hasProperty(QTextFormat::TableCellRightBorderStyle)) << r;
        EXPECT_FALSE(cell(r, 1).hasProperty(QTextFormat::TableCellLeftBorderStyle)) << r;
    }
}

// Pictures come from the package; one that cannot be shown leaves its description, a chart its
// title and series names.
TEST(OdtReader, ImagesComeFromThePackageAndNotesGoToTheEnd) {
    TempFolder temp;
    const auto document = readHandWritten(temp);
    const auto found = fixtures::imagesOf(*document);
    ASSERT_EQ(found.size(), 1u); // the frame pointing outside the package shows its description
    const auto image = DocumentImages::encoded(*document, found.front());
    EXPECT_EQ(image.bytes, pngBytes(8, 4, Qt::blue));
    EXPECT_NEAR(image.sizeInPoints.width(), 144, 0.01);
    EXPECT_NEAR(image.sizeInPoints.height(), 72, 0.01);
    EXPECT_TRUE(document->find("frame title").isNull());
    EXPECT_FALSE(document->find("[harbour chart]escape").isNull());
    EXPECT_FALSE(document->find("[Rainfall: Hills, Harbour] chart").isNull());
    EXPECT_EQ(formatOf(*document, "1 after").verticalAlignment(),
              QTextCharFormat::AlignSuperScript);
    EXPECT_FALSE(document->find("and note1 after").isNull());
    // The note keeps its paragraphs, runs and list, all of them the note's.
    const QTextBlock noteStart = document->find("Footnote body").block();
    EXPECT_TRUE(noteStart.text().startsWith("1 Footnote body"));
    EXPECT_EQ(formatOf(*document, "boldnote").fontWeight(), QFont::Bold);
    const QTextBlock item = document->lastBlock();
    EXPECT_EQ(item.text(), "note item");
    EXPECT_TRUE(item.textList());
    for (const QTextBlock& block : {noteStart, item})
        EXPECT_EQ(DocumentNotes::bodyOf(block.blockFormat()),
                  (DocumentNotes::Note{DocumentNotes::Kind::footnote, 1}));
}

TEST(OdtReader, RefusesWhatIsNotAReadableTextDocument) {
    TempFolder temp;
    const auto odt = [&](const char* name, const QByteArray& xml, const char* mime) {
        return writeOdt(temp, name, {{"mimetype", mime}, {"content.xml", xml}});
    };
    const char* text = "application/vnd.oasis.opendocument.text";
    const auto nested = [](const char* open, const char* close, int times) {
        return content({}, "<text:p>" + QByteArray(open).repeated(times) + "x" +
                               QByteArray(close).repeated(times) + "</text:p>");
    };
    const std::vector<fs::path> broken = {
        writeBytes(temp, "picture.odt", pngBytes(4, 4, Qt::black)),
        odt("truncated.odt", content({}, "<text:p>x</text:p>").chopped(30), text),
        odt("sheet.odt", content({}, "<text:p>x</text:p>"),
            "application/vnd.oasis.opendocument.spreadsheet"),
        odt("notext.odt", "<office:document-content" + QByteArray(namespaces) + "/>", text),
        writeOdt(temp, "nocontent.odt", {{"mimetype", text}, {"styles.xml", commonStyles}}),
        odt("deep.odt", nested("<text:span>", "</text:span>", 500), text),
        odt("deeplists.odt",
            content({}, QByteArray("<text:list><text:list-item>").repeated(200) + "<text:p/>" +
                            QByteArray("</text:list-item></text:list>").repeated(200)),
            text),
    };
    for (const auto& file : broken)
        EXPECT_THROW(DocumentFormats::readOdt(file), std::exception) << file.filename();
}

TEST(OdtReader, RepeatedRowsAndColumnsStayBounded) {
    TempFolder temp;
    const QByteArray table =
        "<table:table><table:table-row table:number-rows-repeated=\"1000000\">"
        "<table:table-cell table:number-columns-repeated=\"16384\"><text:p>x</text:p>"
        "</table:table-cell></table:table-row></table:table>";
    const auto document = DocumentFormats::readOdt(
        writeOdt(temp, "huge.odt",
                 {{"content.xml", content({}, table.repeated(3) + "<text:p>end</text:p>")}}));
    QTextTable* first = firstTable(*document);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->columns(), 64);
    EXPECT_EQ(first->rows(), 1000);
    EXPECT_EQ(cellText(first, 999, 63), "x");
    int cells = 0;
    for (QTextFrame* frame : document->rootFrame()->childFrames())
        if (auto* found = qobject_cast<QTextTable*>(frame))
            cells += found->rows() * found->columns();
    EXPECT_LE(cells, (1 << 16) + 3); // later tables get no more repeated cells
    EXPECT_FALSE(document->find("end").isNull());
}

// A stand-in for antiword: a shell script that records how it was called.
fs::path fakeTool(const TempFolder& temp, const std::string& script) {
    const auto tool = temp.write("bin/antiword", "#!/bin/sh\n" + script);
    fs::permissions(tool, fs::perms::owner_all);
    return tool;
}

QString toolPath(const fs::path& tool) {
    return QString::fromStdString(tool.string());
}

TEST(DocReader, TakesOverTheToolsUtf8TextAsParagraphs) {
    TempFolder temp;
    const auto word = temp.write("-n.doc", "stand-in");
    const auto tool =
        fakeTool(temp, "printf '%s|' \"$LC_ALL\" \"$@\" > \"$(dirname \"$0\")/args\"\n"
                       "printf 'First para\\n\\n\\nSecond \\303\\274 line\\nsame para\\n"
                       "\\fAfter break\\n'\n");
    const auto document =
        DocumentFormats::readDocWith(word, toolPath(tool), std::chrono::seconds(10));
    EXPECT_EQ(fixtures::readFile(temp / "bin/args"),
              "C.UTF-8|-m|UTF-8.txt|-w|0|--|" + word.string() + "|");
    ASSERT_EQ(document->blockCount(), 4);
    EXPECT_EQ(document->begin().text(), "First para");
    EXPECT_EQ(document->begin().next().text(), QStringLiteral("Second ü line"));
    EXPECT_EQ(document->begin().next().next().text(), "same para");
    EXPECT_EQ(document->lastBlock().text(), "After break");
    EXPECT_EQ(document->lastBlock().blockFormat().pageBreakPolicy(),
              QTextFormat::PageBreak_AlwaysBefore);
}

TEST(DocReader, FailsWhenTheToolFailsHangsOrIsMissing) {
    TempFolder temp;
    const auto word = temp.write("a.doc", "stand-in");
    const auto timeout = std::chrono::seconds(10);
    EXPECT_THROW(DocumentFormats::readDocWith(word, toolPath(fakeTool(temp, "echo text; exit 1\n")),
                                              timeout),
                 std::runtime_error);
    EXPECT_THROW(
        DocumentFormats::readDocWith(word, toolPath(fakeTool(temp, "echo '  '\n")), timeout),
        std::runtime_error);

    EXPECT_THROW(DocumentFormats::readDocWith(word, toolPath(fakeTool(temp, "exec sleep 600\n")),
                                              std::chrono::milliseconds(500)),
                 std::runtime_error);

    EXPECT_THROW(DocumentFormats::readDocWith(word, toolPath(temp / "missing/antiword"), timeout),
                 std::runtime_error);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QByteArray::fromStdString(temp.makeFolder("empty").string()));
    try {
        DocumentFormats::readDoc(word);
        ADD_FAILURE() << "read without antiword";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("antiword is not installed"), std::string::npos);
    }
    qputenv("PATH", path);
}

TEST(DocReader, ARealWordDocumentConvertsToEveryFormatAndOthersAreRefused) {
    ASSERT_FALSE(QStandardPaths::findExecutable("antiword").isEmpty())
        << "antiword is installed by scripts/install-deps.sh";
    TempFolder temp;
    const auto letter = temp.path() / "letter.doc";
    std::filesystem::copy_file(KELVANE_TEST_FILES "/letter.doc", letter);
    for (Recipe recipe : RecipeGroup(RecipeGroup::documents).recipes()) {
        if (!recipe.accepts().contains(FileKind::document))
            continue;
        const auto result = DocumentTools::convert(letter, recipe, {});
        EXPECT_TRUE(std::filesystem::file_size(result) > 0) << recipe.rawValue();
    }
    const auto text = QString::fromStdString(fixtures::readFile(temp / "letter (converted).txt"));
    EXPECT_TRUE(text.contains("Letter to the committee"));
    EXPECT_TRUE(text.contains("Paragraph 4: The figures for the third quarter are final"));
    EXPECT_TRUE(text.contains(QString::fromUtf8("Caf\xc3\xa9 Z\xc3\xbcrich")));
    EXPECT_EQ(text.count("Paragraph "), 4) << "one paragraph each, not wrapped lines";

    // What is not a Word document, antiword refuses.
    EXPECT_THROW(DocumentFormats::readDoc(temp.write("notes.doc", "Just some text\n")),
                 std::runtime_error);
    EXPECT_THROW(DocumentFormats::readDoc(writeBytes(temp, "picture.doc", pngBytes(4, 4, Qt::red))),
                 std::runtime_error);
    EXPECT_THROW(DocumentFormats::readDoc(temp / "missing.doc"), std::runtime_error);
}

} // namespace
} // namespace kelvane
