#include "documents/docx/DocxBodyWriter.h"
#include "documents/docx/Ooxml.h"

#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>
#include <optional>
#include <tuple>

// Footnotes and endnotes: their marks in the text and their own parts.
namespace kelvane::Docx {

namespace ns = Ooxml::ns;

// Notes whose text the document holds; a mark without one stays a plain superscript number.
void BodyWriter::findNotes() {
    for (QTextBlock block = document_.begin(); block.isValid(); block = block.next()) {
        if (const auto note = DocumentNotes::bodyOf(block.blockFormat()))
            notesWithText_.emplace(note->kind, note->number);
    }
    for (const auto& [kind, type, target] :
         {std::tuple{DocumentNotes::Kind::footnote, &Ooxml::relationship::footnotes,
                     QStringLiteral("footnotes.xml")},
          std::tuple{DocumentNotes::Kind::endnote, &Ooxml::relationship::endnotes,
                     QStringLiteral("endnotes.xml")}}) {
        const auto first = notesWithText_.lower_bound({kind, 0});
        if (first != notesWithText_.end() && first->first == kind)
            addRelationship(*type, target, false);
    }
}

QByteArray BodyWriter::writeNotes(DocumentNotes::Kind kind) {
    const bool any = std::any_of(noteBlocks_.begin(), noteBlocks_.end(),
                                 [&](const auto& entry) { return entry.first.kind == kind; });
    if (!any)
        return {};
    const QString element = kind == DocumentNotes::Kind::footnote ? QStringLiteral("footnote")
                                                                  : QStringLiteral("endnote");
    QByteArray part;
    QXmlStreamWriter xml(&part);
    xml_ = &xml;
    writingNotes_ = true;
    startPart();
    xml.writeStartElement(ns::w, element + u's');
    for (const auto& [id, type] :
         {std::pair{"-1", "separator"}, std::pair{"0", "continuationSeparator"}}) {
        xml.writeStartElement(ns::w, element);
        xml.writeAttribute(ns::w, QStringLiteral("type"), QString::fromLatin1(type));
        xml.writeAttribute(ns::w, QStringLiteral("id"), QString::fromLatin1(id));
        xml.writeStartElement(ns::w, QStringLiteral("p"));
        xml.writeStartElement(ns::w, QStringLiteral("r"));
        writeEmpty(xml, type);
        xml.writeEndElement();
        xml.writeEndElement();
        xml.writeEndElement();
    }
    std::optional<DocumentNotes::Note> open;
    for (const auto& [note, block] : noteBlocks_) {
        if (note.kind != kind)
            continue;
        if (note != open) {
            if (open)
                xml.writeEndElement();
            xml.writeStartElement(ns::w, element);
            xml.writeAttribute(ns::w, QStringLiteral("id"), QString::number(note.number));
            open = note;
        }
        writeBlock(block);
    }
    xml.writeEndElement(); // the last note
    xml.writeEndDocument();
    writingNotes_ = false;
    xml_ = &bodyXml_;
    return part;
}

// A reference to the note in the text, or the note's own number at the start of its text.
void BodyWriter::writeNoteMark(const QTextCharFormat& format, DocumentNotes::Note note) {
    const bool footnote = note.kind == DocumentNotes::Kind::footnote;
    xml_->writeStartElement(ns::w, QStringLiteral("r"));
    writeRunProperties(format, false);
    if (writingNotes_) {
        writeEmpty(*xml_, footnote ? "footnoteRef" : "endnoteRef");
    } else {
        xml_->writeEmptyElement(ns::w, footnote ? QStringLiteral("footnoteReference")
                                                : QStringLiteral("endnoteReference"));
        xml_->writeAttribute(ns::w, QStringLiteral("id"), QString::number(note.number));
    }
    xml_->writeEndElement();
}

} // namespace kelvane::Docx
