#include "documents/odt/OdtBodyReader.h"

#include "documents/DocumentFilling.h"
#include "documents/DocumentImages.h"
#include "documents/HiddenText.h"
#include "documents/ZipContainer.h"
#include "documents/odt/OdtCharts.h"

#include <QTextDocument>
#include <QTextList>
#include <QUrl>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace kelvane::Odt {
namespace {

constexpr int outlineCounter = 0; // lists count from 1

constexpr int maxDepth = 64;
constexpr int maxSpaces = 1000;
constexpr double headingPointSizes[] = {20, 16, 14, 13, 12, 12};
constexpr double maxImagePoints = 14400; // 200 inches

// Elements whose text is not part of the running text: tracked deletions, comments,
// declarations, index templates, generated list numbers, frame titles.
bool isSkipped(const QXmlStreamReader& xml) {
    const QStringView name = xml.name();
    if (name.endsWith(u"-decls") || name.endsWith(u"-source"))
        return true;
    if (xml.namespaceUri() == ns::svg)
        return name == u"title" || name == u"desc";
    if (xml.namespaceUri() == ns::office)
        return name == u"annotation" || name == u"annotation-end" || name == u"forms";
    if (xml.namespaceUri() == ns::text)
        return name == u"tracked-changes" || name == u"number";
    if (xml.namespaceUri() == ns::draw)
        return name == u"object" || name == u"object-ole";
    return false;
}

bool isSpace(QChar c) {
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}

} // namespace

void BodyReader::read() {
    if (!xml_.readNextStartElement() || !isElement(xml_, ns::office, u"document-content"))
        throw std::runtime_error("content.xml is not OpenDocument content");
    bool foundText = false;
    while (xml_.readNextStartElement()) {
        if (!isElement(xml_, ns::office, u"body")) {
            xml_.skipCurrentElement();
            continue;
        }
        while (xml_.readNextStartElement()) {
            if (isElement(xml_, ns::office, u"text")) {
                foundText = true;
                readBlocks(1);
            } else {
                xml_.skipCurrentElement();
            }
        }
    }
    if (xml_.hasError())
        throw std::runtime_error("malformed content.xml: " + xml_.errorString().toStdString());
    if (!foundText)
        throw std::runtime_error("not an OpenDocument text");
    appendNotes();
}

void BodyReader::checkDepth(int depth) const {
    if (depth > maxDepth)
        throw std::runtime_error("OpenDocument content nested too deeply");
}

void BodyReader::readBlocks(int depth) {
    checkDepth(depth);
    while (xml_.readNextStartElement())
        readBlockElement(depth);
}

void BodyReader::readBlockElement(int depth) {
    if (isSkipped(xml_)) {
        xml_.skipCurrentElement();
    } else if (isElement(xml_, ns::text, u"p")) {
        readParagraph(depth, 0);
    } else if (isElement(xml_, ns::text, u"h")) {
        const int level = attribute(xml_, ns::text, "outline-level").toInt();
        readParagraph(depth, std::clamp(level, 1, 6));
    } else if (isElement(xml_, ns::text, u"list")) {
        readList(depth);
    } else if (isElement(xml_, ns::table, u"table")) {
        readTable(depth);
    } else if (isElement(xml_, ns::draw, u"frame")) {
        startBlock({}, {}, {});
        readFrame(depth, {});
    } else {
        readBlocks(depth + 1); // sections, index bodies and the like hold paragraphs
    }
}

void BodyReader::readParagraph(int depth, int headingLevel) {
    const QString style = attribute(xml_, ns::text, "style-name");
    QTextBlockFormat block;
    styles_.applyParagraph(style, block);
    QTextCharFormat chars;
    if (headingLevel > 0)
        block.setHeadingLevel(headingLevel);
    // A heading in a style of its own looks as the style says.
    if (headingLevel > 0 && !styles_.defines(u"paragraph", style)) {
        chars.setFontWeight(QFont::Bold);
        chars.setFontPointSize(headingPointSizes[headingLevel - 1]);
    }
    styles_.applyText(u"paragraph", style, chars);
    startBlock(block, chars, style);
    if (headingLevel > 0) {
        // Headings count on their own, by the outline style's numbering.
        const QString label =
            counter_.next(outlineCounter, headingLevel - 1, styles_.outlineLevels());
        if (!label.isEmpty())
            put(label + u' ', chars);
    }
    readInline(depth + 1, chars);
}

