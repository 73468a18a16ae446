#include "documents/DocumentFormats.h"
#include "documents/ZipContainer.h"
#include "fuzz/FuzzMain.h"
#include "fuzz/XmlParts.h"

#include <QTextDocument>

namespace {

const char* const contentTypes =
    R"(<?xml version="1.0"?><Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">)"
    R"(<Default Extension="xml" ContentType="application/xml"/></Types>)";

const char* const packageRelationships =
    R"(<?xml version="1.0"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
    R"(<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="word/document.xml"/>)"
    R"(</Relationships>)";

const char* const documentRelationships =
    R"(<?xml version="1.0"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
    R"(<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles" Target="styles.xml"/>)"
    R"(<Relationship Id="rId2" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/numbering" Target="numbering.xml"/>)"
    R"(</Relationships>)";

} // namespace

// The input is word/document.xml, word/styles.xml and word/numbering.xml.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Store = kelvane::ZipBuilder::Compression;
    static kelvane::fuzz::ScratchFile scratch("docx");
    const auto parts = kelvane::fuzz::splitParts(data, size, 3);
    kelvane::ZipBuilder zip;
    zip.add("[Content_Types].xml", contentTypes, Store::store);
    zip.add("_rels/.rels", packageRelationships, Store::store);
    zip.add("word/_rels/document.xml.rels", documentRelationships, Store::store);
    zip.add("word/document.xml", parts[0], Store::store);
    zip.add("word/styles.xml", parts[1], Store::store);
    zip.add("word/numbering.xml", parts[2], Store::store);
    const QByteArray package = zip.finish();
    return kelvane::fuzz::readAsTheUserWould([&] {
        kelvane::DocumentFormats::readDocx(
            scratch.write(reinterpret_cast<const std::uint8_t*>(package.constData()),
                          static_cast<std::size_t>(package.size())));
    });
}
