#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/DocumentTools.h"
#include "documents/ZipContainer.h"
#include "fixtures/Bytes.h"
#include "fixtures/DocumentQueries.h"
#include "fixtures/FailureOf.h"
#include "fixtures/PdfProbe.h"
#include "fixtures/TempFolder.h"
#include "naming/ConversionError.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace kelvane {
namespace {

using fixtures::PdfProbe;
using fixtures::readFile;
using fixtures::TempFolder;
namespace fs = std::filesystem;

ConversionOptions withPageSize(PageSize size) {
    ConversionOptions options;
    options.pdfPageSize = size;
    return options;
}

std::string conversionError(const fs::path& input, Recipe recipe) {
    return fixtures::failureOf([&] { DocumentTools::convert(input, recipe, {}); });
}

TEST(DocumentPdf, PagesHaveTheChosenSizeAndTextStartsAtTheMargin) {
    TempFolder temp;
    const auto input = temp.write("report.txt", "First line of the report\nSecond line\n");
    for (const auto& [size, width, height] :
         {std::tuple{PageSize::letter, 612.0, 792.0}, std::tuple{PageSize::a4, 595.28, 841.89}}) {
        const PdfProbe pdf(DocumentTools::convert(input, Recipe::docToPDF, withPageSize(size)));
        ASSERT_TRUE(pdf.isValid());
        EXPECT_EQ(pdf.pageCount(), 1);
        EXPECT_NEAR(pdf.pageSize(0).width(), width, 0.005);
        EXPECT_NEAR(pdf.pageSize(0).height(), height, 0.005);
        EXPECT_EQ(pdf.creator(), "Kelvane");
        const auto words = pdf.words(0);
        ASSERT_FALSE(words.empty());
        EXPECT_EQ(words.front().first, "First");
        EXPECT_NEAR(words.front().second.left(), 64, 1.0);
        EXPECT_NEAR(words.front().second.top(), 64, 3.0);
    }
    EXPECT_TRUE(fs::exists(temp / "report (converted 2).pdf"));
    // An empty document is one blank page.
    const PdfProbe blank(DocumentTools::convert(temp.write("empty.txt", ""), Recipe::docToPDF, {}));
    EXPECT_EQ(blank.pageCount(), 1);
    EXPECT_TRUE(blank.text(0).trimmed().isEmpty());
}

TEST(DocumentText, PlainTextIsUtf8WithoutByteOrderMarkAndDropsStyling) {
    TempFolder temp;
    const auto html = temp.write("page.htm", "<meta charset=\"utf-8\"><h1>Caf\xc3\xa9</h1>"
                                             "<p><b>bold</b> and <i>\xc3\xbc"
                                             "ber</i></p>");
    const std::string text = readFile(DocumentTools::convert(html, Recipe::docToTXT, {}));
    EXPECT_EQ(text.rfind("\xef\xbb\xbf", 0), std::string::npos);
    EXPECT_NE(text.find("Caf\xc3\xa9"), std::string::npos);
    EXPECT_NE(text.find("bold and \xc3\xbc"
                        "ber"),
              std::string::npos);
    EXPECT_EQ(text.find('<'), std::string::npos);
    // Text in a legacy code page is shown rather than refused.
    const auto latin1 = temp.write("old.txt", "caf\xe9 cr\xe8me");
    EXPECT_EQ(readFile(DocumentTools::convert(latin1, Recipe::docToTXT, {})),
              "caf\xc3\xa9 cr\xc3\xa8me");
}

// The pictures of a Word file are fetched from it as the HTML or RTF result is written; text
// that looks like where a picture goes stays text.
TEST(DocumentText, HtmlAndRtfResultsCarryTheirPicturesAndKeepTheirText) {
    const QByteArray png = fixtures::pngBytes(4, 3, Qt::blue);
    QTextDocument document;
    QTextCursor cursor(&document);
    ASSERT_TRUE(DocumentImages::insert(cursor, png));
    const QString name = cursor.charFormat().toImageFormat().name();
    const QString lookalikes = QString::fromUtf8("na\xc3\xafve ") + name + " kelvane-picture-0.";
    cursor.insertText(lookalikes);
    ASSERT_TRUE(DocumentImages::insert(cursor, png));

    TempFolder temp;
    const auto docx = temp.write("photos.docx", DocumentFormats::writeDocx(document).toStdString());
    const auto html = DocumentTools::convert(docx, Recipe::docToHTML, {});
    EXPECT_TRUE(QByteArray::fromStdString(readFile(html)).contains("charset=\"utf-8\""));
    for (const auto& result : {html, DocumentTools::convert(docx, Recipe::docToRTF, {})}) {
        const auto back = DocumentTools::read(result);
        EXPECT_TRUE(back->toPlainText().contains(lookalikes)) << result;
        EXPECT_EQ(fixtures::picturesOf(*back), std::vector<QByteArray>(2, png)) << result;
    }
}

// A long page is read a run of paragraphs at a time; it reads as the page read whole does.
TEST(DocumentRead, LongPagesReadAsTheyWouldWhole) {
    QString html = QStringLiteral("<html><head><style>p.right { text-align: right }</style>"
                                  "</head><body>");
    const QString words = QStringLiteral("words ").repeated(45);
    for (int index = 0; index < 8000; ++index) {
        if (index % 100 == 0)
            html += QStringLiteral("<h2>Heading %1</h2>").arg(index);
        if (index % 1000 == 500)
            html += QStringLiteral("<table><tr><td><p>Cell %1</p></td><td>two</td></tr></table>"
                                   "<ul><li>first</li><li>second</li></ul>")
                        .arg(index);
        html += QStringLiteral("<p%1>Paragraph %2 <b>%3</b></p>\n")
                    .arg(index % 3 == 0 ? QStringLiteral(" class=right") : QString())
                    .arg(index)
                    .arg(words);
    }
    html += QStringLiteral("</body></html>");
    TempFolder temp;
    const auto read = DocumentFormats::readHtml(temp.write("long.html", html.toStdString()));
    QTextDocument whole;
    whole.setHtml(html);
    ASSERT_EQ(read->blockCount(), whole.blockCount());
    for (QTextBlock ours = read->begin(), theirs = whole.begin(); theirs.isValid();
         ours = ours.next(), theirs = theirs.next()) {
        ASSERT_EQ(ours.text(), theirs.text());
        ASSERT_EQ(ours.blockFormat().headingLevel(), theirs.blockFormat().headingLevel());
        ASSERT_EQ(ours.blockFormat().alignment(), theirs.blockFormat().alignment())
            << ours.text().left(20).toStdString();
        ASSERT_EQ(ours.textList() != nullptr, theirs.textList() != nullptr);
        ASSERT_EQ(ours.charFormat().fontWeight(), theirs.charFormat().fontWeight());
    }
}

// Damaged, wrong-type and huge sources; a huge one is refused without being read.
TEST(DocumentRead, UnreadableDocumentsGetTheSentenceAndLeaveNothingBehind) {
    TempFolder temp;
    const fs::path huge = temp / "huge.txt";
    const int fd = ::open(huge.c_str(), O_CREAT | O_WRONLY, 0644);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::ftruncate(fd, 2ll << 30), 0); // sparse: 2 GB that take no disk
    ::close(fd);
    const std::string png = "\x89PNG\r\n\x1a\n\0\0\0\rIHDR";
    const std::pair<fs::path, std::string> unreadable[] = {
        {temp.write("photo.docx", png), "“photo.docx” couldn’t be read as a document."},
        {temp.write("notes.odt", "plain words"), "“notes.odt” couldn’t be read as a document."},
        {temp.write("file.pages", "who knows"), "“file.pages” couldn’t be read as a document."},
        {temp.makeFolder("folder.txt"), "“folder.txt” couldn’t be read as a document."},
        {huge, "“huge.txt” couldn’t be read as a document."},
    };
    for (const auto& [input, sentence] : unreadable)
        EXPECT_EQ(conversionError(input, Recipe::docToPDF), sentence);
    EXPECT_EQ(temp.entries().size(), 5u);
}

