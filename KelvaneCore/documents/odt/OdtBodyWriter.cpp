#include "documents/odt/OdtBodyWriter.h"

#include "documents/DocumentImages.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextList>
#include <QTextTable>

#include <algorithm>

namespace kelvane::Odt {
namespace {

constexpr int maxFrameNesting = 16;       // tables in tables deeper than this come out flattened
constexpr int maxSpacesPerElement = 1000; // readers bound text:c; ours at this

int levelOf(const QTextList& list) {
    return std::clamp(list.format().indent(), 1, listLevels);
}

int headingLevelOf(const QTextBlockFormat& format) {
    return format.headingLevel() > 0 ? std::min(format.headingLevel(), 6) : 0;
}

bool isXmlCharacter(QChar c) {
    return (c.unicode() >= 0x20 && !c.isSurrogate() && c.unicode() != 0xfffe &&
            c.unicode() != 0xffff);
}

} // namespace

BodyWriter::BodyWriter(const QTextDocument& document, AutomaticStyles& styles, MasterPages& pages)
    : document_(document)
    , styles_(styles)
    , pages_(pages)
    , xml_(&output_) {
    xml_.setAutoFormatting(false);
}

QByteArray BodyWriter::write() {
    for (QTextBlock block = document_.begin(); block.isValid(); block = block.next()) {
        if (const auto note = DocumentNotes::bodyOf(block.blockFormat()))
            noteBodies_[{note->kind, note->number}].push_back(block);
    }
    writeContents(document_.rootFrame()->begin(), 0);
    closeLists(0);
    return output_;
}

void BodyWriter::writeContents(QTextFrame::iterator it, int depth) {
    for (; !it.atEnd(); ++it) {
        if (const QTextBlock block = it.currentBlock(); block.isValid())
            writeBlock(block);
        else if (const QTextFrame* frame = it.currentFrame())
            writeFrame(*frame, depth + 1);
    }
}

void BodyWriter::writeFrame(const QTextFrame& frame, int depth) {
    if (depth > maxFrameNesting)
        writeFlattened(frame);
    else if (const auto* table = qobject_cast<const QTextTable*>(&frame))
        writeTable(*table, depth);
    else
        writeContents(frame.begin(), depth);
}

// Every block inside, nested frames included, one after another: no recursion left to bound.
void BodyWriter::writeFlattened(const QTextFrame& frame) {
    for (QTextBlock block = document_.findBlock(frame.firstPosition());
         block.isValid() && block.position() <= frame.lastPosition(); block = block.next())
        writeBlock(block);
    closeLists(0);
}

void BodyWriter::writeBlock(const QTextBlock& block) {
    if (DocumentNotes::bodyOf(block.blockFormat()))
        return; // written where the text refers to the note
    if (block.textList())
        enterList(block);
    else
        closeLists(0);
    const QTextBlockFormat format = block.blockFormat();
    const int level = headingLevelOf(format);
    const QString number = QString::number(level);
    const QString parent = level > 0 ? "Heading_20_" + number : paragraphStyle_;
    xml_.writeStartElement(level > 0 ? "text:h" : "text:p");
    xml_.writeAttribute("text:style-name",
                        styles_.paragraph(parent, format, pages_.startedBy(block)));
    if (level > 0)
        xml_.writeAttribute("text:outline-level", number);
    writeInline(block, level);
    xml_.writeEndElement();
}

void BodyWriter::enterList(const QTextBlock& block) {
    const QTextList& list = *block.textList();
    const auto open = std::find_if(lists_.begin(), lists_.end(),
                                   [&](const OpenList& entry) { return entry.list == &list; });
    if (open != lists_.end()) {
        closeLists(static_cast<std::size_t>(open - lists_.begin()) + 1);
        xml_.writeEndElement(); // the previous item of the same list
        xml_.writeStartElement("text:list-item");
        return;
    }
    const int level = levelOf(list);
    while (!lists_.empty() && lists_.back().level >= level)
        closeLists(lists_.size() - 1);
    openList(block, list, level);
}

// A nested list goes inside the open item of its parent; a list that starts deeper than one
// level below its parent gets empty items around it so that readers count its level right.
void BodyWriter::openList(const QTextBlock& block, const QTextList& list, int level) {
    const OpenList open{&list, level, level - (lists_.empty() ? 0 : lists_.back().level) - 1};
    for (int wrapper = 0; wrapper <= open.wrappers; ++wrapper) {
        xml_.writeStartElement("text:list");
        // Nested lists take their look from the outermost list's style, level by level.
        if (wrapper == 0 && lists_.empty())
            xml_.writeAttribute("text:style-name", styles_.list(levelsFrom(block)));
        if (wrapper == open.wrappers && !listsSeen_.insert(&list).second)
            xml_.writeAttribute("text:continue-numbering", "true");
        xml_.writeStartElement("text:list-item");
    }
    lists_.push_back(open);
}

void BodyWriter::closeLists(std::size_t keep) {
    for (; lists_.size() > keep; lists_.pop_back()) {
        for (int element = 0; element <= lists_.back().wrappers; ++element) {
            xml_.writeEndElement(); // text:list-item
            xml_.writeEndElement(); // text:list
        }
    }
}

// The style of each nesting level of the list tree starting at `first`, taken from the first
// list met at that level; levels no list uses repeat the level above.
ListLevels BodyWriter::levelsFrom(const QTextBlock& first) const {
    std::array<std::optional<QTextListFormat::Style>, listLevels> found;
    const int rootLevel = levelOf(*first.textList());
    std::set<const QTextList*> members;
    for (QTextBlock block = first; block.isValid() && block.textList(); block = block.next()) {
        const QTextList* list = block.textList();
        if (members.contains(list))
            continue;
        const int level = levelOf(*list);
        if (!members.empty() && level <= rootLevel)
            break; // the tree has ended: enterList starts a new outermost list here
        members.insert(list);
        auto& slot = found[static_cast<std::size_t>(level - 1)];
        if (!slot)
            slot = list->format().style();
    }
    ListLevels levels;
    QTextListFormat::Style style = first.textList()->format().style();
    for (std::size_t level = 0; level < levels.size(); ++level)
        levels[level] = style = found[level].value_or(style);
    return levels;
}

void BodyWriter::writeInline(const QTextBlock& block, int headingLevel) {
    afterText_ = false;
    QString href; // the open text:a, if any
    for (auto it = block.begin(); !it.atEnd();) {
        const QTextFragment fragment = it.fragment();
        const bool last = (++it).atEnd();
        if (!fragment.isValid())
            continue;
        const QTextCharFormat format = fragment.charFormat();
        const QString target = format.isAnchor() ? xmlSafe(format.anchorHref()) : QString();
        if (target != href) {
            if (!href.isEmpty())
                xml_.writeEndElement();
            if (!target.isEmpty()) {
                xml_.writeStartElement("text:a");
                xml_.writeAttribute("xlink:type", "simple");
                xml_.writeAttribute("xlink:href", target);
            }
            href = target;
        }
        if (const auto note = DocumentNotes::markOf(format);
            note && noteBodies_.contains({note->kind, note->number})) {
            if (!writingNote_) // a note's own number is its citation
                writeNote(*note, fragment.text());
            continue;
        }
        if (format.isImageFormat()) {
            for (const QChar c : fragment.text())
                if (c == QChar::ObjectReplacementCharacter)
                    writeImage(format.toImageFormat());
            continue;
        }
        writeRun(fragment.text(), styles_.text(format, headingLevel), last);
    }
    if (!href.isEmpty())
        xml_.writeEndElement();
}

// Spaces at the edges of a bold, italic or coloured run look the same outside it, where they
// keep readers that turn each run into emphasis from joining neighbouring runs into one.
void BodyWriter::writeRun(QStringView text, const AutomaticStyles::TextStyle& style,
                          bool endsParagraph) {
    qsizetype start = 0;
    qsizetype end = text.size();
    if (style.plainSpaces) {
        while (start < end && text[start] == u' ')
            ++start;
        while (end > start && text[end - 1] == u' ')
            --end;
    }
    if (style.name.isEmpty() || start == end) {
        writeText(text, endsParagraph);
        return;
    }
    writeText(text.first(start), false);
    xml_.writeStartElement("text:span");
    xml_.writeAttribute("text:style-name", style.name);
    writeText(text.sliced(start, end - start), endsParagraph && end == text.size());
    xml_.writeEndElement();
    writeText(text.sliced(end), endsParagraph);
}

// Readers collapse white space in OpenDocument text, so only a single space between words
// may be written as is; every other space goes into text:s. A space before the end of the
// paragraph would be dropped too.
void BodyWriter::writeText(QStringView text, bool endsParagraph) {
    QString run;
    const auto flush = [&] {
        if (!run.isEmpty())
            xml_.writeCharacters(run);
        run.clear();
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u' ') {
            qsizetype end = i;
            while (end < text.size() && text[end] == u' ')
                ++end;
            auto count = static_cast<int>(end - i);
            if (afterText_ && !(end == text.size() && endsParagraph)) {
                run += c;
                --count;
            }
            flush();
            writeSpaces(count);
            afterText_ = false;
            i = end - 1;
        } else if (c == u'\t' || c == QChar::LineSeparator) {
            flush();
            xml_.writeEmptyElement(c == u'\t' ? "text:tab" : "text:line-break");
            afterText_ = false;
        } else if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            run += c;
            run += text[++i];
            afterText_ = true;
        } else if (isXmlCharacter(c) && c != QChar::ObjectReplacementCharacter) {
            run += c;
            afterText_ = true;
        }
    }
    flush();
}

