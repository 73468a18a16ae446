#include "documents/DocumentFormats.h"
#include "documents/DocumentNotes.h"
#include "documents/DocumentTools.h"
#include "documents/Metafiles.h"
#include "documents/TableLines.h"
#include "documents/ZipContainer.h"
#include "fixtures/Bytes.h"
#include "fixtures/DocumentQueries.h"
#include "fixtures/DocxFixtures.h"
#include "fixtures/PdfProbe.h"
#include "fixtures/TempFolder.h"

#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextTable>
#include <QUrl>
#include <QtEndian>

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>

// Documents saved by word processors (tests/fixtures/files/documents, made by its source/make.sh)
// read back through pandoc as an independent reader.
namespace kelvane {
namespace {

using fixtures::PdfProbe;
using fixtures::TempFolder;
namespace fs = std::filesystem;
namespace docx = fixtures::docx;

const fs::path folder = fs::path(KELVANE_TEST_FILES) / "documents";

// Runs of letters, lower-cased: numbers and list labels are left to the tests of numbering.
std::set<QString> wordsOf(QString text) {
    text.remove(QRegularExpression(QStringLiteral(R"(\\[A-Za-z]+)"))); // pandoc's TeX for math
    // pandoc labels list items in text ("ii.", "B)"); a list draws its labels.
    text.remove(QRegularExpression(
        QStringLiteral(R"(^\s*\(?(?:[ivxlcdmIVXLCDM]+|[A-Za-z]|\d+(?:\.\d+)*)[.)]\s+)"),
        QRegularExpression::MultilineOption));
    // pandoc shows a picture as its alternative text in brackets; a page shows the picture.
    text.remove(QRegularExpression(QStringLiteral(R"(\[[^\]]*\])")));
    std::set<QString> words;
    static const QRegularExpression letters(QStringLiteral(R"(\p{L}+)"));
    for (auto match = letters.globalMatch(text); match.hasNext();)
        words.insert(match.next().captured().toLower());
    return words;
}

QString pandocText(const fs::path& file, const QString& format = QStringLiteral("plain")) {
    return fixtures::pandoc({QStringLiteral("-t"), format, QString::fromStdString(file.string())});
}

// A copy of the fixture to convert, so that nothing lands in the sources.
fs::path copyOf(const TempFolder& temp, const fs::path& fixture, const std::string& prefix = {}) {
    const fs::path copy = temp / (prefix + fixture.filename().string());
    fs::copy_file(fixture, copy);
    return copy;
}

struct Converted {
    QString text;
    QString pdf;
    int pages = 0;
};

// Our TXT and the text of our PDF.
Converted convert(const TempFolder& temp, const fs::path& fixture) {
    const fs::path copy = copyOf(temp, fixture);
    Converted ours;
    ours.text = QString::fromStdString(
        fixtures::readFile(DocumentTools::convert(copy, Recipe::docToTXT, {})));
    const PdfProbe pdf(DocumentTools::convert(copy, Recipe::docToPDF, {}));
    ours.pages = pdf.pageCount();
    for (int page = 0; page < ours.pages; ++page)
        ours.pdf += pdf.text(page) + u'\n';
    return ours;
}

// The pages a word processor lays out for each fixture (pages.txt, made with the fixtures).
std::map<std::string, int> referencePages() {
    std::map<std::string, int> pages;
    std::istringstream lines(fixtures::readFile(folder / "pages.txt"));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string name;
        int count = 0;
        if (line.starts_with('#') || !(fields >> name >> count))
            continue;
        pages[name] = count;
    }
    return pages;
}

// Words the fixtures hide; pandoc shows them, we must not.
const std::set<QString> hiddenWords = {"concealed", "whisper", "secret", "margin"};

TEST(DocumentFixtures, EveryWordSurvivesHiddenTextStaysHiddenAndPagesMatchAWordProcessor) {
    TempFolder temp;
    const std::map<std::string, int> pages = referencePages();
    int checked = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const fs::path fixture = entry.path();
        const auto extension = fixture.extension();
        if (extension != ".docx" && extension != ".odt" && extension != ".rtf")
            continue;
        // pandoc reads no RTF here: its words are those of the same document saved as DOCX.
        const fs::path reference =
            extension == ".rtf" ? fs::path(fixture).replace_extension(".docx") : fixture;
        std::set<QString> expected = wordsOf(pandocText(reference));
        ASSERT_GT(expected.size(), 5u) << reference;
        const Converted ours = convert(temp, fixture);
        for (const auto& [name, words] :
             {std::pair{"TXT", wordsOf(ours.text)}, std::pair{"PDF", wordsOf(ours.pdf)}}) {
            for (const QString& word : expected) {
                if (hiddenWords.contains(word))
                    continue;
                EXPECT_TRUE(words.contains(word)) << fixture.filename() << " " << name << " lost \""
                                                  << word.toStdString() << "\"";
            }
            for (const QString& word : hiddenWords)
                EXPECT_FALSE(words.contains(word)) << fixture.filename() << " " << name
                                                   << " shows \"" << word.toStdString() << "\"";
        }
        const auto theirs = pages.find(fixture.filename().string());
        ASSERT_NE(theirs, pages.end()) << fixture.filename() << " is not in pages.txt";
        EXPECT_LE(std::abs(ours.pages - theirs->second), theirs->second / 10)
            << fixture.filename() << " has " << ours.pages << " pages";
        ++checked;
    }
    EXPECT_GE(checked, 13);
}