TEST(DocumentRead, PagesNeverMakeTheConverterReadDevicesOrOtherFiles) {
    TempFolder temp;
    const auto page =
        temp.write("trap.html", "<html><head><link rel=\"stylesheet\" href=\"/dev/zero\">"
                                "</head><body><p>text</p><img src=\"/dev/zero\">"
                                "<img src=\"file:///dev/urandom\"><img src=\"../../etc/shadow\">"
                                "</body></html>");
    const PdfProbe pdf(DocumentTools::convert(page, Recipe::docToPDF, {}));
    EXPECT_EQ(pdf.pageCount(), 1);
    EXPECT_TRUE(pdf.text(0).contains("text"));
}

TEST(DocumentRead, TypesComeFromTheExtensionIgnoringCase) {
    using T = DocumentTools::DocumentType;
    EXPECT_EQ(DocumentTools::readType("REPORT.DOCX"), T::officeOpenXML);
    EXPECT_EQ(DocumentTools::readType("notes.md"), T::plainText);
    EXPECT_EQ(DocumentTools::readType("notes.text"), T::plainText);
    EXPECT_EQ(DocumentTools::readType("page.htm"), T::html);
    EXPECT_EQ(DocumentTools::readType("letter.rtfd"), T::rtfd);
    EXPECT_FALSE(DocumentTools::readType("file.pages"));
    EXPECT_FALSE(DocumentTools::readType("photo.png"));
}

