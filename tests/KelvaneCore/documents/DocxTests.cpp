#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/DocumentTools.h"
#include "documents/Metafiles.h"
#include "documents/Units.h"
#include "documents/ZipContainer.h"
#include "fixtures/Bytes.h"
#include "fixtures/DocumentQueries.h"
#include "fixtures/DocxFixtures.h"
#include "fixtures/PdfProbe.h"
#include "fixtures/TempFolder.h"

#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>
#include <QUrl>
#include <QtEndian>

#include <gtest/gtest.h>
#include <map>
#include <tuple>

namespace kelvane {
namespace {

using fixtures::blockOf;
using fixtures::formatOf;
using fixtures::listOf;
using fixtures::picturesOf;
using fixtures::TempFolder;
using fixtures::writeBytes;
namespace docx = fixtures::docx;
namespace fs = std::filesystem;

const QByteArray styles = docx::stylesPart(R"(
<w:docDefaults><w:rPrDefault><w:rPr><w:rFonts w:ascii="Liberation Serif" w:hAnsi="Liberation Serif"/>
  <w:sz w:val="22"/></w:rPr></w:rPrDefault></w:docDefaults>
<w:style w:type="paragraph" w:default="1" w:styleId="Normal"><w:name w:val="Normal"/></w:style>
<w:style w:type="paragraph" w:styleId="Heading1"><w:name w:val="heading 1"/><w:basedOn w:val="Normal"/>
  <w:pPr><w:spacing w:before="480" w:line="480" w:lineRule="exact"/></w:pPr><w:rPr><w:color w:val="2E74B5"/><w:sz w:val="32"/></w:rPr></w:style>
<w:style w:type="paragraph" w:styleId="Berschrift2"><w:name w:val="Section Title"/>
  <w:basedOn w:val="Normal"/><w:pPr><w:outlineLvl w:val="1"/></w:pPr><w:rPr><w:i/></w:rPr></w:style>
<w:style w:type="character" w:styleId="Emphasis"><w:name w:val="Emphasis"/>
  <w:rPr><w:i/><w:color w:val="7030A0"/></w:rPr></w:style>)");

const QByteArray numbering = docx::numberingPart(R"xml(
<w:abstractNum w:abstractNumId="0">
  <w:lvl w:ilvl="0"><w:numFmt w:val="bullet"/><w:lvlText w:val="•"/></w:lvl>
  <w:lvl w:ilvl="1"><w:numFmt w:val="bullet"/><w:lvlText w:val="o"/></w:lvl></w:abstractNum>
<w:abstractNum w:abstractNumId="1">
  <w:lvl w:ilvl="0"><w:numFmt w:val="decimal"/><w:lvlText w:val="%1."/></w:lvl>
  <w:lvl w:ilvl="1"><w:numFmt w:val="lowerLetter"/><w:lvlText w:val="%2)"/></w:lvl></w:abstractNum>
<w:num w:numId="1"><w:abstractNumId w:val="0"/></w:num>
<w:num w:numId="2"><w:abstractNumId w:val="1"/></w:num>)xml");

QByteArray listItem(int numId, int level, const char* text) {
    return "<w:p><w:pPr><w:numPr><w:ilvl w:val=\"" + QByteArray::number(level) +
           "\"/><w:numId w:val=\"" + QByteArray::number(numId) +
           "\"/></w:numPr></w:pPr><w:r><w:t>" + text + "</w:t></w:r></w:p>";
}

const QByteArray formattedText = R"(
<w:p><w:pPr><w:pStyle w:val="Heading1"/></w:pPr><w:r><w:t>Quarterly report</w:t></w:r></w:p>
<w:p><w:pPr><w:pStyle w:val="Berschrift2"/></w:pPr><w:r><w:t>Sales</w:t></w:r></w:p>
<w:p><w:pPr><w:jc w:val="center"/><w:ind w:left="720" w:firstLine="360"/>
  <w:spacing w:after="120" w:line="360" w:lineRule="auto"/></w:pPr>
  <w:r><w:t xml:space="preserve">Plain </w:t></w:r>
  <w:r><w:rPr><w:b/></w:rPr><w:t>bold</w:t></w:r>
  <w:r><w:rPr><w:i/></w:rPr><w:t>italic</w:t></w:r>
  <w:r><w:rPr><w:u w:val="single"/></w:rPr><w:t>under</w:t></w:r>
  <w:r><w:rPr><w:strike/></w:rPr><w:t>struck</w:t></w:r>
  <w:r><w:rPr><w:rFonts w:ascii="DejaVu Sans" w:hAnsi="DejaVu Sans"/><w:color w:val="FF0000"/>
    <w:sz w:val="28"/></w:rPr><w:t>red</w:t></w:r>
  <w:r><w:rPr><w:highlight w:val="yellow"/></w:rPr><w:t>marked</w:t></w:r>
  <w:r><w:rPr><w:shd w:val="clear" w:color="auto" w:fill="00FF00"/></w:rPr><w:t>shaded</w:t></w:r>
  <w:r><w:rPr><w:rStyle w:val="Emphasis"/></w:rPr><w:t>styled</w:t></w:r></w:p>
<w:p><w:r><w:t xml:space="preserve">  two spaces</w:t><w:tab/><w:t>after tab</w:t><w:br/><w:t>next</w:t></w:r>
  <w:del><w:r><w:delText>deleted</w:delText></w:r></w:del><w:ins><w:r><w:t xml:space="preserve"> inserted</w:t></w:r></w:ins>
  <w:r><w:fldChar w:fldCharType="begin"/></w:r><w:r><w:instrText>PAGE</w:instrText></w:r>
  <w:r><w:fldChar w:fldCharType="separate"/></w:r><w:r><w:t>7</w:t></w:r>
  <w:r><w:fldChar w:fldCharType="end"/></w:r>
  <w:sdt><w:sdtPr><w:alias w:val="hidden"/></w:sdtPr><w:sdtContent><w:r><w:t xml:space="preserve"> control</w:t></w:r></w:sdtContent></w:sdt>
  <w:r><w:br w:type="page"/></w:r></w:p>
<w:p><w:r><w:t>After the break</w:t></w:r></w:p>)";

const QByteArray lists = listItem(1, 0, "Apples") + listItem(1, 1, "Green") +
                         listItem(1, 1, "Red") + listItem(1, 0, "Pears") + listItem(2, 0, "First") +
                         listItem(2, 1, "Sub") + listItem(2, 0, "Second");

const QByteArray tableLinkAndImage = R"(
<w:tbl><w:tblPr/><w:tblGrid><w:gridCol w:w="1000"/><w:gridCol w:w="3000"/></w:tblGrid>
 <w:tr><w:trPr><w:tblHeader/></w:trPr><w:tc><w:p><w:r><w:t>Name</w:t></w:r></w:p></w:tc>
  <w:tc><w:tcPr><w:shd w:val="clear" w:color="auto" w:fill="D9E2F3"/></w:tcPr><w:p><w:r><w:rPr><w:b/></w:rPr><w:t>Value</w:t></w:r></w:p></w:tc></w:tr>
 <w:tr><w:tc><w:p><w:r><w:t>Width</w:t></w:r></w:p></w:tc>
  <w:tc><w:p><w:r><w:t>42</w:t></w:r></w:p><w:p><w:r><w:t>cm</w:t></w:r></w:p></w:tc></w:tr></w:tbl>
<w:p><w:r><w:t xml:space="preserve">See </w:t></w:r><w:hyperlink r:id="rIdLink"><w:r><w:t>the site</w:t></w:r></w:hyperlink>
  <w:r><w:t xml:space="preserve"> or </w:t></w:r><w:hyperlink w:anchor="intro"><w:r><w:t>the intro</w:t></w:r></w:hyperlink></w:p>
<w:p>)" + docx::drawing("rIdImage", 1270000, 635000) +
                                     "</w:p>";

