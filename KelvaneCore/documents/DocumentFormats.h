#pragma once

#include "options/ConversionOptions.h"

#include <QByteArray>
#include <QIODevice>

#include <filesystem>
#include <memory>

class QTextDocument;

// One reader per format fills a QTextDocument; one writer per format reads one. No reader
// knows any writer. Readers and writers throw std::exception (any kind) on anything they
// cannot handle; DocumentTools turns that into the user's sentence.
//
// What the document model carries, the same for every reader and writer:
// - paragraphs and line breaks (U+2028 inside a block), tabs, page breaks
//   (QTextFormat::PageBreak_AlwaysBefore on the block after the break);
// - character formats: font family, point size, bold (QFont::Bold), italic, underline,
//   strike-through, text colour (foreground), highlight (background), hyperlinks
//   (anchor + anchorHref);
// - block formats: alignment, left margin and first-line indent (CSS pixels, see Units.h),
//   heading level 1-6 (QTextBlockFormat::headingLevel, with bold and a larger size set on
//   the characters as well);
// - lists: QTextList with QTextListFormat style (ListDisc/ListCircle/ListSquare or
//   ListDecimal/ListLowerAlpha/ListUpperAlpha/ListLowerRoman/ListUpperRoman) and indent =
//   nesting level starting at 1;
// - simple tables: QTextTable, one cell per grid cell, text and character formats inside;
// - images: inserted and read through DocumentImages (original PNG/JPEG bytes kept; a
//   document read from a DOCX or ODT leaves them in the package, see PackageDocument.h).
// - list labels a QTextList cannot draw (start values, "1.2." patterns, outline numbers of
//   headings) are text at the start of the paragraph; ListNumbering counts them for every
//   reader alike;
// - footnotes and endnotes: a superscript number where the note is referred to, and the
//   notes as paragraphs after the text, each led by its number, endnotes from a new page;
//   marks and paragraphs carry the note (DocumentNotes.h) so writers make notes of them again;
// - hidden text is left out (HiddenText.h).
namespace kelvane::DocumentFormats {

// Largest source accepted by the readers of plain text, HTML and RTF; a longer document
// would go far past the page limit of a PDF anyway.
constexpr std::int64_t maxSourceBytes = 64ll << 20;

std::unique_ptr<QTextDocument> readDocx(const std::filesystem::path& file);
std::unique_ptr<QTextDocument> readOdt(const std::filesystem::path& file);
std::unique_ptr<QTextDocument> readDoc(const std::filesystem::path& file);
// `attachments` is the folder that \NeXTGraphic and similar references resolve against
// (an RTFD package), or empty for a plain RTF file.
std::unique_ptr<QTextDocument> readRtf(const QByteArray& rtf,
                                       const std::filesystem::path& attachments = {});
std::unique_ptr<QTextDocument> readRtfd(const std::filesystem::path& package);
std::unique_ptr<QTextDocument> readHtml(const std::filesystem::path& file);
std::unique_ptr<QTextDocument> readPlainText(const std::filesystem::path& file);
// The characters of a plain text file, line ends made "\n".
QString readPlainTextString(const std::filesystem::path& file);

// DOCX, RTF and ODT carry the paper they are printed on, with one-inch margins.
QByteArray writeDocx(const QTextDocument& document, PageSize paper = PageSize::letter);
QByteArray writeRtf(const QTextDocument& document, PageSize paper = PageSize::letter);
QByteArray writeOdt(const QTextDocument& document, PageSize paper = PageSize::letter);
// The same packages written into `output` as they are built, pictures stored as they are.
void writeDocx(const QTextDocument& document, PageSize paper, QIODevice& output);
void writeOdt(const QTextDocument& document, PageSize paper, QIODevice& output);
QByteArray writeHtml(const QTextDocument& document);
// HTML and RTF written into `output`, each picture's data fetched only as it is written.
void writeHtml(const QTextDocument& document, QIODevice& output);
void writeRtf(const QTextDocument& document, PageSize paper, QIODevice& output);
QByteArray writePlainText(const QTextDocument& document);

// Reads a whole source file, refusing anything larger than maxSourceBytes.
QByteArray readSource(const std::filesystem::path& file);

} // namespace kelvane::DocumentFormats
