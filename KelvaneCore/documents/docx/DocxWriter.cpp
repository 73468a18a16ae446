#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/DocumentNotes.h"
#include "documents/Units.h"
#include "documents/ZipContainer.h"
#include "documents/docx/DocxPackage.h"
#include "documents/docx/DocxPictures.h"
#include "documents/docx/Ooxml.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextList>
#include <QTextTable>
#include <QXmlStreamWriter>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <tuple>

namespace kelvane::DocumentFormats {
namespace {

namespace ns = Ooxml::ns;
using Docx::writeEmpty;
using Docx::writeInlinePicture;

constexpr int maxNesting = 8; // frames and tables inside one another
constexpr int maxListLevel = 8;
constexpr double marginTwips = 1440; // one inch on every side
const QString xmlNamespace = QStringLiteral("http://www.w3.org/XML/1998/namespace");

QString twips(double pixels) {
    return QString::number(std::lround(Units::twipsFromPoints(Units::pointsFromPixels(pixels))));
}

// Space around a paragraph and between its lines, as far as the paragraph sets them.
void writeSpacing(QXmlStreamWriter& xml, const QTextBlockFormat& format) {
    const bool margins = format.hasProperty(QTextFormat::BlockTopMargin) ||
                         format.hasProperty(QTextFormat::BlockBottomMargin);
    const int type = format.lineHeightType();
    const bool lines = format.lineHeight() > 0 && (type == QTextBlockFormat::ProportionalHeight ||
                                                   type == QTextBlockFormat::FixedHeight ||
                                                   type == QTextBlockFormat::MinimumHeight);
    if (!margins && !lines)
        return;
    const auto attribute = [&xml](const char* name, const QString& value) {
        xml.writeAttribute(ns::w, QString::fromLatin1(name), value);
    };
    xml.writeStartElement(ns::w, QStringLiteral("spacing"));
    if (margins) {
        attribute("before", twips(std::max(0.0, format.topMargin())));
        attribute("after", twips(std::max(0.0, format.bottomMargin())));
    }
    if (type == QTextBlockFormat::ProportionalHeight && lines) {
        attribute("line", QString::number(std::lround(format.lineHeight() * 240 / 100)));
        attribute("lineRule", QStringLiteral("auto"));
    } else if (lines) {
        attribute("line", twips(format.lineHeight()));
        attribute("lineRule", type == QTextBlockFormat::FixedHeight ? QStringLiteral("exact")
                                                                    : QStringLiteral("atLeast"));
    }
    xml.writeEndElement();
}

QString hex(const QColor& colour) {
    return colour.name(QColor::HexRgb).mid(1).toUpper();
}

std::optional<QString> alignmentOf(Qt::Alignment alignment) {
    if (alignment & Qt::AlignHCenter)
        return QStringLiteral("center");
    if (alignment & Qt::AlignJustify)
        return QStringLiteral("both");
    if (alignment & (Qt::AlignRight | Qt::AlignTrailing))
        return QStringLiteral("right");
    return std::nullopt;
}

QString fontFamilyOf(const QTextCharFormat& format) {
    const QStringList families = format.fontFamilies().toStringList();
    return Docx::xmlSafe(families.isEmpty() ? format.stringProperty(QTextFormat::FontFamily)
                                            : families.first());
}

struct Media {
    std::string part; // "word/media/image1.png"
    QByteArray bytes;
};

// Writes word/document.xml and collects what it refers to: relationships, media, lists.
class BodyWriter {
public:
    BodyWriter(const QTextDocument& document, PageSize paper)
        : document_(document)
        , paper_(paper)
        , textWidthTwips_(Units::twipsFromPoints(paper.widthInPoints()) - 2 * marginTwips)
        , bodyXml_(&output_) {}

    QByteArray write();
    // footnotes.xml or endnotes.xml, or nothing when the document has no such notes.
    QByteArray writeNotes(DocumentNotes::Kind kind);