const QByteArray picture = docx::png(24, 12, Qt::darkCyan);

docx::Parts richPackage() {
    return docx::package(
        docx::documentPart(formattedText + lists + tableLinkAndImage),
        {{"word/styles.xml", styles},
         {"word/numbering.xml", numbering},
         {"word/media/image1.png", picture},
         {"word/_rels/document.xml.rels",
          docx::relationshipsPart(docx::relationship("rIdImage", "image", "media/image1.png") +
                                  docx::relationship("rIdLink", "hyperlink",
                                                     "https://example.org/page?a=1&amp;b=2", true) +
                                  docx::relationship("rIdStyles", "styles", "styles.xml"))}});
}

void expectCharacterFormats(const QTextDocument& document) {
    EXPECT_EQ(formatOf(document, "Plain").fontFamilies().toStringList(),
              QStringList{"Liberation Serif"});
    EXPECT_EQ(formatOf(document, "Plain").fontPointSize(), 11);
    EXPECT_EQ(formatOf(document, "Plain").fontWeight(), QFont::Normal);
    EXPECT_EQ(formatOf(document, "bold").fontWeight(), QFont::Bold);
    EXPECT_TRUE(formatOf(document, "italic").fontItalic());
    EXPECT_FALSE(formatOf(document, "bold").fontItalic());
    EXPECT_TRUE(formatOf(document, "under").fontUnderline());
    EXPECT_TRUE(formatOf(document, "struck").fontStrikeOut());
    const QTextCharFormat red = formatOf(document, "red");
    EXPECT_EQ(red.fontFamilies().toStringList(), QStringList{"DejaVu Sans"});
    EXPECT_EQ(red.fontPointSize(), 14);
    EXPECT_EQ(red.foreground().color(), QColor(255, 0, 0));
    EXPECT_EQ(formatOf(document, "marked").background().color(), QColor(255, 255, 0));
    EXPECT_EQ(formatOf(document, "shaded").background().color(), QColor(0, 255, 0));
    EXPECT_TRUE(formatOf(document, "styled").fontItalic());
    EXPECT_EQ(formatOf(document, "styled").foreground().color(), QColor(0x70, 0x30, 0xa0));
}

void expectParagraphs(const QTextDocument& document) {
    const QTextBlock title = blockOf(document, "Quarterly report");
    EXPECT_EQ(title.blockFormat().headingLevel(), 1);
    EXPECT_EQ(formatOf(document, "Quarterly").fontPointSize(), 16);
    EXPECT_LT(formatOf(document, "Quarterly").fontWeight(), QFont::DemiBold); // its style's look
    EXPECT_EQ(formatOf(document, "Quarterly").foreground().color(), QColor(0x2e, 0x74, 0xb5));
    EXPECT_EQ(blockOf(document, "Sales").blockFormat().headingLevel(), 2);
    EXPECT_TRUE(formatOf(document, "Sales").fontItalic());

    const QTextBlockFormat centred = blockOf(document, "Plain").blockFormat();
    EXPECT_EQ(centred.alignment() & Qt::AlignHorizontal_Mask, Qt::AlignHCenter);
    EXPECT_NEAR(centred.leftMargin(), 48, 0.01); // 720 twips = half an inch
    EXPECT_NEAR(centred.textIndent(), 24, 0.01);
    // Spacing from the heading's style (24 pt before, lines exactly 24 pt) and the paragraph's
    // own (6 pt after, lines one and a half).
    const QTextBlockFormat heading = title.blockFormat();
    EXPECT_NEAR(heading.topMargin(), 32, 0.01);
    EXPECT_EQ(heading.lineHeightType(), QTextBlockFormat::FixedHeight);
    EXPECT_NEAR(heading.lineHeight(), 32, 0.01);
    EXPECT_NEAR(centred.bottomMargin(), 8, 0.01);
    EXPECT_EQ(centred.lineHeightType(), QTextBlockFormat::ProportionalHeight);
    EXPECT_NEAR(centred.lineHeight(), 150, 0.01);

    EXPECT_EQ(blockOf(document, "two spaces").text(),
              QStringLiteral("  two spaces\tafter tab\u2028next inserted7 control"));
    EXPECT_TRUE(document.find("deleted").isNull());
    EXPECT_TRUE(document.find("PAGE").isNull());
    EXPECT_EQ(blockOf(document, "After the break").blockFormat().pageBreakPolicy(),
              QTextFormat::PageBreak_AlwaysBefore);
}

void expectLists(const QTextDocument& document) {
    QTextList* fruit = listOf(document, "Apples");
    QTextList* colours = listOf(document, "Green");
    ASSERT_TRUE(fruit && colours);
    EXPECT_EQ(fruit->format().style(), QTextListFormat::ListDisc);
    EXPECT_EQ(fruit->format().indent(), 1);
    EXPECT_EQ(listOf(document, "Pears"), fruit);
    EXPECT_EQ(fruit->count(), 2);
    EXPECT_EQ(colours->format().style(), QTextListFormat::ListCircle);
    EXPECT_EQ(colours->format().indent(), 2);
    EXPECT_EQ(listOf(document, "Red"), colours);

    QTextList* numbered = listOf(document, "First");
    ASSERT_TRUE(numbered);
    EXPECT_NE(numbered, fruit);
    EXPECT_EQ(numbered->format().style(), QTextListFormat::ListDecimal);
    EXPECT_EQ(listOf(document, "Second"), numbered);
    EXPECT_EQ(listOf(document, "Sub")->format().style(), QTextListFormat::ListLowerAlpha);
    EXPECT_EQ(listOf(document, "Sub")->format().indent(), 2);
    EXPECT_EQ(blockOf(document, "After the break").textList(), nullptr);
}

