#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/ZipContainer.h"
#include "fixtures/DocumentQueries.h"
#include "fixtures/StyledDocument.h"
#include "fixtures/TempFolder.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>
#include <QXmlStreamReader>

#include <gtest/gtest.h>
#include <string>

namespace kelvane {
namespace {

using fixtures::formatOf;
using fixtures::imagesOf;
using fixtures::TempFolder;
using fixtures::writeBytes;

QTextBlock blockWith(const QTextDocument& document, const QString& text) {
    return fixtures::blockOf(document, text);
}
namespace fs = std::filesystem;

const QByteArray odtMimeType = "application/vnd.oasis.opendocument.text";

// A document read from a package draws its pictures from the file, so each file written
// here stays until the tests end.
std::unique_ptr<QTextDocument> writeAndRead(const QTextDocument& source) {
    static const TempFolder temp;
    static int written = 0;
    const std::string name = "written" + std::to_string(++written) + ".odt";
    return DocumentFormats::readOdt(
        writeBytes(temp, name.c_str(), DocumentFormats::writeOdt(source)));
}

QByteArray partOf(const QByteArray& odt, std::string_view name) {
    TempFolder temp;
    return ZipContainer::open(writeBytes(temp, "written.odt", odt)).part(name).value_or("");
}

quint16 littleEndian16(const QByteArray& bytes, int at) {
    return static_cast<quint16>(static_cast<quint8>(bytes[at]) | static_cast<quint8>(bytes[at + 1])
                                                                     << 8);
}

// One paragraph per entry, made of runs that are plain and bold in turn.
std::unique_ptr<QTextDocument> paragraphs(const std::vector<QStringList>& texts) {
    auto document = std::make_unique<QTextDocument>();
    QTextCursor cursor(document.get());
    for (std::size_t index = 0; index < texts.size(); ++index) {
        if (index > 0)
            cursor.insertBlock();
        bool bold = false;
        for (const QString& run : texts[index]) {
            QTextCharFormat format;
            format.setFontWeight(bold ? QFont::Bold : QFont::Normal);
            cursor.insertText(run, format);
            bold = !bold;
        }
    }
    return document;
}

TEST(OdtWriterPackage, MimetypeComesFirstStoredAndTheManifestListsEveryPart) {
    const QByteArray odt = DocumentFormats::writeOdt(*fixtures::styledDocument());
    // The first local file header: signature, method at 8, name and extra lengths at 26 and 28.
    ASSERT_GT(odt.size(), 100);
    EXPECT_TRUE(odt.startsWith("PK\x03\x04"));
    EXPECT_EQ(littleEndian16(odt, 8), 0) << "mimetype must be stored, not deflated";
    const int nameLength = littleEndian16(odt, 26);
    const int extraLength = littleEndian16(odt, 28);
    EXPECT_EQ(odt.mid(30, nameLength), "mimetype");
    EXPECT_EQ(odt.mid(30 + nameLength + extraLength, odtMimeType.size()), odtMimeType);

    QXmlStreamReader manifest(partOf(odt, "META-INF/manifest.xml"));
    std::map<QString, QString> entries;
    while (!manifest.atEnd())
        if (manifest.readNext() == QXmlStreamReader::StartElement &&
            manifest.name() == u"file-entry")
            entries[manifest.attributes().value("manifest:full-path").toString()] =
                manifest.attributes().value("manifest:media-type").toString();
    EXPECT_FALSE(manifest.hasError()) << manifest.errorString().toStdString();
    EXPECT_EQ(entries["/"], odtMimeType);
    std::vector<QString> pictures;
    for (const auto& [path, type] : entries) {
        if (path == u"/")
            continue;
        EXPECT_FALSE(partOf(odt, path.toStdString()).isEmpty()) << path.toStdString();
        if (type == u"image/png")
            pictures.push_back(path);
    }
    ASSERT_EQ(pictures.size(), 1u);
    const auto source = fixtures::styledDocument();
    EXPECT_EQ(partOf(odt, pictures.front().toStdString()),
              DocumentImages::encoded(*source, imagesOf(*source).front()).bytes);
    for (const char* part : {"content.xml", "styles.xml", "meta.xml"})
        EXPECT_TRUE(entries.contains(part)) << part;
    EXPECT_TRUE(partOf(odt, "meta.xml").contains("Kelvane"));
}

// The round trip over every writer checks what all of them keep; here, what ODT keeps exactly.
TEST(OdtWriterRoundTrip, OurReaderGetsTheStyledDocumentBack) {
    const auto source = fixtures::styledDocument();
    const auto document = writeAndRead(*source);

    EXPECT_EQ(formatOf(*document, "Annual Report").fontPointSize(), 24);
    EXPECT_EQ(formatOf(*document, "Plain then").fontWeight(), QFont::Normal);
    EXPECT_FALSE(formatOf(*document, "Plain then").isAnchor());
    const QTextCharFormat serif = formatOf(*document, "serifword");
    EXPECT_EQ(serif.fontFamilies().toStringList().value(0), "Liberation Serif");
    EXPECT_EQ(serif.fontPointSize(), 18);

    const QTextList* bullets = blockWith(*document, "bulletone").textList();
    const QTextList* nested = blockWith(*document, "nestedbullet").textList();
    ASSERT_TRUE(bullets && nested);
    EXPECT_EQ(bullets->format().style(), QTextListFormat::ListDisc);
    EXPECT_EQ(nested->format().style(), QTextListFormat::ListCircle);
    EXPECT_EQ(bullets->format().indent(), 1);
    EXPECT_EQ(nested->format().indent(), 2);

    const QTextTable* table = document->find("cellB2").currentTable();
    ASSERT_TRUE(table);
    EXPECT_EQ(table->cellAt(0, 1).firstCursorPosition().block().text(), "cellB1");
    EXPECT_FALSE(blockWith(*document, "cellA1").textList());
    // Merged cells come back merged, across and down.
    QTextDocument merged;
    QTextTable* grid = QTextCursor(&merged).insertTable(2, 3);
    grid->cellAt(0, 0).firstCursorPosition().insertText("wide");
    grid->mergeCells(0, 0, 1, 2);
    grid->mergeCells(0, 2, 2, 1);
    const auto mergedBack = writeAndRead(merged);
    const QTextTable* gridBack = mergedBack->find("wide").currentTable();
    ASSERT_TRUE(gridBack);
    EXPECT_EQ(gridBack->columns(), 3);
    EXPECT_EQ(gridBack->cellAt(0, 0).columnSpan(), 2);
    EXPECT_EQ(gridBack->cellAt(1, 2).row(), 0);

    const auto images = imagesOf(*document);
    ASSERT_EQ(images.size(), 1u);
    const auto original = DocumentImages::encoded(*source, imagesOf(*source).front());
    const auto image = DocumentImages::encoded(*document, images.front());
    EXPECT_EQ(image.bytes, original.bytes);
    EXPECT_NEAR(image.sizeInPoints.width(), 60, 0.01);
    EXPECT_NEAR(image.sizeInPoints.height(), 45, 0.01);
}

// Each paragraph comes back alone and exact: a line break stays one, not a new paragraph.
TEST(OdtWriterText, SpacesAndTabsSurviveWhereverTheyStand) {
    const std::vector<QStringList> texts = {
        {"  two leading"},
        {"three   inside"},
        {"trailing two  "},
        {"one trailing "},
        {"bold ", " next"}, // a space on either side of a change of format
        {"a\tb\t\tc", "\t"},
        {QString(1500, u' ') + "wide"},
        {"before break " + QString(QChar::LineSeparator) + " after break"},
    };
    const auto document = writeAndRead(*paragraphs(texts));
    QTextBlock block = document->begin();
    for (const auto& runs : texts) {
        ASSERT_TRUE(block.isValid());
        EXPECT_EQ(block.text(), runs.join("")) << runs.join("").toStdString();
        block = block.next();
    }
}

TEST(OdtWriterText, CharactersXmlCannotCarryAreDropped) {
    const QString text = QStringLiteral("a\x01") + QChar(0xffff) + "b" + QChar(0xd800) + "c";
    const auto document = writeAndRead(*paragraphs({{text}}));
    EXPECT_EQ(document->begin().text(), "abc");
}

TEST(OdtWriterBlocks, HeadingsAlignmentIndentsAndPageBreaksComeBack) {
    QTextDocument source;
    QTextCursor cursor(&source);
    for (int level = 1; level <= 6; ++level) {
        QTextBlockFormat heading;
        heading.setHeadingLevel(level);
        QTextCharFormat plain; // a heading whose characters are not bold stays so
        plain.setFontWeight(level == 3 ? QFont::Normal : QFont::Bold);
        cursor.insertBlock(heading, plain);
        cursor.insertText("heading " + QString::number(level));
    }
    QTextBlockFormat paragraph;
    paragraph.setAlignment(Qt::AlignJustify);
    paragraph.setLeftMargin(48);
    paragraph.setTextIndent(-24);
    paragraph.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
    paragraph.setTopMargin(16);
    paragraph.setLineHeight(150, QTextBlockFormat::ProportionalHeight);
    cursor.insertBlock(paragraph);
    cursor.insertText("after the break");
    QTextBlockFormat right;
    right.setAlignment(Qt::AlignRight);
    cursor.insertBlock(right);
    cursor.insertText("right side");

    const auto document = writeAndRead(source);
    for (int level = 1; level <= 6; ++level) {
        const QString text = "heading " + QString::number(level);
        EXPECT_EQ(blockWith(*document, text).blockFormat().headingLevel(), level);
        EXPECT_EQ(formatOf(*document, text).fontWeight(), level == 3 ? QFont::Normal : QFont::Bold);
    }
    const QTextBlockFormat read = blockWith(*document, "after the break").blockFormat();
    EXPECT_EQ(read.alignment(), Qt::AlignJustify);
    EXPECT_NEAR(read.leftMargin(), 48, 0.01);
    EXPECT_NEAR(read.textIndent(), -24, 0.01);
    EXPECT_EQ(read.pageBreakPolicy(), QTextFormat::PageBreak_AlwaysBefore);
    EXPECT_NEAR(read.topMargin(), 16, 0.01);
    EXPECT_EQ(read.lineHeightType(), QTextBlockFormat::ProportionalHeight);
    EXPECT_NEAR(read.lineHeight(), 150, 0.01);
    EXPECT_EQ(blockWith(*document, "right side").blockFormat().alignment(), Qt::AlignRight);
    EXPECT_EQ(blockWith(*document, "right side").blockFormat().pageBreakPolicy(),
              QTextFormat::PageBreak_Auto);
}

TEST(OdtWriterLists, NestingLevelsStylesAndItemsComeBack) {
    QTextDocument source;
    QTextCursor cursor(&source);
    const auto list = [&](QTextListFormat::Style style, int indent) {
        QTextListFormat format;
        format.setStyle(style);
        format.setIndent(indent);
        return format;
    };
    cursor.insertText("intro");
    cursor.insertBlock(QTextBlockFormat());
    QTextList* outer = cursor.createList(list(QTextListFormat::ListUpperRoman, 1));
    cursor.insertText("roman one");
    cursor.insertBlock();
    cursor.createList(list(QTextListFormat::ListLowerAlpha, 2));
    cursor.insertText("alpha one");
    cursor.insertBlock();
    cursor.insertText("alpha two");
    cursor.insertBlock();
    cursor.createList(list(QTextListFormat::ListSquare, 4)); // skips level 3
    cursor.insertText("square deep");
    cursor.insertBlock();
    outer->add(cursor.block());
    cursor.insertText("roman two");

    const auto document = writeAndRead(source);
    const auto levelOf = [&](const char* text) {
        const QTextList* found = blockWith(*document, text).textList();
        return found ? std::pair(found->format().style(), found->format().indent())
                     : std::pair(QTextListFormat::ListStyleUndefined, 0);
    };
    EXPECT_EQ(levelOf("intro").second, 0);
    EXPECT_EQ(levelOf("roman one"), std::pair(QTextListFormat::ListUpperRoman, 1));
    EXPECT_EQ(levelOf("alpha two"), std::pair(QTextListFormat::ListLowerAlpha, 2));
    EXPECT_EQ(levelOf("square deep"), std::pair(QTextListFormat::ListSquare, 4));
    EXPECT_EQ(blockWith(*document, "roman one").textList(),
              blockWith(*document, "roman two").textList());
    EXPECT_EQ(blockWith(*document, "roman two").textList()->count(), 2);
    EXPECT_EQ(blockWith(*document, "alpha one").textList()->count(), 2);
}

TEST(OdtWriterTables, DeeplyNestedTablesAreWrittenFlatBeyondALimit) {
    QTextDocument source;
    QTextCursor cursor(&source);
    for (int depth = 0; depth < 40; ++depth) {
        QTextTable* table = cursor.insertTable(1, 2);
        table->cellAt(0, 1).firstCursorPosition().insertText("side " + QString::number(depth));
        cursor = table->cellAt(0, 0).firstCursorPosition();
    }
    cursor.insertText("innermost");
    const auto document = writeAndRead(source);
    const QString text = document->toPlainText();
    EXPECT_TRUE(text.contains("innermost"));
    EXPECT_TRUE(text.contains("side 0") && text.contains("side 39"));
}

TEST(OdtWriterLarge, TenThousandParagraphsComeBackWhole) {
    constexpr int count = 10000;
    QTextDocument source;
    QTextCursor cursor(&source);
    QTextCharFormat bold;
    bold.setFontWeight(QFont::Bold);
    for (int index = 0; index < count; ++index) {
        if (index > 0)
            cursor.insertBlock();
        cursor.insertText("Paragraph " + QString::number(index) + " with ");
        cursor.insertText("bold", bold);
        cursor.insertText(" text", QTextCharFormat());
    }
    const QByteArray odt = DocumentFormats::writeOdt(source);
    // One automatic text style shared by every bold word.
    EXPECT_EQ(partOf(odt, "content.xml").count("style:family=\"text\""), 1);

    TempFolder temp;
    const auto document = DocumentFormats::readOdt(writeBytes(temp, "large.odt", odt));
    EXPECT_EQ(document->blockCount(), count);
    EXPECT_EQ(document->lastBlock().text(), "Paragraph 9999 with bold text");
}

} // namespace
} // namespace kelvane
