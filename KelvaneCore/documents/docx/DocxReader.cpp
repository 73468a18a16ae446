#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/ZipContainer.h"
#include "documents/docx/DocxBodyReader.h"

#include <QTextDocument>
#include <QTextList>

#include <stdexcept>

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

} // namespace

bool isSkipped(const QXmlStreamReader& xml) {
    if (xml.namespaceUri() == ns::mc)
        return xml.name() == u"Fallback";
    for (const char16_t* name : {u"del", u"moveFrom", u"instrText", u"delText", u"sdtPr",
                                 u"sdtEndPr", u"sectPr", u"pPrChange", u"rPrChange", u"fldData",
                                 u"tblPr", u"tblGrid", u"trPr", u"tcPr", u"tblPrEx"}) {
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
    if (direct.outlineLevel) {
        heading = headingLevelOfOutline(*direct.outlineLevel);
        if (heading > 0 && style.headingLevel == 0)
            chars.merge(headingCharFormat(heading));
    }
    block.setHeadingLevel(heading);
    if (pendingPageBreak_)
        block.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
    pendingPageBreak_ = false;

    const int numId = direct.numId.value_or(style.numId.value_or(0));
    const int level = direct.level.value_or(style.level.value_or(0));
    const auto listStyle = numbering_.style(numId, level);
    if (listStyle) {
        // The list's own indent stands for the nesting; the numbering's hanging indent would
        // push the item further in.
        block.clearProperty(QTextFormat::BlockLeftMargin);
        block.clearProperty(QTextFormat::TextIndent);
    }
    startBlock(block, chars);
    if (listStyle)
        joinList(numId, level, *listStyle);
    paragraphChars_ = chars;
    hasContent_ = false;
}

void BodyReader::joinList(int numId, int level, QTextListFormat::Style style) {
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
    format.setStyle(style);
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
    if (isW(xml_, u"tab")) {
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
        insertImage(readDrawing(xml_));
        return;
    } else if (isW(xml_, u"pict") || isW(xml_, u"object")) {
        insertImage(readVmlPicture(xml_));
        return;
    } else if (xml_.namespaceUri() == ns::mc && xml_.name() != u"Fallback") {
        readRun(depth + 1, format); // AlternateContent and its first Choice
        return;
    }
    xml_.skipCurrentElement();
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

void BodyReader::insertImage(const PictureReference& picture) {
    const auto relationship = relationships_.find(picture.relationshipId);
    if (relationship == relationships_.end() || relationship->second.target.empty())
        return;
    const std::optional<QByteArray> bytes = zip_.part(relationship->second.target);
    if (!bytes)
        return;
    QSizeF points = picture.points;
    if (!(points.width() > 0 && points.width() <= maxImagePoints && points.height() > 0 &&
          points.height() <= maxImagePoints))
        points = {};
    beforeContent();
    if (DocumentImages::insert(cursor_, *bytes, points))
        hasContent_ = true;
}

void BodyReader::startBlock(const QTextBlockFormat& block, const QTextCharFormat& chars) {
    if (blockUnused_) {
        cursor_.setBlockFormat(block);
        cursor_.setBlockCharFormat(chars);
    } else {
        countBlocks(1);
        cursor_.insertBlock(block, chars);
    }
    blockUnused_ = false;
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
    if (text.isEmpty())
        return;
    beforeContent();
    cursor_.insertText(text, format);
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

std::optional<QByteArray> relatedPart(const ZipContainer& zip,
                                      const Ooxml::Relationships& relationships, QStringView type,
                                      std::string_view fallback) {
    for (const auto& [id, relationship] : relationships) {
        if (relationship.type == type && zip.contains(relationship.target))
            return zip.part(relationship.target);
    }
    return zip.part(fallback);
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
    if (const auto part = relatedPart(zip, relationships, u"styles", "word/styles.xml"))
        styles.read(*part);
    Docx::Numbering numbering;
    if (const auto part = relatedPart(zip, relationships, u"numbering", "word/numbering.xml"))
        numbering.read(*part);

    auto document = std::make_unique<QTextDocument>();
    Docx::BodyReader(*content, relationships, zip, styles, numbering, *document).read();
    return document;
}

} // namespace kelvane::DocumentFormats