void BodyWriter::writeSpaces(int count) {
    for (; count > 0; count -= maxSpacesPerElement) {
        xml_.writeEmptyElement("text:s");
        if (count > 1)
            xml_.writeAttribute("text:c", QString::number(std::min(count, maxSpacesPerElement)));
    }
}

void BodyWriter::writeNote(DocumentNotes::Note note, const QString& citation) {
    const bool footnote = note.kind == DocumentNotes::Kind::footnote;
    writingNote_ = true;
    xml_.writeStartElement("text:note");
    xml_.writeAttribute("text:id", QString::fromLatin1(footnote ? "ftn" : "edn") +
                                       QString::number(note.number));
    xml_.writeAttribute("text:note-class", footnote ? "footnote" : "endnote");
    xml_.writeTextElement("text:note-citation", xmlSafe(citation));
    xml_.writeStartElement("text:note-body");
    for (const QTextBlock& block : noteBodies_[{note.kind, note.number}]) {
        xml_.writeStartElement("text:p");
        xml_.writeAttribute("text:style-name",
                            styles_.paragraph(QStringLiteral("Standard"), block.blockFormat()));
        writeInline(block, 0);
        xml_.writeEndElement();
    }
    xml_.writeEndElement();
    xml_.writeEndElement();
    writingNote_ = false;
    afterText_ = true;
}