void expectTableLinkAndImage(const QTextDocument& document) {
    QTextTable* table = fixtures::findText(document, "Width").currentTable();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->rows(), 2);
    EXPECT_EQ(table->columns(), 2);
    EXPECT_EQ(fixtures::findText(document, "42").currentTable(), table);
    EXPECT_EQ(table->cellAt(fixtures::findText(document, "cm").position()).row(), 1);
    EXPECT_EQ(table->cellAt(fixtures::findText(document, "cm").position()).column(), 1);
    EXPECT_EQ(formatOf(document, "Value").fontWeight(), QFont::Bold);
    // No lines, a quarter and three quarters of 200 pt, the heading cell shaded and repeated.
    const QTextTableFormat format = table->format();
    EXPECT_EQ(format.border(), 0);
    ASSERT_EQ(format.columnWidthConstraints().size(), 2);
    EXPECT_NEAR(format.columnWidthConstraints()[0].rawValue(), 25, 0.1);
    EXPECT_NEAR(format.width().rawValue(), Units::pixelsFromPoints(200), 0.1);
    EXPECT_EQ(table->cellAt(0, 1).format().background().color(), QColor(0xD9, 0xE2, 0xF3));
    EXPECT_EQ(table->cellAt(1, 1).format().background().style(), Qt::NoBrush);
    EXPECT_EQ(format.headerRowCount(), 1);

    EXPECT_TRUE(formatOf(document, "the site").isAnchor());
    EXPECT_EQ(formatOf(document, "the site").anchorHref(), "https://example.org/page?a=1&b=2");
    EXPECT_EQ(formatOf(document, "the intro").anchorHref(), "#intro");
    EXPECT_FALSE(formatOf(document, "See").isAnchor());

    const QTextCursor image =
        fixtures::findText(document, QString(QChar::ObjectReplacementCharacter));
    ASSERT_TRUE(image.charFormat().isImageFormat());
    const QTextImageFormat imageFormat = image.charFormat().toImageFormat();
    EXPECT_NEAR(imageFormat.width(), Units::pixelsFromPoints(100), 0.01);
    EXPECT_NEAR(imageFormat.height(), Units::pixelsFromPoints(50), 0.01);
    EXPECT_EQ(DocumentImages::encoded(document, imageFormat).bytes, picture);
}

void expectRichContent(const QTextDocument& document) {
    expectCharacterFormats(document);
    expectParagraphs(document);
    expectLists(document);
    expectTableLinkAndImage(document);
}

// A drawing in a choice of mc:AlternateContent, its VML fallback holding a bitmap of it: the
// fallback is read only when no reader here draws the choice (a metafile cut short, not a
// whole one).
TEST(DocxReader, PicturesNoReaderDrawsShowTheirBitmapFallback) {
    TempFolder temp;
    QByteArray choice = docx::drawing("rIdChoice", 635000, 635000);
    choice = choice.mid(5).chopped(6); // the drawing without its run
    const QByteArray body = "<w:p><w:r><mc:AlternateContent><mc:Choice Requires=\"wps\">" + choice +
                            "</mc:Choice><mc:Fallback><w:pict><v:shape><v:imagedata "
                            "r:id=\"rIdFallback\"/></v:shape></w:pict></mc:Fallback>"
                            "</mc:AlternateContent></w:r><w:r><w:t>after</w:t></w:r></w:p>";
    const QByteArray enhancedMetafile =
        QByteArray::fromHex("01000000") + QByteArray(36, '\0') + " EMF" + QByteArray(48, '\0');
    const auto drawing =
        ZipContainer::open(fs::path(KELVANE_TEST_FILES) / "documents" / "pictures.docx")
            .part("word/media/image4.wmf");
    ASSERT_TRUE(drawing);
    const int drawnWidth = Metafiles::drawEnhancedMetafile(*drawing).width();
    // The fallback is 24 pixels wide where it should show, 8 where the choice shows.
    for (const auto& [name, chosen, fallbackWidth, shownWidth] :
         {std::tuple{"damaged.docx", enhancedMetafile, 24, 24},
          std::tuple{"png.docx", picture, 8, 24},
          std::tuple{"metafile.docx", *drawing, 8, drawnWidth}}) {
        const auto document = DocumentFormats::readDocx(docx::write(
            temp, name,
            docx::package(
                docx::documentPart(body),
                {{"word/media/choice.bin", chosen},
                 {"word/media/fallback.png", docx::png(fallbackWidth, 12, Qt::red)},
                 {"word/_rels/document.xml.rels",
                  docx::relationshipsPart(
                      docx::relationship("rIdChoice", "image", "media/choice.bin") +
                      docx::relationship("rIdFallback", "image", "media/fallback.png"))}})));
        const QString text = document->toPlainText();
        EXPECT_EQ(text.count(QChar::ObjectReplacementCharacter), 1) << name;
        EXPECT_TRUE(text.endsWith("after")) << name;
        const QTextCursor image = document->find(QString(QChar::ObjectReplacementCharacter));
        ASSERT_FALSE(image.isNull()) << name;
        const QVariant bytes = document->resource(QTextDocument::ImageResource,
                                                  QUrl(image.charFormat().toImageFormat().name()));
        EXPECT_EQ(QImage::fromData(bytes.toByteArray()).width(), shownWidth) << name;
    }
}

// A JPEG photo, noisy enough that deflating it saves nothing.
QByteArray photo(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    quint32 seed = 1;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            seed = seed * 1664525u + 1013904223u;
            image.setPixel(x, y, 0xff000000u | (seed >> 8));
        }
    }
    return fixtures::encodedBytes(image, "JPEG");
}

// The JPEG as a camera writes one: its frame, which gives its size, after some 40 KB of
// metadata in two application segments.
QByteArray withCameraMetadata(const QByteArray& jpeg) {
    QByteArray segments;
    for (const char marker : {'\xe1', '\xe2'}) {
        const int length = 20000;
        segments += QByteArray("\xff") + marker + char(length >> 8) + char(length & 0xff) +
                    QByteArray(length - 2, 'm');
    }
    return jpeg.left(2) + segments + jpeg.mid(2);
}

// Text, the photo and `picture` in one paragraph.
docx::Parts photoPackage(const QByteArray& jpeg) {
    return docx::package(docx::documentPart("<w:p><w:r><w:t>before</w:t></w:r>" +
                                            docx::drawing("rIdPhoto", 1270000, 952500) +
                                            docx::drawing("rIdPicture", 635000, 317500) +
                                            "<w:r><w:t>after</w:t></w:r></w:p>"),
                         {{"word/media/photo.jpg", jpeg},
                          {"word/media/picture.png", picture},
                          {"word/_rels/document.xml.rels",
                           docx::relationshipsPart(
                               docx::relationship("rIdPhoto", "image", "media/photo.jpg") +
                               docx::relationship("rIdPicture", "image", "media/picture.png"))}});
}