    std::vector<Docx::Relationship> relationships;
    std::vector<Media> media;
    std::vector<Docx::ListDefinition> lists;

private:
    void startPart();
    void writeFrame(const QTextFrame& frame, int nesting);
    void writeChildFrame(const QTextFrame& frame, int nesting);
    void writeTable(const QTextTable& table, int nesting);
    void writeCell(const QTextTable& table, int row, int column, int nesting);
    void writeFlattened(const QTextFrame& frame);
    void writeBlock(const QTextBlock& block);
    void writeParagraphProperties(const QTextBlock& block);
    void writeFragment(const QTextFragment& fragment, bool heading);
    void writeNoteMark(const QTextCharFormat& format, DocumentNotes::Note note);
    void findNotes();
    void writeRunProperties(const QTextCharFormat& format, bool heading);
    void writeText(const QString& text);
    void writeImage(const QTextImageFormat& format);
    void startLink(const QString& href);
    int numIdOf(const QTextList& list);
    QString addRelationship(const QString& type, const QString& target, bool external);

    const QTextDocument& document_;
    PageSize paper_;
    double textWidthTwips_;
    QByteArray output_;
    QXmlStreamWriter bodyXml_;
    QXmlStreamWriter* xml_ = &bodyXml_; // the part being written
    // The paragraphs of each note's text, written into their own parts after the body.
    std::vector<std::pair<DocumentNotes::Note, QTextBlock>> noteBlocks_;
    std::set<std::pair<DocumentNotes::Kind, int>> notesWithText_;
    bool writingNotes_ = false;
    std::map<const QTextList*, int> numIds_;
    std::map<QString, QString> imageIds_; // resource name to relationship id
    std::map<QString, QString> linkIds_;  // URL to relationship id
    int drawings_ = 0;
};

QByteArray BodyWriter::write() {
    relationships = {
        {QStringLiteral("rId1"), Ooxml::relationship::styles, QStringLiteral("styles.xml"), false},
        {QStringLiteral("rId2"), Ooxml::relationship::numbering, QStringLiteral("numbering.xml"),
         false}};
    findNotes();
    startPart();
    xml_->writeStartElement(ns::w, QStringLiteral("document"));
    xml_->writeStartElement(ns::w, QStringLiteral("body"));
    writeFrame(*document_.rootFrame(), 0);
    xml_->writeStartElement(ns::w, QStringLiteral("sectPr"));
    const auto twips = [](double points) {
        return QString::number(std::lround(Units::twipsFromPoints(points)));
    };
    writeEmpty(*xml_, "pgSz",
               {{"w", twips(paper_.widthInPoints())}, {"h", twips(paper_.heightInPoints())}});
    const QString inch = QString::number(marginTwips);
    writeEmpty(*xml_, "pgMar",
               {{"top", inch},
                {"right", inch},
                {"bottom", inch},
                {"left", inch},
                {"header", QStringLiteral("720")},
                {"footer", QStringLiteral("720")},
                {"gutter", QStringLiteral("0")}});
    xml_->writeEndElement();
    xml_->writeEndDocument();
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

void BodyWriter::writeFrame(const QTextFrame& frame, int nesting) {
    for (auto it = frame.begin(); !it.atEnd(); ++it) {
        if (const QTextFrame* child = it.currentFrame())
            writeChildFrame(*child, nesting + 1);
        else if (it.currentBlock().isValid())
            writeBlock(it.currentBlock());
    }
}

void BodyWriter::writeChildFrame(const QTextFrame& frame, int nesting) {
    if (nesting > maxNesting)
        writeFlattened(frame);
    else if (const auto* table = qobject_cast<const QTextTable*>(&frame))
        writeTable(*table, nesting);
    else
        writeFrame(frame, nesting);
}

void BodyWriter::writeTable(const QTextTable& table, int nesting) {
    const int columns = table.columns();
    const QString columnWidth = QString::number(std::lround(textWidthTwips_ / columns));
    xml_->writeStartElement(ns::w, QStringLiteral("tbl"));
    xml_->writeStartElement(ns::w, QStringLiteral("tblPr"));
    writeEmpty(*xml_, "tblW", {{"w", QStringLiteral("0")}, {"type", QStringLiteral("auto")}});
    xml_->writeStartElement(ns::w, QStringLiteral("tblBorders"));
    for (const char* side : {"top", "left", "bottom", "right", "insideH", "insideV"})
        writeEmpty(*xml_, side,
                   {{"val", QStringLiteral("single")},
                    {"sz", QStringLiteral("4")},
                    {"space", QStringLiteral("0")},
                    {"color", QStringLiteral("auto")}});
    xml_->writeEndElement();
    xml_->writeEndElement();
    xml_->writeStartElement(ns::w, QStringLiteral("tblGrid"));
    for (int column = 0; column < columns; ++column)
        writeEmpty(*xml_, "gridCol", {{"w", columnWidth}});
    xml_->writeEndElement();
    for (int row = 0; row < table.rows(); ++row) {
        xml_->writeStartElement(ns::w, QStringLiteral("tr"));
        for (int column = 0; column < columns;) {
            writeCell(table, row, column, nesting);
            column += std::max(1, table.cellAt(row, column).columnSpan());
        }
        xml_->writeEndElement();
    }
    xml_->writeEndElement();
}

// One w:tc per grid position a cell starts in; the rows a tall cell covers get continuation
// cells, as the format wants every row to fill the grid.
void BodyWriter::writeCell(const QTextTable& table, int row, int column, int nesting) {
    const QTextTableCell cell = table.cellAt(row, column);
    const int span = std::max(1, cell.columnSpan());
    xml_->writeStartElement(ns::w, QStringLiteral("tc"));
    xml_->writeStartElement(ns::w, QStringLiteral("tcPr"));
    writeEmpty(*xml_, "tcW",
               {{"w", QString::number(std::lround(textWidthTwips_ * span / table.columns()))},
                {"type", QStringLiteral("dxa")}});
    if (span > 1)
        writeEmpty(*xml_, "gridSpan", {{"val", QString::number(span)}});
    if (cell.rowSpan() > 1 && cell.row() == row)
        writeEmpty(*xml_, "vMerge", {{"val", QStringLiteral("restart")}});
    else if (cell.row() != row)
        writeEmpty(*xml_, "vMerge");
    xml_->writeEndElement();
    bool endsWithParagraph = false;
    if (cell.row() == row) {
        for (auto it = cell.begin(); !it.atEnd(); ++it) {
            const QTextFrame* child = it.currentFrame();
            if (child != nullptr)
                writeChildFrame(*child, nesting + 1);
            else if (it.currentBlock().isValid())
                writeBlock(it.currentBlock());
            endsWithParagraph = child == nullptr;
        }
    }
    if (!endsWithParagraph)
        xml_->writeEmptyElement(ns::w, QStringLiteral("p")); // a cell must end in a paragraph
    xml_->writeEndElement();
}

// Frames and tables nested too deeply become their paragraphs, in document order.
void BodyWriter::writeFlattened(const QTextFrame& frame) {
    for (QTextBlock block = document_.findBlock(frame.firstPosition());
         block.isValid() && block.position() < frame.lastPosition(); block = block.next())
        writeBlock(block);
}

void BodyWriter::writeBlock(const QTextBlock& block) {
    const auto note = DocumentNotes::bodyOf(block.blockFormat());
    if (note && !writingNotes_) {
        noteBlocks_.emplace_back(*note, block);
        return;
    }
    xml_->writeStartElement(ns::w, QStringLiteral("p"));
    writeParagraphProperties(block);
    QString openLink;
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        const QTextFragment fragment = it.fragment();
        if (!fragment.isValid())
            continue;
        const QTextCharFormat format = fragment.charFormat();
        const QString href = format.isAnchor() ? format.anchorHref() : QString();
        if (href != openLink) {
            if (!openLink.isEmpty())
                xml_->writeEndElement();
            if (!href.isEmpty())
                startLink(href);
            openLink = href;
        }
        writeFragment(fragment, block.blockFormat().headingLevel() > 0);
    }
    if (!openLink.isEmpty())
        xml_->writeEndElement();
    xml_->writeEndElement();
}

void BodyWriter::writeParagraphProperties(const QTextBlock& block) {
    const QTextBlockFormat format = block.blockFormat();
    xml_->writeStartElement(ns::w, QStringLiteral("pPr"));
    if (const int level = format.headingLevel(); level >= 1 && level <= 6)
        writeEmpty(*xml_, "pStyle", {{"val", QStringLiteral("Heading%1").arg(level)}});
    if (format.pageBreakPolicy() & QTextFormat::PageBreak_AlwaysBefore)
        writeEmpty(*xml_, "pageBreakBefore");
    const QTextList* list = block.textList();
    if (list != nullptr) {
        xml_->writeStartElement(ns::w, QStringLiteral("numPr"));
        const int level = std::clamp(list->format().indent() - 1, 0, maxListLevel);
        writeEmpty(*xml_, "ilvl", {{"val", QString::number(level)}});
        writeEmpty(*xml_, "numId", {{"val", QString::number(numIdOf(*list))}});
        xml_->writeEndElement();
    }
    writeSpacing(*xml_, format);
    const double left = format.leftMargin() + format.indent() * document_.indentWidth();
    const double first = format.textIndent();
    if (list == nullptr && (left != 0 || first != 0)) {
        if (first < 0)
            writeEmpty(*xml_, "ind", {{"left", twips(left)}, {"hanging", twips(-first)}});
        else
            writeEmpty(*xml_, "ind", {{"left", twips(left)}, {"firstLine", twips(first)}});
    }
    if (const auto alignment = alignmentOf(format.alignment()))
        writeEmpty(*xml_, "jc", {{"val", *alignment}});
    xml_->writeEndElement();
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
        writeEmpty(*xml_, "color", {{"val", hex(format.foreground().color())}});
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
                    {"fill", hex(format.background().color())}});
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

int BodyWriter::numIdOf(const QTextList& list) {
    int& id = numIds_[&list];
    if (id == 0) {
        lists.push_back(
            {list.format().style(), std::clamp(list.format().indent() - 1, 0, maxListLevel)});
        id = static_cast<int>(lists.size());
    }
    return id;
}

QString BodyWriter::addRelationship(const QString& type, const QString& target, bool external) {
    const QString id = QStringLiteral("rId%1").arg(relationships.size() + 1);
    relationships.push_back({id, type, target, external});
    return id;
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
        media.push_back({"word/media/" + fileName.toStdString(), image.bytes});
        id =
            addRelationship(Ooxml::relationship::image, QStringLiteral("media/") + fileName, false);
    }
    writeInlinePicture(*xml_, {id, ++drawings_, cx, cy});
}

} // namespace