void BodyWriter::writeImage(const QTextImageFormat& format) {
    const DocumentImages::EncodedImage image = DocumentImages::encoded(document_, format);
    if (image.bytes.isEmpty())
        return;
    const auto [path, added] = picturePaths_.try_emplace(format.name());
    if (added) {
        const bool jpeg = image.format == u"jpeg";
        path->second = QStringLiteral("Pictures/image%1.%2")
                           .arg(pictures_.size() + 1)
                           .arg(jpeg ? "jpg" : "png");
        pictures_.push_back({path->second, jpeg ? "image/jpeg" : "image/png", format});
    }
    xml_.writeStartElement("draw:frame");
    xml_.writeAttribute("draw:name", "Image" + QString::number(++frames_));
    xml_.writeAttribute("text:anchor-type", "as-char");
    xml_.writeAttribute("svg:width", lengthInPoints(image.sizeInPoints.width()));
    xml_.writeAttribute("svg:height", lengthInPoints(image.sizeInPoints.height()));
    xml_.writeAttribute("draw:z-index", "0");
    xml_.writeEmptyElement("draw:image");
    xml_.writeAttribute("xlink:href", path->second);
    xml_.writeAttribute("xlink:type", "simple");
    xml_.writeAttribute("xlink:show", "embed");
    xml_.writeAttribute("xlink:actuate", "onLoad");
    xml_.writeEndElement();
    afterText_ = false;
}

} // namespace kelvane::Odt