// The pictures pdfimages finds in a PDF, masks left out.
qsizetype picturesIn(const fs::path& pdf) {
    QProcess pdfimages;
    pdfimages.start(QStringLiteral("pdfimages"),
                    {QStringLiteral("-list"), QString::fromStdString(pdf.string())});
    EXPECT_TRUE(pdfimages.waitForFinished(60000));
    static const QRegularExpression row(QStringLiteral(R"(^\s*\d+\s+\d+\s+image\s)"));
    return QString::fromUtf8(pdfimages.readAllStandardOutput()).split(u'\n').filter(row).size();
}

// Pictures stay in their package until a page or a writer asks for them: a DOCX of a camera's
// JPEG photo and a PNG, and our ODT of it, give both, unchanged, to the PDF, DOCX and ODT made
// of them.
TEST(DocxReader, PicturesReachEveryOutputFromThePackage) {
    TempFolder temp;
    const QByteArray jpeg = withCameraMetadata(photo(320, 240));
    const fs::path docxFile = docx::write(temp, "photos.docx", photoPackage(jpeg));
    const fs::path odtFile = DocumentTools::convert(docxFile, Recipe::docToODT, {});
    for (const fs::path& source : {docxFile, odtFile}) {
        EXPECT_EQ(picturesIn(DocumentTools::convert(source, Recipe::docToPDF, {})), 2) << source;
        for (const Recipe recipe : {Recipe::docToDOCX, Recipe::docToODT}) {
            const fs::path output = DocumentTools::convert(source, recipe, {});
            EXPECT_EQ(picturesOf(*DocumentTools::read(output)), (std::vector{jpeg, picture}))
                << output;
        }
    }
}

// A picture whose part is gone from the file since it was read, or whose entry is damaged
// past its header, goes missing from what is written; the rest still converts.
TEST(DocxReader, PicturesGoneFromThePackageGoMissingAndTheRestConverts) {
    TempFolder temp;
    const QByteArray jpeg = photo(320, 240);
    const fs::path changed = docx::write(temp, "changed.docx", photoPackage(jpeg));
    const auto read = DocumentFormats::readDocx(changed);
    docx::Parts withoutPhoto = photoPackage(jpeg);
    std::erase_if(withoutPhoto, [](const auto& part) { return part.first.ends_with(".jpg"); });
    docx::write(temp, "changed.docx", withoutPhoto);

    QByteArray damaged = QByteArray::fromStdString(
        fixtures::readFile(docx::write(temp, "damaged.docx", photoPackage(jpeg))));
    const qsizetype header = damaged.indexOf("word/media/photo.jpg") - 30;
    ASSERT_GT(header, 0);
    const qsizetype data = header + 30 +
                           qFromLittleEndian<quint16>(damaged.constData() + header + 26) +
                           qFromLittleEndian<quint16>(damaged.constData() + header + 28);
    damaged.replace(data + jpeg.size() * 3 / 4, 64, QByteArray(64, '\x55'));
    const auto readDamaged = DocumentFormats::readDocx(writeBytes(temp, "damaged.docx", damaged));

    for (const QTextDocument* document : {read.get(), readDamaged.get()}) {
        // Reading saw only the photo's header, whole then.
        EXPECT_EQ(document->toPlainText().count(QChar::ObjectReplacementCharacter), 2);
        const auto written = DocumentFormats::readDocx(
            writeBytes(temp, "written.docx", DocumentFormats::writeDocx(*document)));
        EXPECT_EQ(picturesOf(*written), std::vector{picture});
        const fixtures::PdfProbe pdf(
            writeBytes(temp, "written.pdf", DocumentTools::pdf(*document, PageSize::a4)));
        ASSERT_EQ(pdf.pageCount(), 1);
        EXPECT_EQ(pdf.text(0).simplified(), "before after");
    }
}

// A chart without a picture of it keeps its title and the names of its series; axis titles
// and numbers are left out.
TEST(DocxReader, ChartsKeepTheirTitleAndSeriesNames) {
    TempFolder temp;
    const QByteArray chart =
        R"(<c:chartSpace xmlns:c="http://schemas.openxmlformats.org/drawingml/2006/chart" )"
        R"(xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main"><c:chart><c:title>)"
        R"(<c:tx><c:rich><a:p><a:r><a:t>Rainfall by </a:t></a:r><a:r><a:t>month</a:t></a:r>)"
        R"(</a:p></c:rich></c:tx></c:title><c:plotArea><c:barChart><c:ser><c:tx><c:strRef>)"
        R"(<c:strCache><c:pt idx="0"><c:v>Harbour</c:v></c:pt></c:strCache></c:strRef></c:tx>)"
        R"(<c:val><c:numRef><c:numCache><c:pt idx="0"><c:v>42</c:v></c:pt></c:numCache>)"
        R"(</c:numRef></c:val></c:ser><c:ser><c:tx><c:v>Hills</c:v></c:tx></c:ser></c:barChart>)"
        R"(<c:valAx><c:title><c:tx><c:rich><a:p><a:r><a:t>millimetres</a:t></a:r></a:p></c:rich>)"
        R"(</c:tx></c:title></c:valAx></c:plotArea></c:chart></c:chartSpace>)";
    const QByteArray body =
        "<w:p><w:r><w:t xml:space=\"preserve\">See </w:t></w:r><w:r><w:drawing><wp:inline>"
        "<wp:extent cx=\"635000\" cy=\"635000\"/><wp:docPr id=\"1\" name=\"Chart\"/><a:graphic>"
        "<a:graphicData uri=\"http://schemas.openxmlformats.org/drawingml/2006/chart\"><c:chart "
        "xmlns:c=\"http://schemas.openxmlformats.org/drawingml/2006/chart\" r:id=\"rIdChart\"/>"
        "</a:graphicData></a:graphic></wp:inline></w:drawing></w:r></w:p>";
    const auto document = DocumentFormats::readDocx(docx::write(
        temp, "chart.docx",
        docx::package(
            docx::documentPart(body),
            {{"word/charts/chart1.xml", chart},
             {"word/_rels/document.xml.rels", docx::relationshipsPart(docx::relationship(
                                                  "rIdChart", "chart", "charts/chart1.xml"))}})));
    EXPECT_EQ(document->toPlainText(), "See [Rainfall by month: Harbour, Hills]");
}

const QByteArray mergedTable = R"(
<w:tbl><w:tblGrid><w:gridCol/><w:gridCol/><w:gridCol/></w:tblGrid>
 <w:tr><w:tc><w:tcPr><w:gridSpan w:val="2"/></w:tcPr><w:p><w:r><w:t>wide</w:t></w:r></w:p></w:tc>
  <w:tc><w:p><w:r><w:t>c</w:t></w:r></w:p></w:tc></w:tr>
 <w:tr><w:tc><w:tcPr><w:vMerge w:val="restart"/></w:tcPr><w:p><w:r><w:t>tall</w:t></w:r></w:p></w:tc>
  <w:tc><w:p/></w:tc><w:tc><w:p/></w:tc></w:tr>
 <w:tr><w:tc><w:tcPr><w:vMerge/></w:tcPr><w:p><w:r><w:t>ignored</w:t></w:r></w:p></w:tc>
  <w:tc><w:p/></w:tc><w:tc><w:p><w:r><w:t>last</w:t></w:r></w:p></w:tc></w:tr></w:tbl>)";

