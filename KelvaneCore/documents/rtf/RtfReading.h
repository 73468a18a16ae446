#pragma once

#include "documents/DocumentNotes.h"
#include "documents/ListNumbering.h"
#include "documents/SectionPages.h"
#include "documents/rtf/RtfBuilder.h"
#include "documents/rtf/RtfCodePages.h"
#include "documents/rtf/RtfKeywords.h"
#include "documents/rtf/RtfTokenizer.h"

#include <QColor>
#include <QString>

#include <array>
#include <filesystem>
#include <map>
#include <optional>
#include <vector>

class QTextDocument;

namespace kelvane::Rtf {

// Where the text of a group goes.
enum class Destination {
    Body,
    FontTable,
    ColorTable,
    ListTable,
    ListOverrideTable,
    Picture,
    FieldInstruction,
    ListText,
    LevelText,
    Numbering,
    Graphic,
    Footnote,
    Margin, // a header or footer
    PictureProperties,
    ShapeProperty,
    PropertyName,
    PropertyValue,
};

struct CharacterState {
    int font = -1; // -1: the document's default font
    int halfPoints = 24;
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strike = false;
    bool hidden = false; // \v: read, never shown
    int foreground = 0;  // colour table indexes; 0 is the automatic colour
    int background = 0;
    QTextCharFormat::VerticalAlignment vertical = QTextCharFormat::AlignNormal;
};

struct ParagraphState {
    int alignment = 0;  // 0 left, 1 centre, 2 right, 3 justified
    int leftIndent = 0; // twips
    int rightIndent = 0;
    int firstIndent = 0;
    int headingLevel = 0;
    bool inTable = false;
    bool pageBreakBefore = false;
    int spaceBefore = 0; // twips
    int spaceAfter = 0;
    int lineSpacing = 0; // \sl: 0 single, else as LineSpacing says
    bool lineMultiple = false;
    int listNumber = 0; // \ls, 0 for none
    int listNesting = 0;
};

// Everything a group restores when it closes.
struct State {
    Destination destination = Destination::Body;
    CharacterState chars;
    ParagraphState paragraph;
    int unicodeSkip = 1;
    int field = -1; // the \field whose parts this group holds
    int link = -1;  // the field whose hyperlink this group's text carries
};

struct Font {
    QString name;
    int codePage = 0; // 0: the document's code page
};

struct Field {
    QString instruction;
    QString href;
    bool pageNumber = false; // a PAGE field in a header or footer
};

// A section's page as RTF measures it, in twips.
struct PageSetup {
    int width = 12240; // Letter, where the document names no paper
    int height = 15840;
    int left = 1800;
    int right = 1800;
    int top = 1440;
    int bottom = 1440;
    bool landscape = false;
    bool titlePage = false;
    bool facingPages = false;
    bool restartNumbers = false;
    int firstNumber = 1;
};

struct Picture {
    int type = otherPicture;
    QByteArray hex;
    QByteArray binary;
    int goalWidth = 0; // twips
    int goalHeight = 0;
    int scaleX = 100; // percent
    int scaleY = 100;
    QString fileName; // of an RTFD attachment
    QString propertyName;
    QString propertyValue;
    QString description; // the alternative text, shown when the picture cannot be
};

// Old-style paragraph numbering, \pn.
struct Numbering {
    bool active = false;
    int level = 1;
    int format = bullets;
};

// The regular file `name` inside `folder`, or nothing when the name or a symbolic link on
// the way leads out of the folder.
std::optional<std::filesystem::path> attachmentPath(const std::filesystem::path& folder,
                                                    const QString& name);

class Reader {
public:
    Reader(QByteArrayView rtf, std::filesystem::path attachments, QTextDocument& document);

    void read();

private:
    // RtfReader.cpp: tokens, groups and text
    void take(Token token);
    bool skipFallback(Token& token);
    void startGroup();
    bool endGroup();
    void endDestination(const State& ended);
    void symbol(unsigned char value);
    void appendCharacter(char32_t code);
    void decodePending();
    void flushText();
    void deliver(QString text);
    void deliverToBody(QString text);
    void commitFontName();
    void commitColor();
    void finishField(Field& field);
    QTextCharFormat charFormat() const;
    QColor colorAt(int index) const; // invalid for 0, the automatic colour, and unknown ones
    int codePage() const;
    State& state() { return stack_.back(); }
    const State& state() const { return stack_.back(); }