// Text boxes, which pandoc itself drops, read where they stand; notes, equations, symbols and
// fields keep their text.
TEST(DocumentFixtures, NotesEquationsSymbolsFieldsAndTextBoxesKeepTheirText) {
    TempFolder temp;
    EXPECT_TRUE(convert(temp, folder / "notes.odt").text.contains("lighthouse keeper interview"));
    const QString notes = convert(temp, folder / "notes.docx").text;
    EXPECT_TRUE(notes.contains("lighthouse keeper interview"));
    EXPECT_TRUE(notes.contains("dawn1 and returned before noon1.")) << notes.toStdString();
    EXPECT_TRUE(notes.contains("1\tFootnote: tides were unusually gentle."));
    EXPECT_TRUE(notes.contains("1\tEndnote: logbook pages copied later."));
    const QString markup = convert(temp, folder / "word-markup.docx").text;
    EXPECT_TRUE(markup.contains("compass bearings") && markup.contains("anchor chain") &&
                markup.indexOf("compass") < markup.indexOf("Second box") &&
                markup.count("compass bearings") == 1)
        << markup.toStdString();
    EXPECT_TRUE(markup.contains(QString::fromUtf8("x²+(alpha)/(beta)=√(gamma)")));
    EXPECT_TRUE(markup.contains(QString::fromUtf8("α angle and ✓ checked")));
    EXPECT_TRUE(markup.contains("Read the nautical charts."));
    EXPECT_TRUE(markup.contains("Controlled cell rope"));

    // Its default font names a theme font for Latin text and SimSun for East Asian text.
    const auto document = DocumentTools::read(folder / "word-markup.docx");
    const QTextCursor closing = document->find("Closing");
    ASSERT_FALSE(closing.isNull());
    EXPECT_EQ(closing.charFormat().fontFamilies().toStringList(), QStringList{"Calibri"});
}

