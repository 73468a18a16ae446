#include "documents/docx/DocxBodyReader.h"

#include "documents/DocumentFilling.h"
#include "documents/ListNumbering.h"
#include "documents/ZipContainer.h"

#include <QTextDocument>
#include <QTextList>

#include <stdexcept>

// Paragraphs, lists and sections of the body reader.
namespace kelvane::Docx {

using Ooxml::isW;
using Ooxml::nextChild;
namespace ns = Ooxml::ns;

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

void BodyReader::read(bool evenPagesApart) {
    evenPagesApart_ = evenPagesApart;
    if (!nextChild(xml_) || !isW(xml_, u"document"))
        throw std::runtime_error("not a WordprocessingML document");
    while (nextChild(xml_)) {
        if (isW(xml_, u"body"))
            readBlocks(1);
        else
            xml_.skipCurrentElement();
    }
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
    const ParagraphStyle style = styles_.paragraph(direct.style, cellParagraphs_);
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

// The text of the header or footer part a relationship names, read once however many
// sections name it.
QString BodyReader::partText(const QString& relationshipId) {
    const auto relationship = relationships_.find(relationshipId);
    if (relationshipId.isEmpty() || relationship == relationships_.end() ||
        relationship->second.target.empty())
        return {};
    const auto known = partTexts_.find(relationshipId);
    if (known != partTexts_.end())
        return known->second;
    const auto part = zip_.part(relationship->second.target);
    return partTexts_[relationshipId] = part ? headerFooterText(*part) : QString();
}

// The header and footer of one type ("default", "first", "even"): the section's own, or
// where it names none, the last section's.
SectionPages::Lines BodyReader::linesOf(const Section& section, const QString& type) {
    SectionPages::Lines& lines = lastLines_[type];
    if (const auto id = section.headerIds.find(type); id != section.headerIds.end())
        lines.header = partText(id->second);
    if (const auto id = section.footerIds.find(type); id != section.footerIds.end())
        lines.footer = partText(id->second);
    return lines;
}

// The section from sectionStart_ to here takes its page, and the next block starts another.
void BodyReader::endSection(const Section& section) {
    if (sectionStart_ < 0)
        return; // nothing since the last section's end
    if (section.page) {
        SectionPages::Page page = *section.page;
        const SectionPages::Lines lines = linesOf(section, QStringLiteral("default"));
        page.header = lines.header;
        page.footer = lines.footer;
        if (section.titlePage)
            page.first = linesOf(section, QStringLiteral("first"));
        if (evenPagesApart_)
            page.even = linesOf(section, QStringLiteral("even"));
        page.firstNumber = section.firstNumber;
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
    checkDocumentLength(*cursor_.document());
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
