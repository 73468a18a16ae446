#include "documents/DocumentImages.h"
#include "documents/Units.h"
#include "documents/docx/DocxBodyWriter.h"
#include "documents/docx/DocxPictures.h"
#include "documents/docx/Ooxml.h"

#include <QTextDocument>
#include <QTextFragment>

#include <cmath>

// Runs of the body writer: text, character formats, links and pictures.
namespace kelvane::Docx {
namespace {

namespace ns = Ooxml::ns;

const QString xmlNamespace = QStringLiteral("http://www.w3.org/XML/1998/namespace");

QString fontFamilyOf(const QTextCharFormat& format) {
    const QStringList families = format.fontFamilies().toStringList();
    return Docx::xmlSafe(families.isEmpty() ? format.stringProperty(QTextFormat::FontFamily)
                                            : families.first());
}

} // namespace

QString hexOf(const QColor& colour) {
    return colour.name(QColor::HexRgb).mid(1).toUpper();
}

void BodyWriter::writeFragment(const QTextFragment& fragment, bool heading) {
    const QTextCharFormat format = fragment.charFormat();
    const QString text = fragment.text();
    if (const auto note = DocumentNotes::markOf(format);
        note && notesWithText_.contains({note->kind, note->number}))
        return writeNoteMark(format, *note);
    if (format.isImageFormat()) {
        for (const QChar c : text) {
            if (c == QChar::ObjectReplacementCharacter)
                writeImage(format.toImageFormat());
        }
        return;
    }
    xml_->writeStartElement(ns::w, QStringLiteral("r"));
    writeRunProperties(format, heading);
    qsizetype start = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        const QChar c = i < text.size() ? text[i] : QChar();
        const bool lineBreak =
            c == QChar::LineSeparator || c == u'\n' || c == u'\r' || c == QChar::ParagraphSeparator;
        if (i < text.size() && c != u'\t' && !lineBreak)
            continue;
        writeText(text.mid(start, i - start));
        if (c == u'\t')
            writeEmpty(*xml_, "tab");
        else if (lineBreak)
            writeEmpty(*xml_, "br");
        start = i + 1;
    }
    xml_->writeEndElement();
}

void BodyWriter::writeText(const QString& text) {
    QString safe = Docx::xmlSafe(text);
    safe.remove(QChar::ObjectReplacementCharacter);
    if (safe.isEmpty())
        return;
    xml_->writeStartElement(ns::w, QStringLiteral("t"));
    if (safe.front().isSpace() || safe.back().isSpace() || safe.contains(u"  "))
        xml_->writeAttribute(xmlNamespace, QStringLiteral("space"), QStringLiteral("preserve"));
    xml_->writeCharacters(safe);
    xml_->writeEndElement();
}

// A heading's style is bold: a heading that is not says so on its runs.
void BodyWriter::writeRunProperties(const QTextCharFormat& format, bool heading) {
    xml_->writeStartElement(ns::w, QStringLiteral("rPr"));
    if (const QString family = fontFamilyOf(format); !family.isEmpty())
        writeEmpty(*xml_, "rFonts",
                   {{"ascii", family}, {"hAnsi", family}, {"cs", family}, {"eastAsia", family}});
    if (format.fontWeight() >= QFont::DemiBold)
        writeEmpty(*xml_, "b");
    else if (heading)
        writeEmpty(*xml_, "b", {{"val", QStringLiteral("0")}});
    if (format.fontItalic())
        writeEmpty(*xml_, "i");
    if (format.fontStrikeOut())
        writeEmpty(*xml_, "strike");
    if (format.foreground().style() != Qt::NoBrush)
        writeEmpty(*xml_, "color", {{"val", hexOf(format.foreground().color())}});
    if (const double size = format.fontPointSize(); size > 0)
        writeEmpty(*xml_, "sz",
                   {{"val", QString::number(std::lround(Units::halfPointsFromPoints(size)))}});
    const auto underline = format.underlineStyle();
    if (underline != QTextCharFormat::NoUnderline &&
        underline != QTextCharFormat::SpellCheckUnderline)
        writeEmpty(*xml_, "u", {{"val", QStringLiteral("single")}});
    if (format.background().style() != Qt::NoBrush)
        writeEmpty(*xml_, "shd",
                   {{"val", QStringLiteral("clear")},
                    {"color", QStringLiteral("auto")},
                    {"fill", hexOf(format.background().color())}});
    if (format.verticalAlignment() == QTextCharFormat::AlignSuperScript)
        writeEmpty(*xml_, "vertAlign", {{"val", QStringLiteral("superscript")}});
    else if (format.verticalAlignment() == QTextCharFormat::AlignSubScript)
        writeEmpty(*xml_, "vertAlign", {{"val", QStringLiteral("subscript")}});
    xml_->writeEndElement();
}

void BodyWriter::startLink(const QString& href) {
    xml_->writeStartElement(ns::w, QStringLiteral("hyperlink"));
    if (href.startsWith(u'#')) {
        xml_->writeAttribute(ns::w, QStringLiteral("anchor"), Docx::xmlSafe(href.mid(1)));
        return;
    }
    QString& id = linkIds_[href];
    if (id.isEmpty())
        id = addRelationship(Ooxml::relationship::hyperlink, href, true);
    xml_->writeAttribute(ns::r, QStringLiteral("id"), id);
}

void BodyWriter::writeImage(const QTextImageFormat& format) {
    const DocumentImages::EncodedImage image = DocumentImages::encoded(document_, format);
    const auto cx = std::lround(Units::emuFromPoints(image.sizeInPoints.width()));
    const auto cy = std::lround(Units::emuFromPoints(image.sizeInPoints.height()));
    if (image.bytes.isEmpty() || cx <= 0 || cy <= 0)
        return;
    QString& id = imageIds_[format.name()];
    if (id.isEmpty()) {
        const QString fileName =
            QStringLiteral("image%1.%2").arg(media.size() + 1).arg(image.format);
        media.push_back({"word/media/" + fileName.toStdString(), format});
        id =
            addRelationship(Ooxml::relationship::image, QStringLiteral("media/") + fileName, false);
    }
    writeInlinePicture(*xml_, {id, ++drawings_, cx, cy});
}

} // namespace kelvane::Docx
