#include "documents/DocumentFilling.h"
#include "documents/DocumentFormats.h"
#include "documents/PackageDocument.h"
#include "documents/ZipContainer.h"
#include "documents/docx/DocxBodyReader.h"

#include <QTextDocument>

#include <stdexcept>
#include <tuple>

namespace kelvane::DocumentFormats {
namespace {

std::string mainPartOf(const ZipContainer& zip) {
    for (const auto& [id, relationship] : Ooxml::readRelationships(zip, "")) {
        if (relationship.type == u"officeDocument" && zip.contains(relationship.target))
            return relationship.target;
    }
    return "word/document.xml";
}

std::string relatedPartName(const ZipContainer& zip, const Ooxml::Relationships& relationships,
                            QStringView type, std::string_view fallback) {
    for (const auto& [id, relationship] : relationships) {
        if (relationship.type == type && zip.contains(relationship.target))
            return relationship.target;
    }
    return std::string(fallback);
}

std::optional<QByteArray> relatedPart(const ZipContainer& zip,
                                      const Ooxml::Relationships& relationships, QStringView type,
                                      std::string_view fallback) {
    return zip.part(relatedPartName(zip, relationships, type, fallback));
}

} // namespace

std::unique_ptr<QTextDocument> readDocx(const std::filesystem::path& file) {
    auto document = std::make_unique<PackageDocument>(ZipContainer::open(file));
    const ZipContainer& zip = document->package();
    const std::string mainPart = mainPartOf(zip);
    const std::unique_ptr<ZipPartStream> content = zip.stream(mainPart);
    if (!content)
        throw std::runtime_error("no word/document.xml in the package");
    const Ooxml::Relationships relationships = Ooxml::readRelationships(zip, mainPart);

    Docx::Styles styles;
    if (const auto theme = relatedPart(zip, relationships, u"theme", "word/theme/theme1.xml"))
        styles.readTheme(*theme);
    if (const auto part = relatedPart(zip, relationships, u"styles", "word/styles.xml"))
        styles.read(*part);
    Docx::Numbering numbering;
    if (const auto part = relatedPart(zip, relationships, u"numbering", "word/numbering.xml"))
        numbering.read(*part);

    const DocumentFilling filling(*document);
    Docx::Notes notes;
    const auto settings = relatedPart(zip, relationships, u"settings", "word/settings.xml");
    Docx::BodyReader(*content, relationships, zip, styles, numbering, *document, notes)
        .read(settings && Docx::evenAndOddHeaders(*settings));
    content->check();
    for (const auto& [kind, type, fallback] :
         {std::tuple{Docx::NoteKind::footnote, u"footnotes", "word/footnotes.xml"},
          std::tuple{Docx::NoteKind::endnote, u"endnotes", "word/endnotes.xml"}}) {
        if (notes.of(kind).empty())
            continue;
        const std::string partName = relatedPartName(zip, relationships, type, fallback);
        const auto part = zip.stream(partName);
        if (!part)
            continue;
        Docx::BodyReader(*part, Ooxml::readRelationships(zip, partName), zip, styles, numbering,
                         *document, notes)
            .readNotes(kind);
        part->check();
    }
    return document;
}

} // namespace kelvane::DocumentFormats
