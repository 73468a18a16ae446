#pragma once

#include "documents/DocumentNotes.h"
#include "documents/SectionPages.h"
#include "documents/Units.h"
#include "documents/docx/DocxPackage.h"
#include "options/ConversionOptions.h"

#include <QByteArray>
#include <QColor>
#include <QString>
#include <QTextBlock>
#include <QTextCharFormat>
#include <QTextImageFormat>
#include <QXmlStreamWriter>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

class QTextDocument;
class QTextFragment;
class QTextFrame;
class QTextImageFormat;
class QTextList;
class QTextTable;

namespace kelvane::Docx {

constexpr double marginTwips = 1440; // one inch on every side

// A colour as six hexadecimal digits, "1F4E79".
QString hexOf(const QColor& colour);

// Twips of a length the document model gives in pixels.
QString twipsOf(double pixels);

// A picture of the document, fetched again when the package is put together so that no
// more than one picture's bytes are held at a time.
struct Media {
    std::string part; // "word/media/image1.png"
    QTextImageFormat image;
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
    std::vector<std::pair<QString, QByteArray>> marginParts; // "header1" and its part
    bool evenPagesApart = false; // a section gives even pages lines of their own

private:
    void startPart();
    void writeSections();
    void writeSectionProperties(const std::optional<SectionPages::Page>& page);
    void writeMarginReferences(const SectionPages::Page& page);
    QString marginPartId(const QString& line, bool header);
    void writeFrame(const QTextFrame& frame, int nesting);
    void writeChildFrame(const QTextFrame& frame, int nesting);
    void writeTable(const QTextTable& table, int nesting);
    void writeRow(const QTextTable& table, int row, const std::vector<double>& grid, int nesting);
    // The cell at a row and column of the grid, whose columns are `grid` twips wide.
    void writeCell(const QTextTable& table, std::pair<int, int> place,
                   const std::vector<double>& grid, int nesting);
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
    std::map<std::pair<bool, QString>, QString> marginIds_; // header or footer, line: its id
    // The section the paragraph being written ends, if it ends one.
    const std::optional<SectionPages::Page>* sectionEnding_ = nullptr;
};

} // namespace kelvane::Docx
