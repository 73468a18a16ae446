#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/WrittenBytes.h"
#include "documents/ZipContainer.h"
#include "documents/docx/DocxBodyWriter.h"
#include "documents/docx/Ooxml.h"

#include <QTextDocument>

namespace kelvane::Docx {

namespace ns = Ooxml::ns;

QByteArray BodyWriter::write() {
    relationships = {
        {QStringLiteral("rId1"), Ooxml::relationship::styles, QStringLiteral("styles.xml"), false},
        {QStringLiteral("rId2"), Ooxml::relationship::numbering, QStringLiteral("numbering.xml"),
         false}};
    findNotes();
    startPart();
    xml_->writeStartElement(ns::w, QStringLiteral("document"));
    xml_->writeStartElement(ns::w, QStringLiteral("body"));
    writeSections();
    xml_->writeEndDocument();
    if (evenPagesApart)
        addRelationship(Ooxml::relationship::settings, QStringLiteral("settings.xml"), false);
    return output_;
}

void BodyWriter::startPart() {
    xml_->writeStartDocument(QStringLiteral("1.0"), true);
    xml_->writeNamespace(ns::w, QStringLiteral("w"));
    xml_->writeNamespace(ns::r, QStringLiteral("r"));
    xml_->writeNamespace(ns::wp, QStringLiteral("wp"));
    xml_->writeNamespace(ns::a, QStringLiteral("a"));
    xml_->writeNamespace(ns::pic, QStringLiteral("pic"));
}

QString BodyWriter::addRelationship(const QString& type, const QString& target, bool external) {
    const QString id = QStringLiteral("rId%1").arg(relationships.size() + 1);
    relationships.push_back({id, type, target, external});
    return id;
}

} // namespace kelvane::Docx

namespace kelvane::DocumentFormats {

using Docx::BodyWriter;
using Docx::Media;

QByteArray writeDocx(const QTextDocument& document, PageSize paper) {
    return writtenBytes([&](QIODevice& output) { writeDocx(document, paper, output); });
}

void writeDocx(const QTextDocument& document, PageSize paper, QIODevice& output) {
    BodyWriter body(document, paper);
    const QByteArray content = body.write();
    std::vector<std::pair<QString, QByteArray>> notes;
    for (const auto& [kind, name] :
         {std::pair{DocumentNotes::Kind::footnote, QStringLiteral("footnotes")},
          std::pair{DocumentNotes::Kind::endnote, QStringLiteral("endnotes")}}) {
        if (QByteArray part = body.writeNotes(kind); !part.isEmpty())
            notes.emplace_back(name, std::move(part));
    }
    QStringList parts; // beside the document, styles and numbering
    for (const auto& [name, part] : notes)
        parts << name;
    for (const auto& [name, part] : body.marginParts)
        parts << name;
    if (body.evenPagesApart)
        parts << QStringLiteral("settings");
    // Notes refer to pictures and links by the ids of the body, so they share its relationships.
    const QByteArray relationships = Docx::relationshipsPart(body.relationships);
    ZipBuilder zip(output);
    zip.add("[Content_Types].xml", Docx::contentTypesPart(parts));
    zip.add("_rels/.rels", Docx::packageRelationshipsPart());
    zip.add("word/document.xml", content);
    zip.add("word/_rels/document.xml.rels", relationships);
    for (const auto& [name, part] : notes) {
        zip.add("word/" + name.toStdString() + ".xml", part);
        zip.add("word/_rels/" + name.toStdString() + ".xml.rels", relationships);
    }
    for (const auto& [name, part] : body.marginParts)
        zip.add("word/" + name.toStdString() + ".xml", part);
    if (body.evenPagesApart)
        zip.add("word/settings.xml", Docx::settingsPart());
    zip.add("word/styles.xml", Docx::stylesPart(document.defaultFont()));
    zip.add("word/numbering.xml", Docx::numberingPart(body.lists));
    for (const Media& image : body.media)
        zip.add(image.part, DocumentImages::encoded(document, image.image).bytes,
                ZipBuilder::Compression::store); // PNG and JPEG are compressed already
    zip.finish();
}

} // namespace kelvane::DocumentFormats