// Our DOCX, ODT and RTF keep notes as notes of their kind, each where the text refers to it.
TEST(DocumentFixtures, NotesStayNotesInOurDocxOdtAndRtf) {
    TempFolder temp;
    for (const char* name : {"notes.docx", "notes.odt", "notes.rtf"}) {
        // pandoc reads no RTF here: our reader reads it back.
        const auto rtf = DocumentTools::read(
            DocumentTools::convert(copyOf(temp, folder / name, "rtf-"), Recipe::docToRTF, {}));
        const auto noteAfter = [&](const char* text) {
            QTextCursor at = rtf->find(text);
            at.setPosition(at.selectionEnd() + 1);
            return DocumentNotes::markOf(at.charFormat());
        };
        using DocumentNotes::Kind;
        EXPECT_EQ(noteAfter("dawn"), (DocumentNotes::Note{Kind::footnote, 1})) << name;
        EXPECT_EQ(noteAfter("noon"), (DocumentNotes::Note{Kind::endnote, 1})) << name;
        EXPECT_EQ(DocumentNotes::bodyOf(rtf->find("logbook pages").block().blockFormat()),
                  (DocumentNotes::Note{Kind::endnote, 1}))
            << name;

        for (const auto& [recipe, tag] :
             {std::pair{Recipe::docToDOCX, "docx-"}, std::pair{Recipe::docToODT, "odt-"}}) {
            const fs::path copy = copyOf(temp, folder / name, tag);
            const QString markdown =
                pandocText(DocumentTools::convert(copy, recipe, {}), QStringLiteral("markdown"));
            for (const char* pattern : {R"(dawn\[\^1\] and returned before noon\[\^2\]\.)",
                                        R"(\[\^1\]:\s+Footnote: tides were unusually gentle\.)",
                                        R"(\[\^2\]:\s+Endnote: logbook pages copied later\.)"})
                EXPECT_TRUE(markdown.contains(QRegularExpression(pattern)))
                    << copy.filename() << " lacks " << pattern << "\n"
                    << markdown.toStdString();
        }
    }
}

// LibreOffice ties headings to an outline list whose numbers are "none"; lists start at 5, count
// in roman numerals and letters, and nest as "1.1.".
TEST(DocumentFixtures, NumberingShowsTheLabelsTheAuthorSet) {
    TempFolder temp;
    for (const char* name : {"numbering.docx", "numbering.odt", "numbering.rtf"}) {
        const Converted ours = convert(temp, folder / name);
        const QString pdf = ours.pdf.simplified();
        EXPECT_TRUE(pdf.startsWith("Chapter about orchards")) << pdf.toStdString();
        EXPECT_TRUE(pdf.contains("Pears ripen later in autumn. 5) Fifth item planting 6) Sixth"))
            << pdf.toStdString();
        EXPECT_TRUE(pdf.contains("ii. Roman second")) << pdf.toStdString();
        EXPECT_TRUE(pdf.contains("B. Letter second")) << pdf.toStdString();
        EXPECT_TRUE(pdf.contains("1.2. Inner ladders")) << pdf.toStdString();
        EXPECT_TRUE(pdf.contains("2. Outer storage")) << pdf.toStdString();
    }
    // Headings numbered by the outline: "1.", then "1.1." below it.
    for (const char* name : {"outline.docx", "outline.odt", "outline.rtf"}) {
        const QString pdf = convert(temp, folder / name).pdf.simplified();
        for (const char* heading : {"1. Rivers of the valley", "1.1. Upper reaches",
                                    "1.2. Lower reaches", "2. Bridges and fords"})
            EXPECT_TRUE(pdf.contains(heading)) << name << ": " << pdf.toStdString();
    }
}

bool near(QColor colour, QColor expected) {
    return std::abs(colour.red() - expected.red()) < 60 &&
           std::abs(colour.green() - expected.green()) < 60 &&
           std::abs(colour.blue() - expected.blue()) < 60;
}

// The pictures of each format, the metafiles drawn in their own colours: a blue disc under a
// yellow square (WMF), a red disc under a green kite (EMF), each told apart by its middle and
// checked at a point inside the disc, left of the middle.
TEST(DocumentFixtures, GifBmpAndMetafilePicturesReachThePdf) {
    TempFolder temp;
    const struct {
        QColor middle;
        QColor disc;
    } drawings[] = {{QColor(0xf0, 0xd0, 0x20), QColor(0x10, 0x40, 0xc0)},
                    {QColor(0x20, 0xb0, 0x40), QColor(0xd0, 0x20, 0x20)}};
    for (const char* name : {"pictures.docx", "pictures.odt", "pictures.rtf"}) {
        const fs::path pdf =
            DocumentTools::convert(copyOf(temp, folder / name), Recipe::docToPDF, {});
        const fs::path images = temp / (std::string(name) + "-images");
        fs::create_directory(images);
        QProcess pdfimages;
        pdfimages.start(QStringLiteral("pdfimages"),
                        {QStringLiteral("-png"), QString::fromStdString(pdf.string()),
                         QString::fromStdString((images / "image").string())});
        ASSERT_TRUE(pdfimages.waitForFinished(60000)) << name;
        int pictures = 0;
        std::vector<QImage> drawn;
        for (const auto& entry : fs::directory_iterator(images)) {
            const QImage image(QString::fromStdString(entry.path().string()));
            if (image.isNull() || image.allGray())
                continue; // a transparency mask
            ++pictures;
            if (image.width() > 20)
                drawn.push_back(image.convertToFormat(QImage::Format_RGB32));
        }
        EXPECT_EQ(pictures, 4) << name;
        for (const auto& [middle, disc] : drawings) {
            const auto found = std::find_if(drawn.begin(), drawn.end(), [&](const QImage& image) {
                return near(image.pixelColor(image.width() / 2, image.height() / 2), middle);
            });
            ASSERT_NE(found, drawn.end())
                << name << ": no drawing around " << middle.name().toStdString();
            const QColor side = found->pixelColor(found->width() * 15 / 100, found->height() / 2);
            EXPECT_TRUE(near(side, disc)) << name << " " << side.name().toStdString() << " where "
                                          << disc.name().toStdString() << " was drawn";
        }
    }
}

