#pragma once

#include <QByteArrayView>

namespace kelvane::Rtf {

// The control words the reader acts on. Several words share one keyword and differ in the
// value: the character a symbol word stands for, the numbering format of an old-style \pn
// word, the alignment of \ql..\qj, the kind of picture data.
enum class Keyword {
    Unknown,
    // destinations
    FontTable,
    ColorTable,
    ListTable,
    ListOverrideTable,
    Picture,
    Field,
    FieldInstruction,
    FieldResult,
    ListText,
    LevelText, // \leveltext: a list level's label, its numbers as \'00…\'08
    Numbering,
    Graphic,
    PassThrough, // a group whose contents are ordinary text, e.g. \shppict
    Skipped,     // a group with nothing to show, e.g. \info or \headerl
    Header,      // a header or footer of the section; value: a MarginKind
    // document
    CodePage,
    MacCharset,
    DefaultFont,
    UnicodeSkip,
    Unicode,
    // characters
    Plain,
    Bold,
    Italic,
    Underline,
    UnderlineNone,
    Strike,
    Font,
    FontSize,
    Foreground,
    Background,
    Superscript,
    Subscript,
    NoSuperSub,
    Hidden,
    Character,
    Footnote,     // a note: its text goes to the end of the document
    FootnoteMark, // \chftn, the note's automatic number
    Endnote,      // \ftnalt: the note is an endnote
    PageNumber,   // \chpgn, the number of the page a header is drawn on
    // page and sections; the value says which measure (a PageMeasure)
    DocumentPage,
    SectionPage,
    SectionDefaults,
    SectionBreak, // value 1 when the section starts a page
    // tables of fonts, colours and lists
    FontCharset,
    FontCodePage,
    Red,
    Green,
    Blue,
    List,
    ListLevel,
    LevelNumberFormat,
    LevelStart,
    ListId,
    ListOverride,
    NumberingLevel,
    NumberingFormat,
    // paragraphs
    ParagraphDefaults,
    Alignment,
    LeftIndent,
    RightIndent,
    FirstIndent,
    InTable,
    OutlineLevel,
    ListNumber,
    ListNesting,
    PageBreakBefore,
    SpaceBefore, // twips
    SpaceAfter,
    LineSpacing,  // \sl: twips, at least or (negative) exactly; lines with \slmult1
    LineMultiple, // \slmult
    Paragraph,
    Page,
    Section,
    Cell,
    Row,
    RowDefaults,
    RowLeft,     // \trleft: where the row's first cell starts, in twips
    RowPadding,  // \trpadd*: the room inside its cells at one side; value: a TableLines::Side
    RowGap,      // \trgaph: half the room between cells, their room at each side
    CellPadding, // \clpad*: the next cell's room at one side; value: a TableLines::Side
    CellRight,
    CellMerge,   // value: a CellMerge
    CellBorder,  // names the side the border words after it describe; value: a BorderSide
    BorderStyle, // the line of the side just named; value: a QTextFrameFormat::BorderStyle
    BorderWidth, // \brdrw, twips
    BorderColor, // \brdrcf, a colour table index
    CellShading, // \clcbpat, a colour table index
    HeaderRow,   // \trhdr: the row repeats at the top of every page
    // pictures
    PictureType,
    PictureGoalWidth,
    PictureGoalHeight,
    PictureScaleX,
    PictureScaleY,
    PictureProperties, // \picprop: the picture's shape properties, its description among them
    ShapeProperty,     // \sp: one property, a name \sn and a value \sv
    PropertyName,
    PropertyValue,
    GraphicWidth,
    GraphicHeight,
};

struct KeywordInfo {
    Keyword keyword = Keyword::Unknown;
    int value = 0;
};

// Values of Keyword::PictureType.
constexpr int otherPicture = 0;
constexpr int pngPicture = 1;
constexpr int jpegPicture = 2;
constexpr int windowsMetafile = 3;
constexpr int enhancedMetafile = 4;
constexpr int deviceIndependentBitmap = 5;

// Values of CellBorder: the sides of the next cell, in the order TableLines numbers them, then
// those of the row's cells where they name none of their own.
enum BorderSide {
    cellTop,
    cellLeft,
    cellBottom,
    cellRight,
    rowTop,
    rowLeft,
    rowBottom,
    rowRight,
    rowInsideHorizontal,
    rowInsideVertical,
    borderSides
};

// Values of LevelNumberFormat and NumberingFormat, as \levelnfc spells them.
constexpr int decimalNumbers = 0;
constexpr int upperRomanNumbers = 1;
constexpr int lowerRomanNumbers = 2;
constexpr int upperLetters = 3;
constexpr int lowerLetters = 4;
constexpr int bullets = 23;

// Values of DocumentPage and SectionPage.
enum PageMeasure {
    pageWidth,
    pageHeight,
    leftMargin,
    rightMargin,
    topMargin,
    bottomMargin,
    landscape,
    titlePage,      // the section's first page has a header and footer of its own
    facingPages,    // even pages have a header and footer of their own
    restartNumbers, // the section's pages are numbered afresh
    firstNumber     // from this number
};

// Values of Header.
enum MarginKind { pageHeader, pageFooter, firstHeader, firstFooter, evenHeader, evenFooter };

KeywordInfo keywordOf(QByteArrayView word);

} // namespace kelvane::Rtf
