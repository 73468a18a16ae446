#include "documents/DocumentImages.h"
#include "documents/SymbolFonts.h"
#include "documents/ZipContainer.h"
#include "documents/docx/DocxBodyReader.h"
#include "documents/docx/Omml.h"

#include <stdexcept>
#include <utility>

// Runs of the body reader: their text, symbols, pictures and text boxes.
namespace kelvane::Docx {
namespace {

using Ooxml::isW;
using Ooxml::nextChild;
using Ooxml::rAttribute;
using Ooxml::wAttribute;
namespace ns = Ooxml::ns;

constexpr double maxImagePoints = 14400; // 200 inches

// Line ends inside w:t are white space to a word processor, while QTextCursor would start
// new paragraphs at them or take U+FFFC for an embedded object.
QString runText(QString text) {
    for (QChar& c : text) {
        if (c == u'\n' || c == u'\r')
            c = u' ';
        else if (c == QChar::ParagraphSeparator)
            c = QChar::LineSeparator;
        else if (c == QChar::ObjectReplacementCharacter)
            c = QChar::ReplacementCharacter;
    }
    return text;
}

const QString mathNamespace =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/math");

} // namespace

void BodyReader::readInline(int depth, const QTextCharFormat& format) {
    checkDepth(depth);
    if (isW(xml_, u"r")) {
        QTextCharFormat run = format;
        readRun(depth + 1, run);
    } else if (isW(xml_, u"hyperlink")) {
        readHyperlink(depth + 1, format);
    } else if (xml_.namespaceUri() == mathNamespace &&
               (xml_.name() == u"oMath" || xml_.name() == u"oMathPara")) {
        write(linearMath(xml_), format);
    } else if (isW(xml_, u"fldSimple")) {
        QTextCharFormat result = format;
        if (const QString href = hyperlinkOf(wAttribute(xml_, u"instr")); !href.isEmpty())
            setLink(result, href);
        while (nextChild(xml_))
            readInline(depth + 1, result);
    } else if (isSkipped(xml_)) {
        xml_.skipCurrentElement();
    } else {
        // smart tags, content controls, simple fields, insertions: their runs are text
        while (nextChild(xml_))
            readInline(depth + 1, format);
    }
}

void BodyReader::readHyperlink(int depth, QTextCharFormat format) {
    QString href;
    const auto relationship = relationships_.find(rAttribute(xml_, u"id"));
    if (relationship != relationships_.end())
        href = relationship->second.externalUrl;
    if (href.isEmpty() && !wAttribute(xml_, u"anchor").isEmpty())
        href = QChar(u'#') + wAttribute(xml_, u"anchor");
    if (!href.isEmpty()) {
        format.setAnchor(true);
        format.setAnchorHref(href);
    }
    while (nextChild(xml_))
        readInline(depth, format);
}

void BodyReader::readRun(int depth, QTextCharFormat& format) {
    checkDepth(depth);
    while (nextChild(xml_))
        readRunChild(depth, format);
}

void BodyReader::readRunChild(int depth, QTextCharFormat& format) {
    if (isW(xml_, u"rPr")) {
        readRunProperties(xml_, format, &styles_);
        return;
    }
    if (isW(xml_, u"t")) {
        readText(format);
        return;
    }
    if (isW(xml_, u"instrText")) {
        const QString instruction = xml_.readElementText(QXmlStreamReader::SkipChildElements);
        if (!fields_.empty() && !fields_.back().inResult)
            fields_.back().instruction += instruction;
        return;
    }
    if (isW(xml_, u"footnoteReference") || isW(xml_, u"endnoteReference")) {
        readNoteReference(isW(xml_, u"footnoteReference") ? NoteKind::footnote : NoteKind::endnote,
                          format);
    } else if ((isW(xml_, u"footnoteRef") || isW(xml_, u"endnoteRef")) && note_) {
        write(Notes::label(note_->kind, note_->number), DocumentNotes::markFormat(format, *note_));
    } else if (isW(xml_, u"sym")) {
        readSymbol(format);
    } else if (isW(xml_, u"fldChar")) {
        readFieldChar(format);
    } else if (isW(xml_, u"tab")) {
        write(QStringLiteral("\t"), format);
    } else if (isW(xml_, u"br") && wAttribute(xml_, u"type") == u"page") {
        pendingPageBreak_ = true;
    } else if (isW(xml_, u"br") || isW(xml_, u"cr")) {
        write(QString(QChar::LineSeparator), format);
    } else if (isW(xml_, u"noBreakHyphen")) {
        write(QStringLiteral("\u2011"), format);
    } else if (isW(xml_, u"softHyphen")) {
        write(QStringLiteral("\u00ad"), format);
    } else if (isW(xml_, u"drawing")) {
        insertImage(readDrawing(xml_, [&] { readTextBoxes(depth); }));
        return;
    } else if (isW(xml_, u"pict") || isW(xml_, u"object")) {
        insertImage(readVmlPicture(xml_, [&] { readTextBoxes(depth); }));
        return;
    } else if (xml_.namespaceUri() == ns::mc && xml_.name() == u"AlternateContent") {
        readAlternateContent(depth + 1, format);
        return;
    }
    xml_.skipCurrentElement();
}

// A character of a symbol font (w:sym w:font="Symbol" w:char="F0B7").
void BodyReader::readSymbol(const QTextCharFormat& format) {
    bool ok = false;
    const uint code = wAttribute(xml_, u"char").toUInt(&ok, 16);
    if (ok)
        write(SymbolFonts::character(wAttribute(xml_, u"font"), code), format);
}

// The paragraphs of a text box go where its anchor stands, between the text before the
// anchor and the text after it, which continues in a paragraph of its own.
void BodyReader::readTextBoxes(int depth) {
    QTextBlockFormat outer = cursor_.blockFormat();
    outer.clearProperty(QTextFormat::ObjectIndex);
    outer.setPageBreakPolicy(QTextFormat::PageBreak_Auto);
    const QTextCharFormat outerChars = paragraphChars_;
    const auto note = note_;
    readBlocks(depth + 1);
    startBlock(outer, outerChars);
    paragraphChars_ = outerChars;
    note_ = note;
    hasContent_ = false;
}

void BodyReader::readText(const QTextCharFormat& format) {
    const bool preserve =
        xml_.attributes().value(QStringLiteral("http://www.w3.org/XML/1998/namespace"),
                                QStringLiteral("space")) == u"preserve";
    QString text = xml_.readElementText(QXmlStreamReader::SkipChildElements);
    if (xml_.hasError())
        throw std::runtime_error("malformed XML in a text run");
    write(runText(preserve ? text : text.trimmed()), format);
}

// The first choice; where that holds a picture no reader here can draw (a damaged
// metafile), the fallback, where word processors keep a bitmap of it.
void BodyReader::readAlternateContent(int depth, QTextCharFormat& format) {
    checkDepth(depth);
    bool chosen = false;
    bool fellBack = false;
    std::optional<QString> unshown;
    while (nextChild(xml_)) {
        const bool choice = xml_.namespaceUri() == ns::mc && xml_.name() == u"Choice";
        const bool fallback = xml_.namespaceUri() == ns::mc && xml_.name() == u"Fallback";
        if (!(choice && !chosen) && !(fallback && chosen && unshown && !fellBack)) {
            xml_.skipCurrentElement();
            continue;
        }
        (choice ? chosen : fellBack) = true;
        std::optional<QString> attempt;
        auto* outer = std::exchange(unshown_, &attempt);
        readRun(depth + 1, format);
        unshown_ = outer;
        if (choice || !attempt)
            unshown = attempt;
    }
    if (unshown && !unshown->trimmed().isEmpty())
        write(u'[' + unshown->simplified() + u']', paragraphChars_);
}

void BodyReader::insertImage(const PictureReference& picture) {
    const auto relationship = relationships_.find(picture.relationshipId);
    const bool offered = relationship != relationships_.end() &&
                         !relationship->second.target.empty() &&
                         zip_.contains(relationship->second.target);
    QSizeF points = picture.points;
    if (!(points.width() > 0 && points.width() <= maxImagePoints && points.height() > 0 &&
          points.height() <= maxImagePoints))
        points = {};
    if (offered) {
        beforeContent();
        if (DocumentImages::insertPart(cursor_, zip_, relationship->second.target, points)) {
            hasContent_ = true;
            return;
        }
    }
    // A chart keeps the words it shows besides its numbers; any other drawing no reader here
    // can show (a damaged metafile) leaves its alternative text.
    QString shown = picture.description.simplified();
    const auto chart = relationships_.find(picture.chartRelationshipId);
    const auto chartPart = offered || chart == relationships_.end() || chart->second.target.empty()
                               ? std::nullopt
                               : zip_.part(chart->second.target);
    if (const QString words = chartPart ? chartText(*chartPart) : QString(); !words.isEmpty())
        shown = words;
    if ((offered || chartPart) && unshown_ != nullptr) {
        *unshown_ = shown; // the alternative may show it
        return;
    }
    if (!shown.isEmpty())
        write(u'[' + shown + u']', paragraphChars_);
}

} // namespace kelvane::Docx