// The metafile of the fixture cut short, and with each of its words in turn made to lie:
// sizes, counts, handles, coordinates. Each shows a picture no larger than the cap, or the
// picture's alternative text, and nothing crashes or hangs.
TEST(DocumentFixtures, DamagedMetafilesShowAPictureOrTheirAlternativeText) {
    TempFolder temp;
    const auto metafile =
        ZipContainer::open(folder / "pictures.docx").part("word/media/image4.wmf");
    ASSERT_TRUE(metafile && Metafiles::isEnhancedMetafile(*metafile));
    std::vector<QByteArray> damaged;
    for (qsizetype length = 8; length < metafile->size(); length += 24)
        damaged.push_back(metafile->left(length));
    for (qsizetype offset = 4; offset < metafile->size(); offset += 4) {
        for (const quint32 lie : {0xffffffffu, 0x7fff0000u}) {
            damaged.push_back(*metafile);
            qToLittleEndian(lie, damaged.back().data() + offset);
        }
    }
    QByteArray drawing = docx::drawing("rIdKite", 720000, 720000);
    drawing.replace("name=\"Picture\"", "name=\"Picture\" descr=\"kite drawing\"");
    int shown = 0;
    for (const QByteArray& bytes : damaged) {
        const auto document = DocumentFormats::readDocx(docx::write(
            temp, "damaged.docx",
            docx::package(
                docx::documentPart("<w:p>" + drawing + "</w:p>"),
                {{"word/media/kite.emf", bytes},
                 {"word/_rels/document.xml.rels", docx::relationshipsPart(docx::relationship(
                                                      "rIdKite", "image", "media/kite.emf"))}})));
        const QTextCursor picture = document->find(QString(QChar::ObjectReplacementCharacter));
        if (picture.isNull()) {
            EXPECT_EQ(document->toPlainText(), "[kite drawing]");
            continue;
        }
        const QImage image =
            QImage::fromData(document
                                 ->resource(QTextDocument::ImageResource,
                                            QUrl(picture.charFormat().toImageFormat().name()))
                                 .toByteArray());
        EXPECT_TRUE(!image.isNull() && image.width() <= 1200 && image.height() <= 1200);
        ++shown;
    }
    EXPECT_GT(shown, 0); // most lies leave a drawable picture
}

// How many sides of the table cell holding `text` have a line: its table's grid, or its own.
long linedSides(const QTextDocument& document, const QString& text) {
    const QTextCursor at = document.find(text);
    const QTextTable* table = at.currentTable();
    if (!table || table->format().border() > 0)
        return table ? 4 : -1;
    const auto sides = TableLines::sidesOf(table->cellAt(at).format().toTableCellFormat());
    return std::count_if(sides.begin(), sides.end(),
                         [](const auto& line) { return line && line->points > 0; });
}