void expectMergedCells(const QTextDocument& document) {
    QTextTable* table = fixtures::findText(document, "wide").currentTable();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->rows(), 3);
    EXPECT_EQ(table->columns(), 3);
    EXPECT_EQ(table->cellAt(0, 0).columnSpan(), 2);
    EXPECT_EQ(table->cellAt(1, 0).rowSpan(), 2);
    EXPECT_EQ(table->cellAt(fixtures::findText(document, "last").position()).row(), 2);
    EXPECT_EQ(table->cellAt(fixtures::findText(document, "last").position()).column(), 2);
    EXPECT_TRUE(document.find("ignored").isNull());
}

// The package's content as read, and again as read back from our DOCX of it.
TEST(DocxRoundTrip, OurOutputReadsBackWithTheSameContent) {
    TempFolder temp;
    const auto original = DocumentFormats::readDocx(docx::write(temp, "rich.docx", richPackage()));
    {
        SCOPED_TRACE("read");
        expectRichContent(*original);
    }
    const auto reread = DocumentFormats::readDocx(
        writeBytes(temp, "again.docx", DocumentFormats::writeDocx(*original)));
    SCOPED_TRACE("written and read back");
    expectRichContent(*reread);
    EXPECT_EQ(reread->toPlainText(), original->toPlainText());
}

TEST(DocxRoundTrip, ReadsAndKeepsMergedCellsAndNestedTables) {
    TempFolder temp;
    const QByteArray nested =
        "<w:tbl><w:tr><w:tc><w:p><w:r><w:t>outer</w:t></w:r></w:p><w:tbl><w:tr>"
        "<w:tc><w:p><w:r><w:t>inner</w:t></w:r></w:p></w:tc></w:tr></w:tbl>"
        "<w:p/></w:tc></w:tr></w:tbl>";
    const auto file =
        docx::write(temp, "merged.docx", docx::package(docx::documentPart(mergedTable + nested)));
    const auto original = DocumentFormats::readDocx(file);
    expectMergedCells(*original);
    const auto reread = DocumentFormats::readDocx(
        writeBytes(temp, "again.docx", DocumentFormats::writeDocx(*original)));
    expectMergedCells(*reread);
    QTextTable* inner = fixtures::findText(*reread, "inner").currentTable();
    ASSERT_NE(inner, nullptr);
    EXPECT_NE(inner, fixtures::findText(*reread, "outer").currentTable());
    EXPECT_EQ(inner->parentFrame(), fixtures::findText(*reread, "outer").currentTable());
}

// A document built in memory the way other readers build theirs.
TEST(DocxWriter, WritesWhatTheDocumentModelCarries) {
    QTextDocument document;
    QTextCursor cursor(&document);
    QTextBlockFormat heading;
    heading.setHeadingLevel(3);
    cursor.setBlockFormat(heading);
    cursor.insertText(QStringLiteral("Third level"));
    QTextBlockFormat body;
    body.setAlignment(Qt::AlignRight);
    body.setLeftMargin(96);
    body.setTextIndent(-24);
    body.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
    QTextCharFormat plain;
    plain.setVerticalAlignment(QTextCharFormat::AlignSuperScript);
    cursor.insertBlock(body);
    cursor.insertText(QStringLiteral("  <tag> & \"quotes\"\x01\x0b\u2028second line "), plain);
    cursor.insertBlock(QTextBlockFormat());
    QTextListFormat roman;
    roman.setStyle(QTextListFormat::ListUpperRoman);
    cursor.insertList(roman);
    cursor.insertText(QStringLiteral("Roman item"));

    TempFolder temp;
    const auto reread = DocumentFormats::readDocx(
        writeBytes(temp, "model.docx", DocumentFormats::writeDocx(document)));
    EXPECT_EQ(blockOf(*reread, "Third level").blockFormat().headingLevel(), 3);
    const QTextBlock second = blockOf(*reread, "<tag>");
    EXPECT_EQ(second.text(), QStringLiteral("  <tag> & \"quotes\"\u2028second line "));
    EXPECT_EQ(second.blockFormat().alignment() & Qt::AlignHorizontal_Mask, Qt::AlignRight);
    EXPECT_NEAR(second.blockFormat().leftMargin(), 96, 0.01);
    EXPECT_NEAR(second.blockFormat().textIndent(), -24, 0.01);
    EXPECT_EQ(second.blockFormat().pageBreakPolicy(), QTextFormat::PageBreak_AlwaysBefore);
    EXPECT_EQ(formatOf(*reread, "tag").verticalAlignment(), QTextCharFormat::AlignSuperScript);
    EXPECT_EQ(listOf(*reread, "Roman item")->format().style(), QTextListFormat::ListUpperRoman);
}

TEST(DocxReader, RefusesFilesThatAreNotWordDocuments) {
    TempFolder temp;
    EXPECT_THROW(DocumentFormats::readDocx(writeBytes(temp, "image.docx", picture)),
                 std::exception);
    const docx::Parts noDocument = {{"[Content_Types].xml", "<Types/>"},
                                    {"word/styles.xml", styles}};
    EXPECT_THROW(DocumentFormats::readDocx(docx::write(temp, "empty.docx", noDocument)),
                 std::exception);
    const QByteArray unclosed = docx::documentPart("<w:p><w:r><w:t>open</w:r></w:p>");
    EXPECT_THROW(DocumentFormats::readDocx(docx::write(temp, "bad.docx", docx::package(unclosed))),
                 std::exception);
    const QByteArray withDtd =
        "<?xml version=\"1.0\"?><!DOCTYPE w:document [<!ENTITY a \"aaaa\">]>"
        "<w:document" +
        docx::namespaces + "><w:body><w:p><w:r><w:t>&a;</w:t></w:r></w:p></w:body></w:document>";
    EXPECT_THROW(DocumentFormats::readDocx(docx::write(temp, "dtd.docx", docx::package(withDtd))),
                 std::exception);
    const auto bomb = docx::write(
        temp, "bomb.docx", docx::package(docx::documentPart("<w:p/>" + QByteArray(40 << 20, ' '))));
    ASSERT_LT(fs::file_size(bomb), 40u << 10 << 1); // a part that expands a thousandfold
    EXPECT_THROW(DocumentFormats::readDocx(bomb), std::exception);
    const QByteArray otherRoot = "<?xml version=\"1.0\"?><html><body/></html>";
    EXPECT_THROW(
        DocumentFormats::readDocx(docx::write(temp, "html.docx", docx::package(otherRoot))),
        std::exception);
}

