#include "documents/DocumentTools.h"
#include "fixtures/PdfProbe.h"
#include "fixtures/TempFolder.h"

#include <QFont>
#include <QTextCursor>
#include <QTextDocument>

#include <gtest/gtest.h>

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

TEST(DocumentPdf, LongDocumentsPaginateTheSameWayEveryTimeWithinTheMargins) {
    QString text;
    for (int line = 0; line < 14000; ++line)
        text += QStringLiteral("Line %1 of a long document that runs for many pages.\n").arg(line);
    QTextDocument document;
    document.setPlainText(text);
    QFont font("Liberation Sans");
    font.setPointSize(12);
    document.setDefaultFont(font);

    TempFolder temp;
    const auto first =
        temp.write("a.pdf", DocumentTools::pdf(document, PageSize::letter).toStdString());
    const auto second =
        temp.write("b.pdf", DocumentTools::pdf(document, PageSize::letter).toStdString());
    const PdfProbe pdf(first);
    EXPECT_GT(pdf.pageCount(), 300);
    EXPECT_EQ(PdfProbe(second).pageCount(), pdf.pageCount());
    for (int page : {1, pdf.pageCount() / 2, pdf.pageCount() - 1})
        for (const auto& [word, box] : pdf.words(page)) {
            EXPECT_GE(box.top(), 63.0) << "page " << page;
            EXPECT_LE(box.bottom(), 792 - 63.0) << "page " << page;
        }
    EXPECT_TRUE(pdf.text(pdf.pageCount() - 1).contains("Line 13999"));

    // Plain text is laid out a slice at a time: the pages come out the same, and every line
    // is on them once, in order, across the joins between slices.
    const PdfProbe sliced(temp.write(
        "c.pdf", DocumentTools::plainTextPdf(text, font, PageSize::letter).toStdString()));
    EXPECT_NEAR(sliced.pageCount(), pdf.pageCount(), pdf.pageCount() / 50);
    int expected = 0;
    for (int page = 0; page < sliced.pageCount(); ++page)
        for (const QString& line : sliced.text(page).split(u'\n', Qt::SkipEmptyParts)) {
            ASSERT_EQ(line.section(u' ', 1, 1).toInt(), expected) << "page " << page;
            ++expected;
        }
    EXPECT_EQ(expected, 14000);
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