// The catalogue offers the document recipes for every kind of text file; each one converts.
TEST(DocumentRead, TextFilesOfEveryKindConvertAsTheirCharacters) {
    TempFolder temp;
    const std::pair<const char*, const char*> files[] = {
        {"table.csv", "name,amount\nApples,3\n"},
        {"data.JSON", "{\"fruit\": \"Apples\"}\n"},
        {"server.log", "2024-01-01 Apples delivered\n"},
        {"feed.xml", "<?xml version=\"1.0\"?><fruit>Apples</fruit>\n"},
        {"script.py", "print('Apples')  # caf\xc3\xa9\n"},
        {"main.cpp", "int main() { return 0; } // Apples\n"},
    };
    for (const auto& [name, contents] : files) {
        const auto input = temp.write(name, contents);
        EXPECT_EQ(DocumentTools::readType(input), DocumentTools::DocumentType::plainText) << name;
        const PdfProbe pdf(DocumentTools::convert(input, Recipe::docToPDF, {}));
        EXPECT_TRUE(pdf.text(0).contains("Apples")) << name;
        const auto txt = DocumentTools::convert(input, Recipe::docToTXT, {});
        EXPECT_EQ(readFile(txt), contents) << name;
    }
    EXPECT_EQ(DocumentTools::readType("page.xhtml"), DocumentTools::DocumentType::html);
}

// Word and OpenDocument files are set up for the paper the PDF option names.
TEST(DocumentText, WordAndOpenDocumentFilesCarryTheChosenPaper) {
    TempFolder temp;
    const auto input = temp.write("letter.txt", "Dear reader\n");
    for (const auto& [size, widthTwips, heightTwips, odtWidth] :
         {std::tuple{PageSize::letter, "12240", "15840", "612pt"},
          std::tuple{PageSize::a4, "11906", "16838", "595.28pt"}}) {
        const auto docx = ZipContainer::open(
            DocumentTools::convert(input, Recipe::docToDOCX, withPageSize(size)));
        const QByteArray body = docx.part("word/document.xml").value_or(QByteArray());
        EXPECT_TRUE(body.contains(QByteArray("w:w=\"") + widthTwips + "\" w:h=\"" + heightTwips))
            << widthTwips;
        const auto odt =
            ZipContainer::open(DocumentTools::convert(input, Recipe::docToODT, withPageSize(size)));
        EXPECT_TRUE(odt.part("styles.xml")
                        .value_or(QByteArray())
                        .contains(QByteArray("fo:page-width=\"") + odtWidth))
            << odtWidth;
    }
}

} // namespace
} // namespace kelvane
