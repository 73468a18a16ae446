#include "documents/DocumentFilling.h"
#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/ListNumbering.h"
#include "documents/SymbolFonts.h"
#include "documents/ZipContainer.h"
#include "documents/docx/DocxBodyReader.h"
#include "documents/docx/Omml.h"

#include <QRegularExpression>
#include <QTextDocument>
#include <QTextList>

#include <stdexcept>
#include <utility>

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

// The link of a HYPERLINK field instruction: its quoted target, or "#name" for a place in
// the document (\l).
QString hyperlinkOf(const QString& instruction) {
    static const QRegularExpression field(
        QStringLiteral(R"re(^\s*HYPERLINK\s+(\\l\s+)?"?([^"\s]+)"?)re"),
        QRegularExpression::CaseInsensitiveOption);
    const auto match = field.match(instruction);
    if (!match.hasMatch())
        return {};
    return match.capturedView(1).isEmpty() ? match.captured(2) : u'#' + match.captured(2);
}

void setLink(QTextCharFormat& format, const QString& href) {
    format.setAnchor(true);
    format.setAnchorHref(href);
}

} // namespace

QString Notes::label(NoteKind, int number) {
    return ListNumbering::numberText(ListNumbering::NumberFormat::decimal, number);
}

bool isWrapper(const QXmlStreamReader& xml) {
    for (const char16_t* name :
         {u"sdt", u"sdtContent", u"customXml", u"smartTag", u"ins", u"moveTo"}) {
        if (isW(xml, name))
            return true;
    }
    return false;
}

bool isSkipped(const QXmlStreamReader& xml) {
    if (xml.namespaceUri() == ns::mc)
        return xml.name() == u"Fallback";
    for (const char16_t* name :
         {u"del", u"moveFrom", u"delText", u"sdtPr", u"sdtEndPr", u"sectPr", u"pPrChange",
          u"rPrChange", u"fldData", u"tblPr", u"tblGrid", u"trPr", u"tcPr", u"tblPrEx"}) {
        if (isW(xml, name))
            return true;
    }
    return false;
}

void BodyReader::read() {
    if (!nextChild(xml_) || !isW(xml_, u"document"))
        throw std::runtime_error("not a WordprocessingML document");
    while (nextChild(xml_)) {
        if (isW(xml_, u"body"))
            readBlocks(1);
        else
            xml_.skipCurrentElement();
    }
}

void BodyReader::readNotes(NoteKind kind) {
    if (!nextChild(xml_))
        return;
    const auto& numbers = notes_.of(kind);
    pendingPageBreak_ = kind == NoteKind::endnote;
    while (nextChild(xml_)) {
        const auto found = numbers.find(wAttribute(xml_, u"id"));
        if (found == numbers.end() || !wAttribute(xml_, u"type").isEmpty()) {
            xml_.skipCurrentElement(); // separators, and notes the text never refers to
            continue;
        }
        note_ = DocumentNotes::Note{kind, found->second};
        readBlocks(1);
    }
    note_.reset();
}

void BodyReader::readBlocks(int depth) {
    checkDepth(depth);
    while (nextChild(xml_))
        readBlockElement(depth);
}

void BodyReader::readBlockElement(int depth) {
    if (isW(xml_, u"p"))
        readParagraph(depth + 1);
    else if (isW(xml_, u"tbl"))
        readTable(depth + 1);
    else if (isW(xml_, u"r") || isW(xml_, u"hyperlink"))
        readInline(depth + 1, paragraphChars_); // run-level markup straight in a container
    else if (isW(xml_, u"sectPr") && depth == 1)
        endSection(readSection(xml_)); // the last section's
    else if (isSkipped(xml_))
        xml_.skipCurrentElement();
    else
        readBlocks(depth + 1); // content controls, custom XML, insertions and the like
}

void BodyReader::readParagraph(int depth) {
    checkDepth(depth);
    bool started = false;
    while (nextChild(xml_)) {
        if (!started && isW(xml_, u"pPr")) {
            beginParagraph(readParagraphProperties(xml_));
            started = true;
            continue;
        }
        if (!started)
            beginParagraph({});
        started = true;
        readInline(depth + 1, paragraphChars_);
    }
    if (!started)
        beginParagraph({});
}

void BodyReader::beginParagraph(const ParagraphProperties& direct) {
    const ParagraphStyle style = styles_.paragraph(direct.style);
    QTextBlockFormat block = style.block;
    block.merge(direct.block);
    QTextCharFormat chars = style.chars;
    int heading = style.headingLevel;
    if (direct.outlineLevel)
        heading = headingLevelOfOutline(*direct.outlineLevel);
    block.setHeadingLevel(heading);
    if (pendingPageBreak_)
        block.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
    pendingPageBreak_ = false;

    const int numId = direct.numId.value_or(style.numId.value_or(0));
    const int level =
        std::clamp(direct.level.value_or(style.level.value_or(0)), 0, ListNumbering::levels - 1);
    const ListNumbering::Levels* levels = numbering_.levels(numId);
    QString label;
    std::optional<ListNumbering::ListLook> look;
    if (levels != nullptr) {
        label = counter_.next(numId, level, *levels);
        // Headings show their outline number as text, as do labels a list cannot draw.
        if (heading == 0)
            look = ListNumbering::listLook((*levels)[static_cast<std::size_t>(level)], level);
    }
    if (look) {
        // The list's own indent stands for the nesting; the numbering's hanging indent would
        // push the item further in.
        block.clearProperty(QTextFormat::BlockLeftMargin);
        block.clearProperty(QTextFormat::TextIndent);
    }
    startBlock(block, chars);
    if (direct.section)
        endSection(*direct.section);
    if (look)
        joinList(numId, level, *look);
    paragraphChars_ = chars;
    hasContent_ = false;
    if (!look && !label.isEmpty())
        write(label + u' ', chars);
}

void BodyReader::joinList(int numId, int level, const ListNumbering::ListLook& look) {
    // An item ends the deeper lists under the same numbering; a later item at that depth
    // starts a new one, as its numbers restart.
    std::erase_if(lists_, [&](const auto& entry) {
        return entry.first.first == numId && entry.first.second > level;
    });
    QPointer<QTextList>& list = lists_[{numId, level}];
    if (list) {
        list->add(cursor_.block());
        return;
    }
    QTextListFormat format;
    format.setStyle(look.style);
    if (look.style < QTextListFormat::ListSquare) { // numbered
        format.setNumberPrefix(look.prefix);
        format.setNumberSuffix(look.suffix);
    }
    format.setIndent(level + 1);
    list = cursor_.createList(format);
}

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

void BodyReader::readNoteReference(NoteKind kind, const QTextCharFormat& format) {
    auto& numbers = notes_.of(kind);
    const QString id = wAttribute(xml_, u"id");
    const auto [entry, added] = numbers.emplace(id, static_cast<int>(numbers.size()) + 1);
    write(Notes::label(kind, entry->second),
          DocumentNotes::markFormat(format, {kind, entry->second}));
}

// A character of a symbol font (w:sym w:font="Symbol" w:char="F0B7").
void BodyReader::readSymbol(const QTextCharFormat& format) {
    bool ok = false;
    const uint code = wAttribute(xml_, u"char").toUInt(&ok, 16);
    if (ok)
        write(SymbolFonts::character(wAttribute(xml_, u"font"), code), format);
}

void BodyReader::readFieldChar(const QTextCharFormat&) {
    const QString type = wAttribute(xml_, u"fldCharType");
    if (type == u"begin" && fields_.size() < static_cast<std::size_t>(maxDepth)) {
        fields_.emplace_back();
    } else if (type == u"separate" && !fields_.empty()) {
        fields_.back().inResult = true;
        fields_.back().href = hyperlinkOf(fields_.back().instruction);
    } else if (type == u"end" && !fields_.empty()) {
        fields_.pop_back();
    }
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

// The first choice; where that holds a picture no reader here can draw (an enhanced
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
    std::optional<QByteArray> bytes;
    if (relationship != relationships_.end() && !relationship->second.target.empty())
        bytes = zip_.part(relationship->second.target);
    QSizeF points = picture.points;
    if (!(points.width() > 0 && points.width() <= maxImagePoints && points.height() > 0 &&
          points.height() <= maxImagePoints))
        points = {};
    if (bytes) {
        beforeContent();
        if (DocumentImages::insert(cursor_, *bytes, points)) {
            hasContent_ = true;
            return;
        }
    }
    if (bytes && unshown_ != nullptr) {
        *unshown_ = picture.description; // the alternative may show it
        return;
    }
    // A drawing no reader here can show (a metafile, a chart) leaves its alternative text.
    if (!picture.description.trimmed().isEmpty())
        write(u'[' + picture.description.simplified() + u']', paragraphChars_);
}

void BodyReader::startBlock(QTextBlockFormat block, const QTextCharFormat& chars) {
    if (note_)
        DocumentNotes::setBody(block, *note_);
    if (sectionStart_ < 0 && sectionOnNewPage_)
        block.setPageBreakPolicy(block.pageBreakPolicy() | QTextFormat::PageBreak_AlwaysBefore);
    if (blockUnused_) {
        cursor_.setBlockFormat(block);
        cursor_.setBlockCharFormat(chars);
    } else {
        countBlocks(1);
        cursor_.insertBlock(block, chars);
    }
    blockUnused_ = false;
    if (sectionStart_ < 0)
        sectionStart_ = cursor_.block().position();
}

// The text of the header or footer part a relationship names.
QString BodyReader::partText(const QString& relationshipId) const {
    const auto relationship = relationships_.find(relationshipId);
    if (relationshipId.isEmpty() || relationship == relationships_.end() ||
        relationship->second.target.empty())
        return {};
    const auto part = zip_.part(relationship->second.target);
    return part ? headerFooterText(*part) : QString();
}

// The section from sectionStart_ to here takes its page, and the next block starts another.
void BodyReader::endSection(const Section& section) {
    if (sectionStart_ < 0)
        return; // nothing since the last section's end
    if (section.page) {
        SectionPages::Page page = *section.page;
        page.header = partText(section.headerId);
        page.footer = partText(section.footerId);
        QTextBlockFormat marked;
        SectionPages::mark(marked, page);
        QTextCursor(cursor_.document()->findBlock(sectionStart_)).mergeBlockFormat(marked);
    }
    sectionStart_ = -1;
    sectionOnNewPage_ = section.newPage;
}

// A page break inside a paragraph's text splits it: the rest begins on the next page.
void BodyReader::beforeContent() {
    if (!pendingPageBreak_)
        return;
    pendingPageBreak_ = false;
    if (!hasContent_) {
        QTextBlockFormat pageBreak;
        pageBreak.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
        cursor_.mergeBlockFormat(pageBreak);
        return;
    }
    QTextBlockFormat block;
    block.setAlignment(cursor_.blockFormat().alignment());
    block.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
    countBlocks(1);
    cursor_.insertBlock(block, paragraphChars_);
}

void BodyReader::write(const QString& text, const QTextCharFormat& format) {
    if (text.isEmpty() || format.boolProperty(hiddenProperty))
        return;
    // Between a field's instruction and its result nothing shows.
    if (!fields_.empty() && !fields_.back().inResult)
        return;
    beforeContent();
    const auto link = std::find_if(fields_.rbegin(), fields_.rend(),
                                   [](const Field& field) { return !field.href.isEmpty(); });
    if (link == fields_.rend() || format.isAnchor()) {
        cursor_.insertText(text, format);
    } else {
        QTextCharFormat linked = format;
        setLink(linked, link->href);
        cursor_.insertText(text, linked);
    }
    hasContent_ = true;
}

void BodyReader::countBlocks(int count) {
    blocks_ += count;
    if (blocks_ > maxBlocks)
        throw std::runtime_error("document has too many paragraphs");
}

void BodyReader::checkDepth(int depth) const {
    if (depth > maxDepth)
        throw std::runtime_error("document nests too deeply");
}

} // namespace kelvane::Docx

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
    const ZipContainer zip = ZipContainer::open(file);
    const std::string mainPart = mainPartOf(zip);
    const std::optional<QByteArray> content = zip.part(mainPart);
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

    auto document = std::make_unique<QTextDocument>();
    const DocumentFilling filling(*document);
    Docx::Notes notes;
    Docx::BodyReader(*content, relationships, zip, styles, numbering, *document, notes).read();
    for (const auto& [kind, type, fallback] :
         {std::tuple{Docx::NoteKind::footnote, u"footnotes", "word/footnotes.xml"},
          std::tuple{Docx::NoteKind::endnote, u"endnotes", "word/endnotes.xml"}}) {
        if (notes.of(kind).empty())
            continue;
        const std::string partName = relatedPartName(zip, relationships, type, fallback);
        const auto part = zip.part(partName);
        if (!part)
            continue;
        Docx::BodyReader(*part, Ooxml::readRelationships(zip, partName), zip, styles, numbering,
                         *document, notes)
            .readNotes(kind);
    }
    return document;
}

} // namespace kelvane::DocumentFormats