TEST(DocxReader, SurvivesHostileNestingAndTables) {
    TempFolder temp;
    constexpr int deep = 100000;
    const QByteArray deepBlocks =
        docx::documentPart("<w:sdt>" + QByteArray("<w:customXml>").repeated(deep) +
                           QByteArray("</w:customXml>").repeated(deep) + "</w:sdt>");
    EXPECT_THROW(
        DocumentFormats::readDocx(docx::write(temp, "deep.docx", docx::package(deepBlocks))),
        std::exception);
    // Inside a picture the reader only scans, so depth costs nothing there.
    const QByteArray deepDrawing = docx::documentPart(
        "<w:p><w:r><w:t>kept</w:t></w:r><w:r><w:drawing>" + QByteArray("<a:g>").repeated(deep) +
        QByteArray("</a:g>").repeated(deep) + "</w:drawing></w:r></w:p>");
    const auto drawn =
        DocumentFormats::readDocx(docx::write(temp, "drawing.docx", docx::package(deepDrawing)));
    EXPECT_FALSE(drawn->find("kept").isNull());

    QByteArray nestedTables = "<w:p><w:r><w:t>innermost</w:t></w:r></w:p>";
    for (int level = 0; level < 12; ++level)
        nestedTables = "<w:tbl><w:tr><w:tc>" + nestedTables + "</w:tc></w:tr></w:tbl><w:p/>";
    const QByteArray wideRow =
        "<w:tbl><w:tr>" +
        QByteArray("<w:tc><w:p><w:r><w:t>x</w:t></w:r></w:p></w:tc>").repeated(1000) +
        "</w:tr><w:tr><w:tc><w:tcPr><w:gridSpan w:val=\"99999\"/></w:tcPr><w:p/></w:tc>"
        "<w:tc><w:tcPr><w:vMerge/></w:tcPr><w:p/></w:tc></w:tr></w:tbl>";
    const auto tables = DocumentFormats::readDocx(docx::write(
        temp, "tables.docx", docx::package(docx::documentPart(nestedTables + wideRow))));
    EXPECT_FALSE(tables->find("innermost").isNull());
    QTextTable* wide = tables->find("x").currentTable();
    ASSERT_NE(wide, nullptr);
    EXPECT_LE(wide->columns(), 64);
    const auto rewritten = DocumentFormats::readDocx(
        writeBytes(temp, "rewritten.docx", DocumentFormats::writeDocx(*tables)));
    EXPECT_FALSE(rewritten->find("innermost").isNull());
}

TEST(DocxReader, IgnoresRelationshipsThatLeaveThePackageOrPointAtNonImages) {
    TempFolder temp;
    const QByteArray body = "<w:p><w:r><w:t>text stays</w:t></w:r>" +
                            docx::drawing("rIdEscape", 914400, 914400) +
                            docx::drawing("rIdStyles", 914400, 914400) +
                            docx::drawing("rIdMissing", 914400, 914400) + "</w:p>";
    const auto file = docx::write(
        temp, "escape.docx",
        docx::package(
            docx::documentPart(body),
            {{"word/styles.xml", styles},
             {"word/_rels/document.xml.rels",
              docx::relationshipsPart(docx::relationship("rIdEscape", "image", "../../etc/passwd") +
                                      docx::relationship("rIdStyles", "image", "styles.xml"))}}));
    const auto document = DocumentFormats::readDocx(file);
    EXPECT_EQ(document->toPlainText(), "text stays");
}

TEST(DocxReader, ResolvesStylesThroughCyclesAndMissingDefinitions) {
    TempFolder temp;
    const QByteArray cyclic = docx::stylesPart(R"(
<w:style w:type="paragraph" w:styleId="A"><w:basedOn w:val="B"/><w:rPr><w:b/></w:rPr></w:style>
<w:style w:type="paragraph" w:styleId="B"><w:basedOn w:val="A"/><w:rPr><w:i/></w:rPr></w:style>)");
    const QByteArray body = R"(
<w:p><w:pPr><w:pStyle w:val="A"/></w:pPr><w:r><w:t>loop</w:t></w:r></w:p>
<w:p><w:pPr><w:pStyle w:val="Heading3"/></w:pPr><w:r><w:t>undefined</w:t></w:r></w:p>)";
    const auto document = DocumentFormats::readDocx(
        docx::write(temp, "cycle.docx",
                    docx::package(docx::documentPart(body), {{"word/styles.xml", cyclic}})));
    EXPECT_EQ(formatOf(*document, "loop").fontWeight(), QFont::Bold);
    EXPECT_TRUE(formatOf(*document, "loop").fontItalic());
    EXPECT_EQ(blockOf(*document, "loop").blockFormat().headingLevel(), 0);
    EXPECT_EQ(blockOf(*document, "undefined").blockFormat().headingLevel(), 3);
    EXPECT_EQ(formatOf(*document, "undefined").fontWeight(), QFont::Bold);
}

// A portrait section and a landscape one, both with a footer numbering their pages.
TEST(DocxReader, SectionsGiveThePdfTheirPagesAndFooters) {
    const QByteArray footerReference = R"(<w:footerReference w:type="default" r:id="rIdFooter"/>)";
    const QByteArray body =
        R"(<w:p><w:pPr><w:sectPr>)" + footerReference +
        R"(<w:pgSz w:w="12240" w:h="15840"/></w:sectPr></w:pPr><w:r><w:t>Upright</w:t></w:r></w:p>
<w:p><w:r><w:t>Sideways</w:t></w:r></w:p><w:sectPr>)" +
        footerReference + R"(<w:pgSz w:w="15840" w:h="12240" w:orient="landscape"/></w:sectPr>)";
    const QByteArray footer = "<w:ftr" + docx::namespaces +
                              R"(><w:p><w:r><w:t xml:space="preserve">Page </w:t></w:r>
<w:r><w:fldChar w:fldCharType="begin"/></w:r><w:r><w:instrText> PAGE </w:instrText></w:r>
<w:r><w:fldChar w:fldCharType="separate"/></w:r><w:r><w:t>9</w:t></w:r>
<w:r><w:fldChar w:fldCharType="end"/></w:r></w:p></w:ftr>)";
    TempFolder temp;
    const auto document = DocumentFormats::readDocx(docx::write(
        temp, "sections.docx",
        docx::package(docx::documentPart(body),
                      {{"word/_rels/document.xml.rels", docx::relationshipsPart(docx::relationship(
                                                            "rIdFooter", "footer", "footer1.xml"))},
                       {"word/footer1.xml", footer}})));
    const fixtures::PdfProbe pdf(
        writeBytes(temp, "sections.pdf", DocumentTools::pdf(*document, PageSize::a4)));
    ASSERT_EQ(pdf.pageCount(), 2);
    EXPECT_LT(pdf.pageSize(0).width(), pdf.pageSize(0).height());
    EXPECT_GT(pdf.pageSize(1).width(), pdf.pageSize(1).height());
    EXPECT_NEAR(pdf.pageSize(1).width(), 841.89, 0.5); // the chosen paper, turned
    EXPECT_EQ(pdf.text(0).simplified(), "Upright Page 1");
    EXPECT_EQ(pdf.text(1).simplified(), "Sideways Page 2");
}

