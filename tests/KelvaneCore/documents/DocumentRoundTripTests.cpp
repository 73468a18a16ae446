#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/DocumentTools.h"
#include "fixtures/DocumentQueries.h"
#include "fixtures/StyledDocument.h"
#include "fixtures/TempFolder.h"

#include <QImage>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>

#include <gtest/gtest.h>

namespace kelvane {
namespace {

using fixtures::formatOf;
using fixtures::TempFolder;

QTextBlock blockWith(const QTextDocument& document, const QString& word) {
    return fixtures::blockOf(document, word);
}

struct Writer {
    const char* extension;
    const char* pandocFormat;
    QByteArray (*write)(const QTextDocument&);
};

const Writer writers[] = {
    {"docx", "docx",
     [](const QTextDocument& document) {
         return DocumentFormats::writeDocx(document);
     }},
    {"rtf", "rtf",
     [](const QTextDocument& document) {
         return DocumentFormats::writeRtf(document);
     }},
    {"odt", "odt",
     [](const QTextDocument& document) {
         return DocumentFormats::writeOdt(document);
     }},
    {"html", "html", DocumentFormats::writeHtml},
};

class RoundTrip : public testing::TestWithParam<Writer> {};

TEST_P(RoundTrip, OurReaderGetsBackWhatOurWriterWrote) {
    const Writer& writer = GetParam();
    TempFolder temp;
    const auto source = fixtures::styledDocument();
    source->find("cellB2").currentTable()->appendRows(5); // readers add rows ahead of need
    const auto file =
        temp.write(std::string("styled.") + writer.extension, writer.write(*source).toStdString());
    const auto document = DocumentTools::read(file);
    const QString text = document->toPlainText();
    for (const char* word : {"Annual Report", "boldword", "bulletone", "nestedbullet", "numbertwo",
                             "cellB2", "linkword", "centredline"})
        EXPECT_TRUE(text.contains(word)) << writer.extension << ": " << word;

    EXPECT_EQ(blockWith(*document, "Annual Report").blockFormat().headingLevel(), 1)
        << writer.extension;
    EXPECT_EQ(formatOf(*document, "boldword").fontWeight(), QFont::Bold) << writer.extension;
    EXPECT_TRUE(formatOf(*document, "italicword").fontItalic()) << writer.extension;
    EXPECT_TRUE(formatOf(*document, "underlineword").fontUnderline()) << writer.extension;
    EXPECT_TRUE(formatOf(*document, "strikeword").fontStrikeOut()) << writer.extension;
    EXPECT_TRUE(formatOf(*document, "serifword")
                    .fontFamilies()
                    .toStringList()
                    .join(",")
                    .contains("Liberation Serif"))
        << writer.extension;
    EXPECT_NEAR(formatOf(*document, "serifword").fontPointSize(), 18, 0.5) << writer.extension;
    EXPECT_EQ(formatOf(*document, "redword").foreground().color(), QColor(200, 0, 0))
        << writer.extension;
    EXPECT_EQ(formatOf(*document, "linkword").anchorHref(), "https://example.org/report")
        << writer.extension;
    EXPECT_TRUE(blockWith(*document, "centredline").blockFormat().alignment() & Qt::AlignHCenter)
        << writer.extension;

    const QTextList* bullets = blockWith(*document, "bulletone").textList();
    const QTextList* nested = blockWith(*document, "nestedbullet").textList();
    const QTextList* numbers = blockWith(*document, "numbertwo").textList();
    ASSERT_TRUE(bullets && nested && numbers) << writer.extension;
    EXPECT_LT(bullets->format().style(), QTextListFormat::ListDisc + 1) << writer.extension;
    EXPECT_GT(nested->format().indent(), bullets->format().indent()) << writer.extension;
    EXPECT_EQ(numbers->format().style(), QTextListFormat::ListDecimal) << writer.extension;
    EXPECT_EQ(numbers->count(), 2) << writer.extension;

    QTextCursor inTable = document->find("cellB2");
    ASSERT_TRUE(inTable.currentTable()) << writer.extension;
    EXPECT_EQ(inTable.currentTable()->rows(), 7) << writer.extension;
    EXPECT_EQ(inTable.currentTable()->columns(), 2) << writer.extension;
    EXPECT_EQ(fixtures::imagesOf(*document).size(), 1u) << writer.extension;
}

TEST_P(RoundTrip, AnIndependentReaderSeesTheSameDocument) {
    const Writer& writer = GetParam();
    TempFolder temp;
    const auto file = temp.write(std::string("styled.") + writer.extension,
                                 writer.write(*fixtures::styledDocument()).toStdString());
    const QString html = fixtures::pandoc(
        {"-f", writer.pandocFormat, "-t", "html", QString::fromStdString(file.string())});
    ASSERT_FALSE(html.isEmpty()) << writer.extension;
    // Bold and italic may come back as <strong>/<em> or, from HTML, as the styles a
    // browser applies; either shows the reader kept them.
    const auto has = [&](const QString& pattern) {
        return html.contains(QRegularExpression(pattern));
    };
    EXPECT_TRUE(has("<h1[^>]*>(<strong>|<span[^>]*>)?Annual Report")) << writer.extension;
    EXPECT_TRUE(has("<strong>boldword\\s*</strong>|font-weight:700;\">boldword"))
        << writer.extension;
    EXPECT_TRUE(has("<em>italicword\\s*</em>|font-style:italic;\">italicword")) << writer.extension;
    EXPECT_TRUE(html.contains(QRegularExpression("<ul>\\s*<li>(<p>)?bulletone")))
        << writer.extension;
    EXPECT_TRUE(html.contains(QRegularExpression("<ul>\\s*<li>(<p>)?nestedbullet")))
        << writer.extension;
    EXPECT_TRUE(html.contains(QRegularExpression("<ol[^>]*>\\s*<li>(<p>)?numberone")))
        << writer.extension;
    EXPECT_TRUE(html.contains(QRegularExpression("<td[^>]*>(<p>)?cellB2"))) << writer.extension;
    // pandoc's RTF reader keeps a list open across an empty paragraph and pours it into a
    // table that follows; office suites place it before the table, as written.
    if (std::string_view(writer.extension) != "rtf") {
        EXPECT_LT(html.indexOf("numbertwo"), html.indexOf("<table"))
            << writer.extension << ": the list ran into the table";
    }
    EXPECT_TRUE(html.contains("href=\"https://example.org/report\"")) << writer.extension;
    EXPECT_TRUE(html.contains("<img")) << writer.extension;
}

INSTANTIATE_TEST_SUITE_P(EveryWriter, RoundTrip, testing::ValuesIn(writers),
                         [](const auto& param) { return std::string(param.param.extension); });

TEST(RoundTrip, PlainTextKeepsTheWordsInOrder) {
    const QString text =
        QString::fromUtf8(DocumentFormats::writePlainText(*fixtures::styledDocument()));
    const QStringList order = {"Annual Report", "boldword",  "linkword", "centredline", "bulletone",
                               "nestedbullet",  "numberone", "cellA1",   "cellB2"};
    qsizetype last = -1;
    for (const QString& word : order) {
        const qsizetype at = text.indexOf(word);
        EXPECT_GT(at, last) << word.toStdString();
        last = at;
    }
    EXPECT_FALSE(text.contains(QChar::ObjectReplacementCharacter));
}

// Documents pandoc writes from one text, read by our DOCX, ODT and RTF readers.
TEST(RoundTrip, OurReadersReadWhatPandocWrites) {
    ASSERT_TRUE(fixtures::hasPandoc()) << "pandoc is installed by scripts/install-deps.sh";
    TempFolder temp;
    fixtures::writeBytes(temp, "pic.png", fixtures::pngBytes(5, 5, Qt::green));
    temp.write("in.md", "# Heading One\n\nSome **bold** and *italic* and "
                        "[link](https://example.org/) text.\n\n## Sub\n\n- a\n- b\n"
                        "    1. inner\n    2. inner2\n\n| A | B |\n|---|---|\n| 1 | 2 |\n\n"
                        "![cap](pic.png){width=2in}\n\nCaf\xc3\xa9 \xe2\x80\x94 done[^1]\n\n"
                        "[^1]: note text\n");
    for (const QString format : {"docx", "odt", "rtf"}) {
        SCOPED_TRACE(format.toStdString());
        const QString name = "out." + format;
        fixtures::pandoc({"-s", "-f", "markdown", "-t", format, "-o", name, "in.md"}, temp.path());
        const auto document = DocumentTools::read(temp / name.toStdString());
        EXPECT_EQ(blockWith(*document, "Heading One").blockFormat().headingLevel(), 1);
        EXPECT_EQ(blockWith(*document, "Sub").blockFormat().headingLevel(), 2);
        EXPECT_EQ(formatOf(*document, "bold").fontWeight(), QFont::Bold);
        EXPECT_TRUE(formatOf(*document, "italic").fontItalic());
        EXPECT_EQ(formatOf(*document, "link").anchorHref(), "https://example.org/");
        QTextList* bullets = fixtures::listOf(*document, "a");
        QTextList* inner = fixtures::listOf(*document, "inner");
        ASSERT_TRUE(bullets && inner);
        EXPECT_EQ(fixtures::listOf(*document, "b"), bullets);
        EXPECT_EQ(fixtures::listOf(*document, "inner2"), inner);
        EXPECT_EQ(inner->format().style(), QTextListFormat::ListDecimal);
        EXPECT_EQ(bullets->format().indent(), 1);
        EXPECT_EQ(inner->format().indent(), 2);
        QTextTable* table = fixtures::tableOf(*document, "B");
        ASSERT_TRUE(table);
        EXPECT_EQ(table->rows(), 2);
        EXPECT_EQ(table->columns(), 2);
        EXPECT_EQ(fixtures::cellText(*table, 1, 0), "1");
        EXPECT_EQ(fixtures::cellText(*table, 1, 1), "2");
        const auto pictures = fixtures::picturesOf(*document);
        ASSERT_EQ(pictures.size(), 1u);
        EXPECT_EQ(QImage::fromData(pictures.front()).pixelColor(2, 2), QColor(Qt::green));
        EXPECT_TRUE(blockWith(*document, "done")
                        .text()
                        .startsWith(QString::fromUtf8("Caf\xc3\xa9 \xe2\x80\x94 done")));
        EXPECT_TRUE(document->lastBlock().text().contains("note text"));
    }
}

} // namespace
} // namespace kelvane