void BodyReader::startBlock(QTextBlockFormat block, const QTextCharFormat& chars,
                            const QString& paragraphStyle) {
    // The model knows breaks only before a block; a break after moves to the next one.
    QTextFormat::PageBreakFlags breaks = block.pageBreakPolicy();
    breaks.setFlag(QTextFormat::PageBreak_AlwaysBefore,
                   pendingPageBreak_ || breaks.testFlag(QTextFormat::PageBreak_AlwaysBefore));
    pendingPageBreak_ = breaks.testFlag(QTextFormat::PageBreak_AlwaysAfter);
    breaks.setFlag(QTextFormat::PageBreak_AlwaysAfter, false);
    block.setPageBreakPolicy(breaks);
    if (blockUnused_) {
        cursor_.setBlockFormat(block);
        cursor_.setBlockCharFormat(chars);
    } else {
        cursor_.insertBlock(block, chars);
    }
    blockUnused_ = false;
    hasContent_ = false;
    pendingSpace_ = false;
    joinList(paragraphStyle);
}

void BodyReader::joinList(const QString& paragraphStyle) {
    if (lists_.empty())
        return;
    ListLevel& level = lists_.back();
    const int nesting = static_cast<int>(lists_.size());
    if (!level.awaitingItem) {
        // A second paragraph of an item, or a list header: indented, not numbered.
        QTextBlockFormat block = cursor_.blockFormat();
        block.setLeftMargin(block.leftMargin() + nesting * cursor_.document()->indentWidth());
        cursor_.setBlockFormat(block);
        return;
    }
    level.awaitingItem = false;
    const QString style =
        level.style.isEmpty() ? styles_.listStyleOfParagraph(paragraphStyle) : level.style;
    const ListNumbering::Levels levels = styles_.listLevels(style);
    const int index = std::min(nesting, ListNumbering::levels) - 1;
    const QString label = counter_.next(level.counter, index, levels);
    const auto look = ListNumbering::listLook(levels[static_cast<std::size_t>(index)], index);
    if (look && level.list) {
        level.list->add(cursor_.block());
        return;
    }
    if (!look) { // a label no list can draw: a start value, or the numbers of levels above
        put(label + u' ', cursor_.blockCharFormat());
        return;
    }
    QTextListFormat format;
    format.setStyle(look->style);
    if (look->style < QTextListFormat::ListSquare) {
        format.setNumberPrefix(look->prefix);
        format.setNumberSuffix(look->suffix);
    }
    format.setIndent(nesting);
    level.list = cursor_.createList(format);
}

void BodyReader::readInline(int depth, const QTextCharFormat& format) {
    checkDepth(depth);
    while (!xml_.atEnd()) {
        switch (xml_.readNext()) {
        case QXmlStreamReader::Characters:
            writeText(xml_.text(), format);
            break;
        case QXmlStreamReader::StartElement:
            readInlineElement(depth, format);
            break;
        case QXmlStreamReader::EndElement:
            return;
        default:
            break;
        }
    }
}

void BodyReader::readInlineElement(int depth, const QTextCharFormat& format) {
    QTextCharFormat inner = format;
    if (isSkipped(xml_)) {
        xml_.skipCurrentElement();
    } else if (isElement(xml_, ns::text, u"s")) {
        put(QString(boundedCount(xml_, ns::text, "c", maxSpaces), u' '), format);
        xml_.skipCurrentElement();
    } else if (isElement(xml_, ns::text, u"tab")) {
        put(QStringLiteral("\t"), format);
        xml_.skipCurrentElement();
    } else if (isElement(xml_, ns::text, u"line-break")) {
        put(QString(QChar::LineSeparator), format);
        hasContent_ = false; // white space after a line break is dropped like at a start
        xml_.skipCurrentElement();
    } else if (isElement(xml_, ns::text, u"note")) {
        readNote(depth, format);
    } else if (isElement(xml_, ns::draw, u"frame")) {
        readFrame(depth, format);
    } else if (isElement(xml_, ns::text, u"p") || isElement(xml_, ns::text, u"h")) {
        // Paragraphs inside a text box flow into the paragraph that holds the frame.
        if (hasContent_)
            put(QString(QChar::LineSeparator), format);
        hasContent_ = false;
        styles_.applyText(u"paragraph", attribute(xml_, ns::text, "style-name"), inner);
        readInline(depth + 1, inner);
    } else {
        if (isElement(xml_, ns::text, u"a")) {
            inner.setAnchor(true);
            inner.setAnchorHref(attribute(xml_, ns::xlink, "href"));
        }
        styles_.applyText(u"text", attribute(xml_, ns::text, "style-name"), inner);
        readInline(depth + 1, inner); // spans, links, fields, bookmarks
    }
}

// White space in OpenDocument text collapses to one space and vanishes at the start and end
// of a paragraph; text:s, text:tab and text:line-break carry the spacing that counts.
// White space collapses to one space, and a space that ends the text waits for what follows:
// at the end of a paragraph it is dropped. Each text goes in with one insertion, as inserting
// word by word makes reading long documents several times slower.
void BodyReader::writeText(QStringView text, const QTextCharFormat& format) {
    if (format.boolProperty(HiddenText::property))
        return;
    QString run;
    bool spaceInRun = false;
    for (const QChar c : text) {
        if (!isSpace(c)) {
            if (std::exchange(spaceInRun, false))
                run += u' ';
            run += c;
        } else if (!run.isEmpty()) {
            spaceInRun = true;
        } else if (hasContent_ && !pendingSpace_) {
            pendingSpace_ = true;
            pendingSpaceFormat_ = format;
        }
    }
    if (!run.isEmpty())
        put(run, format);
    if (spaceInRun) {
        pendingSpace_ = true;
        pendingSpaceFormat_ = format;
    }
}