QByteArray cell(const char* text, const QByteArray& properties = {}) {
    return "<w:tc>" + properties + "<w:p><w:r><w:t>" + text + "</w:t></w:r></w:p></w:tc>";
}

QByteArray table(const char* style, const QByteArray& rows) {
    return R"(<w:tbl><w:tblPr><w:tblStyle w:val=")" + QByteArray(style) +
           R"("/></w:tblPr><w:tblGrid><w:gridCol w:w="2000"/><w:gridCol w:w="2000"/></w:tblGrid>)" +
           rows + "</w:tbl><w:p/>";
}

// The rules of the table of "Mass" and "Volume" drawn in the PDF: above and below the table and
// under its first row, none between the columns; and the other tables' lines in the model.
void expectRules(const QTextDocument& document, const TempFolder& temp) {
    QTextTable* marked = fixtures::findText(document, "Marked").currentTable();
    QTextTable* grid = fixtures::findText(document, "Gridded").currentTable();
    ASSERT_TRUE(marked && grid);
    EXPECT_EQ(marked->format().border(), 0);
    const QTextTableCellFormat red = marked->cellAt(0, 1).format().toTableCellFormat();
    EXPECT_EQ(red.leftBorderBrush().color(), QColor(Qt::red));
    EXPECT_EQ(red.leftBorderStyle(), QTextFrameFormat::BorderStyle_Double);
    EXPECT_NEAR(Units::pointsFromPixels(red.leftBorder()), 0.5, 0.05); // each of the two lines
    EXPECT_FALSE(red.hasProperty(QTextFormat::TableCellRightBorderStyle));
    EXPECT_GT(grid->format().border(), 0);
    EXPECT_EQ(grid->cellAt(0, 0).format().background().color(), QColor(Qt::yellow));
    // The style shades its first row and every other row below it, sets the first row's
    // characters, and the spacing of the paragraphs in its cells.
    QTextTable* rules = fixtures::findText(document, "Mass").currentTable();
    ASSERT_TRUE(rules);
    EXPECT_EQ(rules->cellAt(0, 1).format().background().color(), QColor(0xdd, 0xdd, 0xdd));
    EXPECT_EQ(rules->cellAt(1, 0).format().background().color(), QColor(0xee, 0xee, 0xee));
    EXPECT_EQ(rules->cellAt(2, 0).format().background().style(), Qt::NoBrush);
    const QTextCharFormat heading = fixtures::findText(document, "Volume").charFormat();
    EXPECT_EQ(heading.fontWeight(), QFont::Bold);
    EXPECT_EQ(heading.foreground().color(), QColor(0x1f, 0x38, 0x64));
    EXPECT_NE(fixtures::findText(document, "Alpha").charFormat().fontWeight(), QFont::Bold);
    EXPECT_DOUBLE_EQ(fixtures::findText(document, "Beta").blockFormat().bottomMargin(), 0);

    const fixtures::PdfProbe pdf(
        writeBytes(temp, "rules.pdf", DocumentTools::pdf(document, PageSize::a4)));
    ASSERT_EQ(pdf.pageCount(), 1);
    std::map<QString, QRectF> boxes;
    for (const auto& [word, box] : pdf.words(0))
        boxes.try_emplace(word, box);
    const QImage page = pdf.picture(0).convertToFormat(QImage::Format_Grayscale8);
    const double left = boxes["Mass"].left();
    const double right = boxes["Volume"].right();
    // Whether a dark line runs across the table somewhere between two heights.
    const auto ruleBetween = [&](double top, double bottom) {
        for (int y = static_cast<int>(top); y <= static_cast<int>(bottom); ++y) {
            int dark = 0;
            for (int x = static_cast<int>(left); x < static_cast<int>(right); ++x)
                dark += qGray(page.pixel(x, y)) < 160 ? 1 : 0;
            if (dark > (right - left) * 0.9)
                return true;
        }
        return false;
    };
    EXPECT_TRUE(ruleBetween(boxes["Mass"].top() - 8, boxes["Mass"].top()));
    EXPECT_TRUE(ruleBetween(boxes["Mass"].bottom(), boxes["Alpha"].top()));
    EXPECT_FALSE(ruleBetween(boxes["Alpha"].bottom(), boxes["Beta"].top()));
    EXPECT_TRUE(ruleBetween(boxes["Beta"].bottom(), boxes["Beta"].bottom() + 8));
    const int middle = static_cast<int>(boxes["Alpha"].center().y());
    for (int x = static_cast<int>(boxes["Alpha"].right()) + 1; x < boxes["One"].left() - 1; ++x)
        EXPECT_GE(qGray(page.pixel(x, middle)), 160) << x;
}