QByteArray writeDocx(const QTextDocument& document, PageSize paper) {
    BodyWriter body(document, paper);
    const QByteArray content = body.write();
    std::vector<std::pair<QString, QByteArray>> notes;
    for (const auto& [kind, name] :
         {std::pair{DocumentNotes::Kind::footnote, QStringLiteral("footnotes")},
          std::pair{DocumentNotes::Kind::endnote, QStringLiteral("endnotes")}}) {
        if (QByteArray part = body.writeNotes(kind); !part.isEmpty())
            notes.emplace_back(name, std::move(part));
    }
    QStringList noteParts;
    for (const auto& [name, part] : notes)
        noteParts << name;
    // Notes refer to pictures and links by the ids of the body, so they share its relationships.
    const QByteArray relationships = Docx::relationshipsPart(body.relationships);
    ZipBuilder zip;
    zip.add("[Content_Types].xml", Docx::contentTypesPart(noteParts));
    zip.add("_rels/.rels", Docx::packageRelationshipsPart());
    zip.add("word/document.xml", content);
    zip.add("word/_rels/document.xml.rels", relationships);
    for (const auto& [name, part] : notes) {
        zip.add("word/" + name.toStdString() + ".xml", part);
        zip.add("word/_rels/" + name.toStdString() + ".xml.rels", relationships);
    }
    zip.add("word/styles.xml", Docx::stylesPart(document.defaultFont()));
    zip.add("word/numbering.xml", Docx::numberingPart(body.lists));
    for (const Media& image : body.media)
        zip.add(image.part, image.bytes);
    return zip.finish();
}

} // namespace kelvane::DocumentFormats
