#pragma once

#include "documents/DocumentNotes.h"
#include "documents/odt/OdtMasterPages.h"
#include "documents/odt/OdtWriterStyles.h"

#include <QByteArray>
#include <QString>
#include <QTextBlock>
#include <QTextFrame>
#include <QTextImageFormat>
#include <QXmlStreamWriter>

#include <map>
#include <set>
#include <utility>
#include <vector>

class QTextDocument;
class QTextFragment;
class QTextImageFormat;
class QTextList;
class QTextTable;

namespace kelvane::Odt {

// A picture the body refers to, stored in the package under `path`. Its bytes are fetched
// again when the package is put together, so that no more than one picture is held at a time.
struct Picture {
    QString path; // "Pictures/image1.png"
    QString mediaType;
    QTextImageFormat image;
};

// Writes the children of office:text for a document, collecting the automatic styles and
// pictures they refer to.
class BodyWriter {
public:
    BodyWriter(const QTextDocument& document, AutomaticStyles& styles, MasterPages& pages);

    QByteArray write();
    const std::vector<Picture>& pictures() const { return pictures_; }

private:
    // A text:list that is open, with its current text:list-item. Lists that skip levels sit
    // inside `wrappers` items that hold nothing but the next list.
    struct OpenList {
        const QTextList* list = nullptr;
        int level = 1;
        int wrappers = 0;
    };

    void writeContents(QTextFrame::iterator it, int depth);
    void writeFrame(const QTextFrame& frame, int depth);
    void writeFlattened(const QTextFrame& frame);
    void writeTable(const QTextTable& table, int depth);
    void writeCell(const QTextTable& table, int row, int column, int depth);
    void writeBlock(const QTextBlock& block);
    void enterList(const QTextBlock& block);
    void openList(const QTextBlock& block, const QTextList& list, int level);
    void closeLists(std::size_t keep);
    ListLevels levelsFrom(const QTextBlock& block) const;
    void writeInline(const QTextBlock& block, int headingLevel);
    void writeRun(QStringView text, const AutomaticStyles::TextStyle& style, bool endsParagraph);
    void writeText(QStringView text, bool endsParagraph);
    void writeSpaces(int count);
    void writeImage(const QTextImageFormat& format);
    void writeNote(DocumentNotes::Note note, const QString& citation);

    const QTextDocument& document_;
    AutomaticStyles& styles_;
    MasterPages& pages_;
    QByteArray output_;
    QXmlStreamWriter xml_;
    QString paragraphStyle_ = QStringLiteral("Standard");
    std::vector<OpenList> lists_;
    std::set<const QTextList*> listsSeen_;
    std::vector<Picture> pictures_;
    std::map<QString, QString> picturePaths_; // image resource name to picture path
    bool afterText_ = false;                  // a literal space here would be kept by readers
    // The paragraphs of each note's text, written inside the note where the text refers to it.
    std::map<std::pair<DocumentNotes::Kind, int>, std::vector<QTextBlock>> noteBodies_;
    bool writingNote_ = false;
    int tables_ = 0;
    int frames_ = 0;
};

} // namespace kelvane::Odt
