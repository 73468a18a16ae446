#pragma once

#include "catalogue/Recipe.h"
#include "options/ConversionOptions.h"

#include <QByteArray>

#include <filesystem>
#include <memory>
#include <optional>

class QFont;
class QString;
class QTextDocument;

namespace kelvane::DocumentTools {

enum class DocumentType { officeOpenXML, openDocument, word97, rtf, rtfd, html, plainText };

// The type a file is read as, from its extension alone (case-insensitive); none for an
// extension no reader claims.
std::optional<DocumentType> readType(const std::filesystem::path& url);

// The document as styled text. A file of no known type is tried with each reader in turn.
// Throws ConversionError "“Name.ext” couldn’t be read as a document." on any failure.
std::unique_ptr<QTextDocument> read(const std::filesystem::path& url);

// Converts one document for one of the six document recipes and returns the file written
// beside the input. Safe to call on a worker thread while a QGuiApplication exists.
std::filesystem::path convert(const std::filesystem::path& input, Recipe recipe,
                              const ConversionOptions& options);

// The document laid out on pages of the given size with 64-point margins, as PDF bytes.
// Sections that give their own pages keep their orientation, margins, headers and footers,
// and their size when it is neither Letter nor A4.
// Laid out a slice at a time, so that memory stays bounded however long the document, and
// layout stops at the page limit.
// JPEG and plain PNG pictures go in as the bytes they came in; other pictures lossless.
// Written through `writePdf` and read back.
QByteArray pdf(const QTextDocument& document, PageSize pageSize);

// The same PDF written to `file`, those pictures read from the document only as they are
// written. Throws std::exception when the file cannot be written.
void writePdf(const QTextDocument& document, PageSize pageSize, const std::filesystem::path& file);

// Plain text laid out like `pdf`, without a document of the whole text.
QByteArray plainTextPdf(const QString& text, const QFont& font, PageSize pageSize);

} // namespace kelvane::DocumentTools