// A table style drawing rules above and below the table and under its first row draws just
// those, as drawn lines in the PDF; a cell's own border and a grid style the document only
// names are kept too, as are a cell's double line and shading, and the shading, characters and
// spacing the style gives its regions; in our DOCX, ODT and RTF as well.
TEST(DocxReader, TablesDrawTheLinesTheirStyleAndCellsSet) {
    const QByteArray rule = R"(w:val="single" w:sz="8" w:color="000000")";
    const QByteArray tableStyles = docx::stylesPart(
        R"(<w:docDefaults><w:pPrDefault><w:pPr><w:spacing w:after="200"/></w:pPr></w:pPrDefault>
</w:docDefaults><w:style w:type="table" w:styleId="Plain"><w:name w:val="Plain"/></w:style>
<w:style w:type="table" w:styleId="Rules"><w:basedOn w:val="Plain"/>
  <w:pPr><w:spacing w:after="0"/></w:pPr><w:tblPr><w:tblBorders><w:top )" +
        rule + "/><w:bottom " + rule + R"(/><w:insideV w:val="nil"/></w:tblBorders></w:tblPr>
  <w:tblStylePr w:type="band1Horz"><w:tcPr><w:shd w:fill="EEEEEE"/></w:tcPr></w:tblStylePr>
  <w:tblStylePr w:type="firstRow"><w:rPr><w:b/><w:color w:val="1F3864"/></w:rPr>
    <w:tcPr><w:shd w:fill="DDDDDD"/><w:tcBorders><w:bottom )" +
        rule + R"(/></w:tcBorders></w:tcPr></w:tblStylePr></w:style>)");
    const QByteArray redLeft =
        R"(<w:tcPr><w:tcBorders><w:left w:val="double" w:sz="4" w:color="FF0000"/></w:tcBorders></w:tcPr>)";
    const QByteArray body =
        table("Rules", "<w:tr>" + cell("Mass") + cell("Volume") + "</w:tr><w:tr>" + cell("Alpha") +
                           cell("One") + "</w:tr><w:tr>" + cell("Beta") + cell("Two") + "</w:tr>") +
        table("Plain", "<w:tr>" + cell("Left") + cell("Marked", redLeft) + "</w:tr>") +
        table("TableGrid", "<w:tr>" +
                               cell("Gridded", R"(<w:tcPr><w:shd w:fill="FFFF00"/></w:tcPr>)") +
                               cell("Cells") + "</w:tr>");
    TempFolder temp;
    auto document = DocumentFormats::readDocx(docx::write(
        temp, "rules.docx",
        docx::package(docx::documentPart(body), {{"word/styles.xml", tableStyles},
                                                 {"word/_rels/document.xml.rels",
                                                  docx::relationshipsPart(docx::relationship(
                                                      "rIdStyles", "styles", "styles.xml"))}})));
    // Cells have a word processor's margins: a little room at their sides, none above or below.
    const QTextTableCellFormat margins = fixtures::findText(*document, "Alpha")
                                             .currentTable()
                                             ->cellAt(1, 0)
                                             .format()
                                             .toTableCellFormat();
    EXPECT_NEAR(margins.leftPadding(), 7.2, 0.01);
    EXPECT_DOUBLE_EQ(margins.topPadding(), 0);
    std::vector<std::unique_ptr<QTextDocument>> documents;
    documents.push_back(DocumentFormats::readDocx(
        writeBytes(temp, "ours.docx", DocumentFormats::writeDocx(*document))));
    documents.push_back(DocumentFormats::readOdt(
        writeBytes(temp, "ours.odt", DocumentFormats::writeOdt(*document))));
    documents.push_back(DocumentFormats::readRtf(DocumentFormats::writeRtf(*document)));
    documents.push_back(std::move(document));
    const char* const names[] = {"our DOCX", "our ODT", "our RTF", "the source"};
    for (std::size_t i = 0; i < documents.size(); ++i) {
        SCOPED_TRACE(names[i]);
        expectRules(*documents[i], temp);
    }
}

// A colour and a gray JPEG reach the PDF as the bytes they came in and show where they stand,
// as do a colour and a palette PNG, on pages of the exact paper size; a JPEG scrambled inside, one
// cut short and a PNG whose chunk lies about its length still leave a PDF a reader opens.
TEST(DocxPdf, PicturesGoInAsTheyCameAndDamagedOnesLeaveAReadablePdf) {
    QImage colour(64, 32, QImage::Format_RGB32);
    colour.fill(QColor(200, 40, 40));
    QImage gray(32, 32, QImage::Format_Grayscale8);
    gray.fill(QColor(90, 90, 90));
    const QByteArray red = fixtures::encodedBytes(colour, "JPEG");
    const QByteArray dark = fixtures::encodedBytes(gray, "JPEG");
    QByteArray scrambled = red; // its scan's data, between the scan header and the end marker
    for (qsizetype i = red.indexOf("\xff\xda") + 16; i < scrambled.size() - 2; i += 3)
        scrambled[i] = 0x55;
    const QByteArray blue = docx::png(40, 40, QColor(30, 60, 220));
    QByteArray lying = blue; // its first chunk after the header claims to run past the end
    lying.replace(33, 4, QByteArray("\x7f\xff\xff\x00", 4));
    QImage indexed(40, 40, QImage::Format_Indexed8);
    indexed.setColorTable({qRgb(0, 0, 0), qRgb(40, 160, 60)});
    indexed.fill(1);
    const QByteArray green = fixtures::encodedBytes(indexed, "PNG");
    const QByteArray pictures[] = {red,  dark, blue, green, scrambled, red.left(red.size() * 2 / 3),
                                   lying};
    QByteArray body = "<w:p><w:r><w:t>Before</w:t></w:r></w:p>";
    QByteArray relationships;
    docx::Parts parts;
    for (int i = 0; i < 7; ++i) {
        const QByteArray id = "rIdJpeg" + QByteArray::number(i);
        const QByteArray part = "media/photo" + QByteArray::number(i) + ".jpg";
        body += "<w:p>" + docx::drawing(id.constData(), 914400, 914400) + "</w:p>";
        relationships += docx::relationship(id.constData(), "image", part.constData());
        parts.push_back({"word/" + part.toStdString(), pictures[i]});
    }
    body += "<w:p><w:r><w:t>After</w:t></w:r></w:p>";
    parts.push_back({"word/_rels/document.xml.rels", docx::relationshipsPart(relationships)});
    TempFolder temp;
    const fs::path input =
        docx::write(temp, "photos.docx", docx::package(docx::documentPart(body), parts));

    ConversionOptions a4;
    a4.pdfPageSize = PageSize::a4;
    const fs::path file = DocumentTools::convert(input, Recipe::docToPDF, a4);
    const QByteArray inMemory = DocumentTools::pdf(*DocumentFormats::readDocx(input), PageSize::a4);
    for (const QByteArray& pdf : {QByteArray::fromStdString(fixtures::readFile(file)), inMemory}) {
        EXPECT_TRUE(pdf.contains(red));
        EXPECT_TRUE(pdf.contains(dark));
    }
    const fixtures::PdfProbe pdf(file);
    ASSERT_EQ(pdf.pageCount(), 1);
    EXPECT_NEAR(pdf.pageSize(0).width(), 595.28, 0.005); // not rounded to whole points
    EXPECT_EQ(pdf.text(0).simplified(), "Before After");
    const auto words = pdf.words(0);
    const QImage page = pdf.picture(0);
    // Down the middle of the pictures from below "Before": the red one, then the gray, blue
    // and green ones, each an inch further down.
    const auto near = [](QColor shown, QColor expected) {
        return std::abs(shown.red() - expected.red()) < 30 &&
               std::abs(shown.green() - expected.green()) < 30 &&
               std::abs(shown.blue() - expected.blue()) < 30;
    };
    const QColor inTurn[] = {QColor(200, 40, 40), QColor(90, 90, 90), QColor(30, 60, 220),
                             QColor(40, 160, 60)};
    const int below = static_cast<int>(words.front().second.bottom());
    std::vector<int> tops;
    for (int y = below; y < page.height() && tops.size() < std::size(inTurn); ++y)
        if (near(page.pixelColor(100, y), inTurn[tops.size()]))
            tops.push_back(y);
    ASSERT_EQ(tops.size(), std::size(inTurn));
    EXPECT_LT(tops.front() - below, 8);
    for (std::size_t i = 1; i < tops.size(); ++i)
        EXPECT_NEAR(tops[i] - tops[i - 1], 72, 8) << i;
}

} // namespace
} // namespace kelvane
