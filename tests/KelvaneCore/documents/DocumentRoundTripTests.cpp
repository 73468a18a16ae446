#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/DocumentTools.h"
#include "fixtures/StyledDocument.h"
#include "fixtures/TempFolder.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>

#include <gtest/gtest.h>

namespace kelvane {
namespace {

using fixtures::TempFolder;

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

// The character format of the first fragment holding `word`.
std::optional<QTextCharFormat> formatOf(const QTextDocument& document, const QString& word) {
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        for (auto it = block.begin(); !it.atEnd(); ++it)
            if (it.fragment().text().contains(word))
                return it.fragment().charFormat();
    // Words inside tables sit in blocks of the table's frame, reached through find().
    const QTextCursor found = document.find(word);
    if (found.isNull())
        return std::nullopt;
    return found.charFormat();
}

QTextBlock blockWith(const QTextDocument& document, const QString& word) {
    return document.find(word).block();
}

int imageCount(const QTextDocument& document) {
    int images = 0;
    QTextCursor cursor(const_cast<QTextDocument*>(&document));
    for (int position = 0; position < document.characterCount(); ++position) {
        cursor.setPosition(position);
        cursor.setPosition(position + 1, QTextCursor::KeepAnchor);
        if (cursor.charFormat().isImageFormat() &&
            cursor.selectedText() == QString(QChar::ObjectReplacementCharacter))
            ++images;
    }
    return images;
}

QString pandocHtml(const std::filesystem::path& file, const char* format) {
    QProcess pandoc;
    pandoc.start("pandoc", {"-f", format, "-t", "html", QString::fromStdString(file.string())});
    pandoc.waitForFinished(60000);
    return QString::fromUtf8(pandoc.readAllStandardOutput());
}

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
    EXPECT_EQ(formatOf(*document, "boldword")->fontWeight(), QFont::Bold) << writer.extension;
    EXPECT_TRUE(formatOf(*document, "italicword")->fontItalic()) << writer.extension;
    EXPECT_TRUE(formatOf(*document, "underlineword")->fontUnderline()) << writer.extension;
    EXPECT_TRUE(formatOf(*document, "strikeword")->fontStrikeOut()) << writer.extension;
    EXPECT_TRUE(formatOf(*document, "serifword")
                    ->fontFamilies()
                    .toStringList()
                    .join(",")
                    .contains("Liberation Serif"))
        << writer.extension;
    EXPECT_NEAR(formatOf(*document, "serifword")->fontPointSize(), 18, 0.5) << writer.extension;
    EXPECT_EQ(formatOf(*document, "redword")->foreground().color(), QColor(200, 0, 0))
        << writer.extension;
    EXPECT_EQ(formatOf(*document, "linkword")->anchorHref(), "https://example.org/report")
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
    EXPECT_EQ(imageCount(*document), 1) << writer.extension;
}

TEST_P(RoundTrip, AnIndependentReaderSeesTheSameDocument) {
    const Writer& writer = GetParam();
    TempFolder temp;
    const auto file = temp.write(std::string("styled.") + writer.extension,
                                 writer.write(*fixtures::styledDocument()).toStdString());
    const QString html = pandocHtml(file, writer.pandocFormat);
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

} // namespace
} // namespace kelvane
