#include "documents/DocumentTools.h"

#include "catalogue/FileKind.h"
#include "catalogue/TypeTable.h"
#include "documents/DocumentFormats.h"
#include "documents/DrawingPreparation.h"
#include "naming/ConversionError.h"
#include "naming/OutputNaming.h"
#include "naming/PendingOutput.h"

#include <QFile>
#include <QFont>
#include <QTextDocument>

#include <stdexcept>

namespace kelvane::DocumentTools {
namespace {

using Reader = std::unique_ptr<QTextDocument> (*)(const std::filesystem::path&);

std::unique_ptr<QTextDocument> readRtfFile(const std::filesystem::path& file) {
    return DocumentFormats::readRtf(DocumentFormats::readSource(file));
}

Reader readerFor(DocumentType type) {
    switch (type) {
    case DocumentType::officeOpenXML:
        return DocumentFormats::readDocx;
    case DocumentType::openDocument:
        return DocumentFormats::readOdt;
    case DocumentType::word97:
        return DocumentFormats::readDoc;
    case DocumentType::rtf:
        return readRtfFile;
    case DocumentType::rtfd:
        return DocumentFormats::readRtfd;
    case DocumentType::html:
        return DocumentFormats::readHtml;
    case DocumentType::plainText:
        break;
    }
    return DocumentFormats::readPlainText;
}

// A file of no known type: try the formats that identify themselves by their contents.
std::unique_ptr<QTextDocument> readGuessingType(const std::filesystem::path& file) {
    for (Reader reader : {DocumentFormats::readDocx, DocumentFormats::readOdt, readRtfFile}) {
        try {
            return reader(file);
        } catch (const std::exception&) {
        }
    }
    throw std::runtime_error("unknown document format");
}

// What text without a font of its own is shown in, as a word processor would start.
QFont startingFont() {
    QFont font;
    font.setFamilies({QStringLiteral("Helvetica"), QStringLiteral("Liberation Sans"),
                      QStringLiteral("DejaVu Sans")});
    font.setPointSizeF(12);
    return font;
}

// Plain text goes to PDF without a document of the whole text: a long file is laid out a
// slice at a time.
QByteArray plainTextToPdf(const std::filesystem::path& input, const ConversionOptions& options) {
    QString text;
    try {
        text = DocumentFormats::readPlainTextString(input);
    } catch (const std::exception&) {
        throw ConversionError::unreadableDocument(input.filename().string());
    }
    return plainTextPdf(text, startingFont(), options.pdfPageSize);
}

// A PDF, DOCX, ODT, HTML or RTF result can be larger than memory should hold: it is written
// straight into the result file.
template <typename Write>
std::filesystem::path publishWritten(const std::filesystem::path& input, const std::string& ext,
                                     const Write& write) {
    const std::filesystem::path folder = input.parent_path();
    PendingOutput pending = PendingOutput::file(folder.empty() ? "." : folder, ext);
    try {
        write(pending.path());
    } catch (const std::exception&) {
        throw ConversionError::couldNotWrite(ext);
    }
    return pending.publish([&] { return OutputNaming::url(input, ext); });
}

bool carriesPictures(Recipe recipe) {
    return recipe == Recipe::docToDOCX || recipe == Recipe::docToODT ||
           recipe == Recipe::docToHTML || recipe == Recipe::docToRTF;
}

void writeCarryingPictures(const QTextDocument& document, Recipe recipe, PageSize paper,
                           const std::filesystem::path& file) {
    QFile output(QString::fromStdString(file.string()));
    if (!output.open(QIODevice::WriteOnly))
        throw std::runtime_error("the result cannot be written");
    if (recipe == Recipe::docToDOCX)
        DocumentFormats::writeDocx(document, paper, output);
    else if (recipe == Recipe::docToODT)
        DocumentFormats::writeOdt(document, paper, output);
    else if (recipe == Recipe::docToHTML)
        DocumentFormats::writeHtml(document, output);
    else
        DocumentFormats::writeRtf(document, paper, output);
    if (!output.flush())
        throw std::runtime_error("the result could not be written whole");
}

} // namespace

std::optional<DocumentType> readType(const std::filesystem::path& url) {
    const std::string extension = lowercaseExtension(url);
    if (extension == "docx")
        return DocumentType::officeOpenXML;
    if (extension == "odt")
        return DocumentType::openDocument;
    if (extension == "doc")
        return DocumentType::word97;
    if (extension == "rtf")
        return DocumentType::rtf;
    if (extension == "rtfd")
        return DocumentType::rtfd;
    if (extension == "html" || extension == "htm")
        return DocumentType::html;
    if (extension == "txt" || extension == "text" || extension == "md")
        return DocumentType::plainText;
    // Everything else the catalogue files under text (CSV, JSON, logs, XML, source code) is
    // offered the document recipes too, and reads as the characters it holds.
    const auto declared = TypeTable::typeFor(extension);
    if (!declared || !TypeTable::conforms(*declared, "public.text"))
        return std::nullopt;
    if (TypeTable::conforms(*declared, "public.html"))
        return DocumentType::html;
    if (TypeTable::conforms(*declared, "public.rtf"))
        return DocumentType::rtf;
    return DocumentType::plainText;
}

std::unique_ptr<QTextDocument> read(const std::filesystem::path& url) {
    try {
        const auto type = readType(url);
        auto document = type ? readerFor(*type)(url) : readGuessingType(url);
        if (document->defaultFont() == QFont())
            document->setDefaultFont(startingFont());
        return document;
    } catch (const std::exception&) {
        throw ConversionError::unreadableDocument(url.filename().string());
    }
}

std::filesystem::path convert(const std::filesystem::path& input, Recipe recipe,
                              const ConversionOptions& options) {
    const bool plainText = readType(input) == DocumentType::plainText;
    std::optional<DrawingPreparation> preparation;
    if (recipe == Recipe::docToPDF)
        preparation.emplace(!plainText);
    QByteArray bytes;
    std::string ext;
    if (recipe == Recipe::docToPDF && plainText) {
        ext = "pdf";
        bytes = plainTextToPdf(input, options);
    } else {
        const auto document = read(input);
        if (preparation)
            preparation->inputRead();
        const auto extension = recipe.outputExtension();
        if (!extension)
            throw ConversionError::unsupportedRecipe();
        ext = std::string(*extension);
        if (recipe == Recipe::docToPDF)
            return publishWritten(input, ext, [&](const std::filesystem::path& file) {
                writePdf(*document, options.pdfPageSize, file);
            });
        if (carriesPictures(recipe))
            return publishWritten(input, ext, [&](const std::filesystem::path& file) {
                writeCarryingPictures(*document, recipe, options.pdfPageSize, file);
            });
        try {
            // Plain text holds no pictures: it is built in memory.
            bytes = DocumentFormats::writePlainText(*document);
        } catch (const std::exception&) {
            throw ConversionError::couldNotWrite(ext);
        }
    }
    return publishBytes(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())),
                        input.parent_path(), ext, [&] { return OutputNaming::url(input, ext); });
}

} // namespace kelvane::DocumentTools
