#include "documents/DocumentFilling.h"
#include "documents/DocumentImages.h"
#include "documents/DocumentTools.h"
#include "documents/SectionPages.h"
#include "fixtures/Bytes.h"
#include "fixtures/PdfProbe.h"
#include "fixtures/TempFolder.h"

#include <QAbstractTextDocumentLayout>
#include <QFont>
#include <QPdfWriter>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

// Qt's PDF engine reads every page's stream through a fresh 16 MB buffer. With heap
// poisoning on, AddressSanitizer marks each of those buffers, and a few hundred pages take
// minutes instead of a second; this executable alone runs without that poisoning, keeping
// every other check.
extern "C" const char* __asan_default_options() {
    return "poison_heap=0";
}

namespace kelvane {
namespace {

using fixtures::PdfProbe;
using fixtures::TempFolder;

// A long document of paragraphs, headings, a numbered list, tables of a page or more and
// pictures: enough for several slices of layout, with tables and pictures across their joins.
void fillLongDocument(QTextDocument& document, int paragraphs) {
    const DocumentFilling filling(document);
    QTextCursor cursor(&document);
    QTextBlockFormat heading;
    heading.setTopMargin(24);
    heading.setBottomMargin(12);
    QTextCharFormat large;
    large.setFontPointSize(20);
    QTextList* list = nullptr;
    for (int index = 0; index < paragraphs; ++index) {
        if (index % 97 == 0) {
            cursor.insertBlock(heading, large);
            cursor.insertText(QStringLiteral("Heading %1").arg(index));
        }
        cursor.insertBlock(QTextBlockFormat(), QTextCharFormat());
        if (index >= 1000 && index < 1600) { // one list across a join, numbered as one
            if (list == nullptr)
                list = cursor.createList(QTextListFormat::ListDecimal);
            else
                list->add(cursor.block());
        }
        cursor.insertText(QStringLiteral("Paragraph %1 of a long document, which goes on for "
                                         "a line and a little more on a letter page.")
                              .arg(index));
        if (index % 211 == 0) {
            QTextTable* table = cursor.insertTable(40, 2);
            for (int row = 0; row < 40; ++row)
                table->cellAt(row, 0).firstCursorPosition().insertText(
                    QStringLiteral("Cell %1.%2").arg(index).arg(row));
            cursor.movePosition(QTextCursor::End);
        }
        if (index % 263 == 0) {
            cursor.insertBlock(QTextBlockFormat(), QTextCharFormat());
            DocumentImages::insert(
                cursor, fixtures::pngBytes(200, 300, QColor::fromHsv(index % 360, 200, 200)));
        }
    }
}

// The page count of the document laid out whole on letter pages with 64-point margins, as a
// PDF lays it out: at 96 dpi, letters unshaped.
int pagesLaidOutWhole(const QTextDocument& source) {
    const std::unique_ptr<QTextDocument> document(source.clone());
    QFont font = document->defaultFont();
    font.setStyleStrategy(QFont::PreferNoShaping);
    document->setDefaultFont(font);
    QPdfWriter writer(QStringLiteral("/dev/null"));
    writer.setResolution(96);
    document->documentLayout()->setPaintDevice(&writer);
    document->setDocumentMargin(0);
    const auto pixels = [](double points) {
        return std::floor(points / 72 * 96 * 64) / 64;
    };
    document->setPageSize({pixels(612 - 128), pixels(792 - 128)});
    const int pages = document->pageCount();
    document->documentLayout()->setPaintDevice(nullptr);
    return pages;
}

// The lines of the PDF's text in the text area of its letter pages, page after page.
QStringList linesOf(const PdfProbe& pdf) {
    QStringList lines;
    for (int page = 0; page < pdf.pageCount(); ++page)
        lines += pdf.text(page, QRectF(0, 63, 612, 792 - 126)).split(u'\n', Qt::SkipEmptyParts);
    return lines;
}

// The number after `word` on every line that has it.
std::vector<int> numbersAfter(const QStringList& lines, const QString& word) {
    std::vector<int> numbers;
    for (const QString& line : lines)
        if (const qsizetype at = line.indexOf(word + u' '); at >= 0)
            numbers.push_back(
                line.mid(at + word.size() + 1).section(u' ', 0, 0).section(u'.', 0, 0).toInt());
    return numbers;
}

// Between the header and the footer, every page holds only what its text area shows: no line
// of the page before or after is written there, clipped out of sight but found by search, and
// no line begun in the text area hangs past its foot.
void expectNothingOutsideTheTextArea(const PdfProbe& pdf) {
    constexpr double foot = 792 - 64;
    for (int page = 0; page < pdf.pageCount(); ++page) {
        EXPECT_EQ(pdf.text(page, QRectF(0, 40, 612, 792 - 80)).toStdString(),
                  pdf.text(page, QRectF(0, 63, 612, 792 - 126)).toStdString())
            << "page " << page;
        QStringList hanging;
        for (const auto& [word, box] : pdf.words(page))
            if (box.top() < foot && box.bottom() > foot + 1)
                hanging += word;
        EXPECT_EQ(hanging.join(u' ').toStdString(), "") << "page " << page;
    }
}

std::vector<int> everyNth(int count, int step) {
    std::vector<int> numbers;
    for (int n = 0; n < count; n += step)
        numbers.push_back(n);
    return numbers;
}

TEST(DocumentPdf, LongDocumentsAreLaidOutInSlicesLosingAndRepeatingNothing) {
    QTextDocument document;
    QFont font("Liberation Sans");
    font.setPointSize(12);
    document.setDefaultFont(font);
    constexpr int paragraphs = 5000;
    fillLongDocument(document, paragraphs);
    // One section on the default pages, whose first and even pages have headers of their own.
    SectionPages::Page section({612, 792}, {64, 64, 64, 64},
                               QStringLiteral("Odd %1").arg(SectionPages::pageNumberMark));
    section.first = SectionPages::Lines{QStringLiteral("Cover"), {}};
    section.even =
        SectionPages::Lines{QStringLiteral("Even %1").arg(SectionPages::pageNumberMark), {}};
    QTextBlockFormat marked;
    SectionPages::mark(marked, section);
    QTextCursor(&document).mergeBlockFormat(marked);

    TempFolder temp;
    const QByteArray bytes = DocumentTools::pdf(document, PageSize::letter);
    const PdfProbe pdf(temp.write("long.pdf", bytes.toStdString()));
    EXPECT_GT(pdf.pageCount(), 100);
    EXPECT_EQ(pdf.pageCount(), pagesLaidOutWhole(document));
    const QStringList lines = linesOf(pdf);
    EXPECT_EQ(numbersAfter(lines, QStringLiteral("Paragraph")), everyNth(paragraphs, 1));
    EXPECT_EQ(numbersAfter(lines, QStringLiteral("Heading")), everyNth(paragraphs, 97));
    EXPECT_EQ(numbersAfter(lines, QStringLiteral("Cell")).size(), 40u * ((paragraphs + 210) / 211));
    EXPECT_EQ(bytes.count("/Subtype /Image"), (paragraphs + 262) / 263);
    // The list goes on counting across a join: paragraph n is item n - 999.
    const QRegularExpression item(QStringLiteral("(\\d+)\\.\\s+Paragraph (\\d+) "));
    int items = 0;
    for (const auto& match : item.globalMatch(lines.join(u'\n'))) {
        EXPECT_EQ(match.captured(1).toInt(), match.captured(2).toInt() - 999);
        ++items;
    }
    EXPECT_EQ(items, 600);
    expectNothingOutsideTheTextArea(pdf);
    // Only the section's first page is its first, whichever slice a page was laid out in.
    for (int page = 0; page < pdf.pageCount(); ++page) {
        const QString expected = page == 0       ? QStringLiteral("Cover")
                                 : page % 2 == 1 ? QStringLiteral("Even %1").arg(page + 1)
                                                 : QStringLiteral("Odd %1").arg(page + 1);
        EXPECT_EQ(pdf.text(page, QRectF(0, 0, 612, 40)).trimmed(), expected) << "page " << page;
    }

    // Plain text is laid out in slices of its own: every line is on the pages once, in order.
    QString text;
    for (int line = 0; line < 6000; ++line)
        text +=
            QStringLiteral("Line %1 of a long document that runs for many pages.%2\n")
                .arg(line)
                .arg(line % 5 == 0 ? QStringLiteral(" Its words wrap.").repeated(12) : QString());
    const PdfProbe plain(temp.write(
        "plain.pdf", DocumentTools::plainTextPdf(text, font, PageSize::letter).toStdString()));
    expectNothingOutsideTheTextArea(plain);
    EXPECT_EQ(numbersAfter(linesOf(plain), QStringLiteral("Line")), everyNth(6000, 1));
    QTextDocument plainDocument;
    plainDocument.setDefaultFont(font);
    plainDocument.setPlainText(text);
    EXPECT_EQ(plain.pageCount(), pagesLaidOutWhole(plainDocument));

    // A paragraph in a table cell runs across page heads as well.
    QTextDocument tabled;
    tabled.setDefaultFont(font);
    QTextCursor(&tabled).insertTable(1, 2)->cellAt(0, 0).firstCursorPosition().insertText(
        QStringLiteral("Words in a cell that runs for pages. ").repeated(300));
    const PdfProbe table(
        temp.write("table.pdf", DocumentTools::pdf(tabled, PageSize::letter).toStdString()));
    EXPECT_GT(table.pageCount(), 2);
    expectNothingOutsideTheTextArea(table);
}

TEST(DocumentPdf, PageBreaksStartNewPagesAndThePageCountIsCapped) {
    QTextDocument document;
    QTextCursor cursor(&document);
    QTextBlockFormat breakBefore;
    breakBefore.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
    cursor.insertText("one");
    cursor.insertBlock(breakBefore);
    cursor.insertText("two");
    TempFolder temp;
    const PdfProbe two(
        temp.write("two.pdf", DocumentTools::pdf(document, PageSize::a4).toStdString()));
    ASSERT_EQ(two.pageCount(), 2);
    EXPECT_TRUE(two.text(1).contains("two"));

    QTextDocument endless; // built before any layout exists, so it is laid out once
    QTextCursor end(&endless);
    for (int page = 0; page < 5100; ++page)
        end.insertBlock(breakBefore);
    const PdfProbe capped(
        temp.write("many.pdf", DocumentTools::pdf(endless, PageSize::a4).toStdString()));
    EXPECT_EQ(capped.pageCount(), 5000);

    // A text too long for the limit stops at it without laying out the rest.
    const QString lines = QStringLiteral("short line\n").repeated(400000);
    const PdfProbe cappedText(temp.write(
        "text.pdf", DocumentTools::plainTextPdf(lines, QFont(), PageSize::a4).toStdString()));
    EXPECT_EQ(cappedText.pageCount(), 5000);
}

} // namespace
} // namespace kelvane