void BodyReader::put(const QString& text, const QTextCharFormat& format) {
    checkDocumentLength(*cursor_.document());
    if (std::exchange(pendingSpace_, false)) {
        if (pendingSpaceFormat_ == format) {
            cursor_.insertText(u' ' + text, format);
            hasContent_ = true;
            return;
        }
        cursor_.insertText(QStringLiteral(" "), pendingSpaceFormat_);
    }
    cursor_.insertText(text, format);
    hasContent_ = true;
}

void BodyReader::readList(int depth) {
    checkDepth(depth);
    QString style = attribute(xml_, ns::text, "style-name");
    if (style.isEmpty() && !lists_.empty())
        style = lists_.back().style;
    lists_.push_back(
        {style, nullptr, false, lists_.empty() ? ++listsStarted_ : lists_.front().counter});
    while (xml_.readNextStartElement()) {
        const bool item = isElement(xml_, ns::text, u"list-item");
        if (!item && !isElement(xml_, ns::text, u"list-header")) {
            xml_.skipCurrentElement();
            continue;
        }
        lists_.back().awaitingItem = item;
        readBlocks(depth + 1);
        lists_.back().awaitingItem = false;
    }
    lists_.pop_back();
}

void BodyReader::readFrame(int depth, const QTextCharFormat& format) {
    checkDepth(depth);
    const auto width = pointsFromLength(attribute(xml_, ns::svg, "width"));
    const auto height = pointsFromLength(attribute(xml_, ns::svg, "height"));
    QSizeF size;
    if (width && height && *width > 0 && *height > 0)
        size = QSizeF(std::min(*width, maxImagePoints), std::min(*height, maxImagePoints));
    bool shown = false; // a frame may offer the same picture in several formats
    bool offered = false;
    QString description;
    QString chart;
    while (xml_.readNextStartElement()) {
        const bool image = isElement(xml_, ns::draw, u"image");
        offered = offered || image;
        if (image && !shown)
            shown = readImage(size);
        else if (isElement(xml_, ns::draw, u"text-box"))
            readInline(depth + 1, format);
        else if (isElement(xml_, ns::svg, u"desc") ||
                 (isElement(xml_, ns::svg, u"title") && description.isEmpty()))
            description = xml_.readElementText(QXmlStreamReader::SkipChildElements).simplified();
        else if (isElement(xml_, ns::draw, u"object"))
            chart = readChartText();
        else
            xml_.skipCurrentElement();
    }
    // A chart whose picture cannot be shown keeps the words it shows; any other picture leaves
    // its alternative text.
    const QString words = chart.isEmpty() ? description : chart;
    if ((offered || !chart.isEmpty()) && !shown && !words.isEmpty())
        put(u'[' + words + u']', format);
}

// The title and series names of the chart a draw:object holds in its own folder.
QString BodyReader::readChartText() {
    const QString href = QUrl::fromPercentEncoding(attribute(xml_, ns::xlink, "href").toUtf8());
    xml_.skipCurrentElement();
    const auto folder = ZipContainer::resolve("content.xml", href.toStdString());
    if (href.isEmpty() || !folder)
        return {};
    const auto content = zip_.part(*folder + "/content.xml");
    return content ? chartText(*content) : QString();
}

bool BodyReader::readImage(QSizeF size) {
    QByteArray bytes;
    std::optional<std::string> part;
    const QString href = attribute(xml_, ns::xlink, "href");
    if (!href.isEmpty()) {
        const QString target = QUrl::fromPercentEncoding(href.toUtf8());
        part = ZipContainer::resolve("content.xml", target.toStdString());
        if (part && !zip_.contains(*part))
            part.reset();
        xml_.skipCurrentElement();
    } else {
        while (xml_.readNextStartElement()) {
            if (isElement(xml_, ns::office, u"binary-data"))
                bytes = QByteArray::fromBase64(xml_.readElementText().toLatin1());
            else
                xml_.skipCurrentElement();
        }
    }
    if (bytes.isEmpty() && !part)
        return false;
    if (pendingSpace_)
        cursor_.insertText(QStringLiteral(" "), pendingSpaceFormat_);
    pendingSpace_ = false;
    if (!(part ? DocumentImages::insertPart(cursor_, zip_, *part, size)
               : DocumentImages::insert(cursor_, bytes, size)))
        return false;
    hasContent_ = true;
    return true;
}

} // namespace kelvane::Odt