// A layout table without lines stays without them; a lined one keeps its lines and its merged
// heading cell. A landscape section between portrait ones starts a page of its own orientation.
// Both hold in the sources and in our DOCX, ODT and RTF of them.
TEST(DocumentFixtures, TablesKeepTheirLinesAndSectionsTheirOrientation) {
    TempFolder temp;
    std::vector<fs::path> files;
    for (const char* name : {"layout.docx", "layout.odt", "layout.rtf"})
        files.push_back(copyOf(temp, folder / name));
    for (std::size_t source : {0u, 1u}) {
        for (const auto& [recipe, prefix] :
             {std::pair{Recipe::docToDOCX, "docx-"}, std::pair{Recipe::docToODT, "odt-"},
              std::pair{Recipe::docToRTF, "rtf-"}})
            files.push_back(
                DocumentTools::convert(copyOf(temp, files[source], prefix), recipe, {}));
    }
    for (const fs::path& file : files) {
        const auto document = DocumentTools::read(file);
        const QTextCursor merged = document->find("Merged");
        QTextTable* lined = merged.currentTable();
        ASSERT_TRUE(lined) << file;
        EXPECT_EQ(linedSides(*document, "meadow"), 0) << file;
        EXPECT_EQ(linedSides(*document, "Merged"), 4) << file;
        EXPECT_EQ(lined->cellAt(merged).columnSpan(), 2) << file;
        EXPECT_EQ(lined->columns(), 2) << file;
        const PdfProbe pdf(DocumentTools::convert(file, Recipe::docToPDF, {}));
        ASSERT_EQ(pdf.pageCount(), 3) << file;
        for (int page = 0; page < 3; ++page) {
            const QSizeF size = pdf.pageSize(page);
            EXPECT_EQ(size.width() > size.height(), page == 1) << file << " page " << page;
            EXPECT_NEAR(std::max(size.width(), size.height()), 792, 0.5) << file; // Letter
        }
        EXPECT_TRUE(pdf.text(1).startsWith("Landscape page")) << file;
        EXPECT_TRUE(pdf.text(2).startsWith("Portrait again")) << file;
    }
}

// The lines pdftotext finds on one page of a PDF, top to bottom.
QStringList pageLines(const fs::path& pdf, int page) {
    QProcess pdftotext;
    pdftotext.start(QStringLiteral("pdftotext"),
                    {QStringLiteral("-f"), QString::number(page), QStringLiteral("-l"),
                     QString::number(page), QString::fromStdString(pdf.string()),
                     QStringLiteral("-")});
    EXPECT_TRUE(pdftotext.waitForFinished(60000)) << pdf;
    QStringList lines =
        QString::fromUtf8(pdftotext.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
    for (QString& line : lines)
        line = line.trimmed();
    lines.removeAll(QString());
    return lines;
}

// The first page of each section and even pages have headers and footers of their own; page
// numbers restart in the second section, which keeps the first section's even header. So in the
// word processor's ODT of the document, and in our DOCX, ODT and RTF of it.
TEST(DocumentFixtures, HeadersAndFootersFollowFirstAndEvenPages) {
    TempFolder temp;
    const std::vector<std::pair<QString, QString>> expected = {
        {"Cover header", "Cover footer"},
        {"Even header page 2", "Beta page of the harbour survey."},
        {"Odd header page 3", "Survey footer"},
        {"Even header page 4", "Delta page of the harbour survey."},
        {"Appendix opening header", "Cover footer"},
        {"Even header page 2", "Zeta page of the harbour survey."}};
    const fs::path source = copyOf(temp, folder / "headers.docx");
    for (const fs::path& file : {source, copyOf(temp, folder / "headers.odt"),
                                 DocumentTools::convert(source, Recipe::docToDOCX, {}),
                                 DocumentTools::convert(source, Recipe::docToODT, {}),
                                 DocumentTools::convert(source, Recipe::docToRTF, {})}) {
        const fs::path pdf = DocumentTools::convert(file, Recipe::docToPDF, {});
        ASSERT_EQ(PdfProbe(pdf).pageCount(), 6) << file;
        for (int page = 1; page <= 6; ++page) {
            const QStringList lines = pageLines(pdf, page);
            ASSERT_GE(lines.size(), 2) << file << " page " << page;
            const auto& [header, last] = expected[static_cast<std::size_t>(page - 1)];
            EXPECT_EQ(lines.first(), header) << file << " page " << page;
            EXPECT_EQ(lines.last(), last) << file << " page " << page;
        }
    }
}

} // namespace
} // namespace kelvane