    // RtfControlWords.cpp: what each control word does in each destination
    void controlWord(const Token& token);
    bool enterDestination(KeywordInfo info);
    void documentWord(KeywordInfo info, const Token& token);
    void bodyWord(KeywordInfo info, const Token& token);
    bool characterWord(KeywordInfo info, const Token& token);
    bool paragraphWord(KeywordInfo info, const Token& token);

    // RtfTableWords.cpp: rows, cells and their lines
    bool tableWord(KeywordInfo info, const Token& token);
    void fontTableWord(KeywordInfo info, const Token& token);
    void colorTableWord(KeywordInfo info, const Token& token);
    void listTableWord(KeywordInfo info, const Token& token);
    void listOverrideWord(KeywordInfo info, const Token& token);
    void numberingWord(KeywordInfo info, const Token& token);
    void pictureWord(KeywordInfo info, const Token& token);

    // RtfSections.cpp: pages, section breaks, headers and footers
    bool sectionWord(KeywordInfo info, const Token& token);
    void marginWord(KeywordInfo info);
    void startMargin(MarginKind kind);
    void appendToMargin(const QString& text);
    void endSection();
    void markSections();

    // RtfParagraphs.cpp: what a paragraph turns into when it ends
    void endParagraph();
    void finishWithNotes();
    ParagraphEnd paragraphEnd();
    // The list the paragraph joins, or its label as text where no list can draw it.
    std::optional<ListItem> listItem(ParagraphEnd& end);

    // RtfPictures.cpp
    bool enterPictureProperty(Keyword keyword);
    void finishPicture();
    void finishPictureProperty();
    void finishGraphic();

    Tokenizer tokens_;
    std::filesystem::path attachments_;
    Builder builder_;
    CodePageDecoder decoder_;
    std::vector<State> stack_;
    long long skipDepth_ = 0; // groups open inside a skipped destination
    int fallbackToSkip_ = 0;  // characters after \u that stand in for it
    bool ignorable_ = false;  // \* announced a destination a reader may skip
    bool ended_ = false;      // the outermost group closed

    QByteArray bytes_; // text in the current code page, not yet decoded
    QString text_;     // decoded text not yet placed

    int documentCodePage_ = defaultCodePage;
    int defaultFont_ = 0;
    std::map<int, Font> fonts_;
    int definingFont_ = -1;
    std::vector<QColor> colors_;
    int red_ = 0;
    int green_ = 0;
    int blue_ = 0;
    bool colorGiven_ = false;

    std::map<int, ListNumbering::Levels> lists_; // by \listid
    std::vector<ListNumbering::Level> definingList_;
    QString levelText_;
    ListNumbering::Counter listCounter_; // by \ls
    std::map<int, int> listOverrides_;   // \ls to \listid
    int overriddenList_ = 0;
    Numbering numbering_;
    bool listTextSeen_ = false;
    QString listText_;

    std::vector<Field> fields_;
    // Where the text refers to a note: its number, written before the note says its kind.
    struct NoteMark {
        int position = -1;
        int length = 0;
        QTextCharFormat format;
    };
    struct Note {
        QString text;
        bool endnote = false; // \ftnalt
        NoteMark mark;
        DocumentNotes::Note note;
    };
    void finishNote();
    std::vector<Note> notes_; // in the order the text refers to them
    NoteMark lastMark_;
    int noteCounts_[2] = {0, 0}; // footnotes and endnotes, each numbered on their own
    Picture picture_;
    bool skipAttachmentMark_ = false;

    PageSetup documentPage_;
    PageSetup sectionPage_;
    bool pageGiven_ = false;             // the document or a section says something of its pages
    std::array<QString, 6> margins_;     // the header and footer lines, by MarginKind
    MarginKind marginKind_ = pageHeader; // of the margin text being read
    std::vector<std::pair<int, SectionPages::Page>> sections_; // by their first position
};

} // namespace kelvane::Rtf
