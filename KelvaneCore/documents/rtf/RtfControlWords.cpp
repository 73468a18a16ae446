#include "documents/DocumentNotes.h"
#include "documents/rtf/RtfReading.h"

#include <algorithm>
#include <utility>

namespace kelvane::Rtf {
namespace {

constexpr std::size_t maxFonts = 4096;
constexpr std::size_t maxFields = 100000;
constexpr std::size_t maxListLevels = 9;
constexpr int maxIndentTwips = 31680; // 22 inches, wider than any page
constexpr int maxUnicodeSkip = 16;
constexpr qsizetype maxNoteText = 1 << 20;

int boundedTwips(int twips) {
    return std::clamp(twips, -maxIndentTwips, maxIndentTwips);
}

} // namespace

void Reader::controlWord(const Token& token) {
    const KeywordInfo info = keywordOf(token.bytes);
    if (ignorable_) {
        ignorable_ = false;
        flushText();
        if (!enterDestination(info))
            skipDepth_ = 1; // an optional destination this reader does not know
        return;
    }
    switch (info.keyword) {
    case Keyword::Unicode:
        // Parameters are signed 16-bit; astral characters arrive as two surrogates.
        appendCharacter(static_cast<char32_t>(token.parameter) & 0xFFFF);
        fallbackToSkip_ = state().unicodeSkip;
        return;
    case Keyword::UnicodeSkip:
        state().unicodeSkip = std::clamp(token.parameter, 0, maxUnicodeSkip);
        return;
    case Keyword::Character:
        appendCharacter(static_cast<char32_t>(info.value));
        return;
    default:
        break;
    }
    flushText();
    if (enterDestination(info))
        return;
    switch (state().destination) {
    case Destination::Body:
    case Destination::ListText:
    case Destination::FieldInstruction:
        return bodyWord(info, token);
    case Destination::FontTable:
        return fontTableWord(info, token);
    case Destination::ColorTable:
        return colorTableWord(info, token);
    case Destination::ListTable:
        return listTableWord(info, token);
    case Destination::ListOverrideTable:
        return listOverrideWord(info, token);
    case Destination::LevelText:
        return;
    case Destination::Numbering:
        return numberingWord(info, token);
    case Destination::Picture:
    case Destination::Graphic:
        return pictureWord(info, token);
    case Destination::Margin:
        return marginWord(info);
    case Destination::PictureProperties:
    case Destination::ShapeProperty:
    case Destination::PropertyName:
    case Destination::PropertyValue:
        return;
    case Destination::Footnote:
        if (info.keyword == Keyword::Paragraph && notes_.back().text.size() < maxNoteText)
            notes_.back().text += u' ';
        else if (info.keyword == Keyword::Endnote)
            notes_.back().endnote = true;
        return;
    }
}

bool Reader::enterDestination(KeywordInfo info) {
    const Keyword keyword = info.keyword;
    State& current = state();
    switch (keyword) {
    case Keyword::FontTable:
        current.destination = Destination::FontTable;
        return true;
    case Keyword::ColorTable:
        current.destination = Destination::ColorTable;
        return true;
    case Keyword::ListTable:
        current.destination = Destination::ListTable;
        return true;
    case Keyword::ListOverrideTable:
        current.destination = Destination::ListOverrideTable;
        return true;
    case Keyword::Picture:
    case Keyword::Graphic:
        picture_ = {};
        current.destination =
            keyword == Keyword::Picture ? Destination::Picture : Destination::Graphic;
        return true;
    case Keyword::Field:
        current.field = -1;
        if (fields_.size() < maxFields) {
            fields_.emplace_back();
            current.field = static_cast<int>(fields_.size() - 1);
        }
        return true;
    case Keyword::FieldInstruction:
        current.destination = Destination::FieldInstruction;
        return true;
    case Keyword::FieldResult: {
        // A result shows where its field stands: in the text, a note or a header.
        if (current.destination != Destination::Margin &&
            current.destination != Destination::Footnote)
            current.destination = Destination::Body;
        const Field* field =
            current.field >= 0 ? &fields_[static_cast<std::size_t>(current.field)] : nullptr;
        if (field && field->pageNumber)
            skipDepth_ = 1; // the page's own number stands in for it
        else if (field && !field->href.isEmpty())
            current.link = current.field;
        return true;
    }
    case Keyword::Header:
        if (current.destination != Destination::Body)
            skipDepth_ = 1;
        else
            startMargin(static_cast<MarginKind>(info.value));
        return true;
    case Keyword::LevelText:
        if (current.destination != Destination::ListTable)
            return false;
        current.destination = Destination::LevelText;
        levelText_.clear();
        return true;
    case Keyword::ListText:
        current.destination = Destination::ListText;
        listTextSeen_ = true;
        return true;
    case Keyword::Numbering:
        current.destination = Destination::Numbering;
        numbering_ = {true, 1, decimalNumbers};
        return true;
    case Keyword::Footnote:
        if (notes_.size() >= maxFields || current.destination != Destination::Body) {
            skipDepth_ = 1;
            return true;
        }
        notes_.emplace_back();
        notes_.back().mark = std::exchange(lastMark_, {});
        current.destination = Destination::Footnote;
        return true;
    case Keyword::PictureProperties:
    case Keyword::ShapeProperty:
    case Keyword::PropertyName:
    case Keyword::PropertyValue:
        return enterPictureProperty(keyword);
    case Keyword::PassThrough:
        return true;
    case Keyword::Skipped:
        skipDepth_ = 1;
        return true;
    default:
        return false;
    }
}

void Reader::bodyWord(KeywordInfo info, const Token& token) {
    if (!characterWord(info, token) && !paragraphWord(info, token) && !tableWord(info, token) &&
        !sectionWord(info, token))
        documentWord(info, token);
}

void Reader::documentWord(KeywordInfo info, const Token& token) {
    switch (info.keyword) {
    case Keyword::CodePage: {
        const int codePage = token.hasParameter ? token.parameter : info.value;
        if (codePage > 0 && codePage < 100000)
            documentCodePage_ = codePage;
        break;
    }
    case Keyword::MacCharset:
        documentCodePage_ = 10000;
        break;
    case Keyword::DefaultFont:
        defaultFont_ = token.parameter;
        break;
    default:
        break;
    }
}

bool Reader::characterWord(KeywordInfo info, const Token& token) {
    const bool on = !token.hasParameter || token.parameter != 0;
    CharacterState& chars = state().chars;
    switch (info.keyword) {
    case Keyword::Plain:
        chars = {};
        break;
    case Keyword::Bold:
        chars.bold = on;
        break;
    case Keyword::Italic:
        chars.italic = on;
        break;
    case Keyword::Underline:
        chars.underline = on;
        break;
    case Keyword::UnderlineNone:
        chars.underline = false;
        break;
    case Keyword::Strike:
        chars.strike = on;
        break;
    case Keyword::Font:
        chars.font = token.parameter;
        break;
    case Keyword::FontSize:
        if (token.parameter > 0)
            chars.halfPoints = std::min(token.parameter, 3276);
        break;
    case Keyword::Foreground:
        chars.foreground = token.parameter;
        break;
    case Keyword::Background:
        chars.background = token.parameter;
        break;
    case Keyword::Superscript:
    case Keyword::Subscript:
        chars.vertical = !on                                  ? QTextCharFormat::AlignNormal
                         : info.keyword == Keyword::Subscript ? QTextCharFormat::AlignSubScript
                                                              : QTextCharFormat::AlignSuperScript;
        break;
    case Keyword::NoSuperSub:
        chars.vertical = QTextCharFormat::AlignNormal;
        break;
    case Keyword::Hidden:
        chars.hidden = on;
        break;
    case Keyword::FootnoteMark: { // the number of the note that follows
        // Whether the note is an endnote shows only inside it: the number is set again once
        // the note is read.
        const QString number = QString::number(notes_.size() + 1);
        const QTextCharFormat mark = DocumentNotes::markFormat(charFormat(), {});
        if (state().destination == Destination::Body && !chars.hidden) {
            builder_.insertText(number, mark, state().paragraph.inTable);
            lastMark_ = {builder_.position() - static_cast<int>(number.size()),
                         static_cast<int>(number.size()), charFormat()};
        }
        break;
    }
    default:
        return false;
    }
    return true;
}

bool Reader::paragraphWord(KeywordInfo info, const Token& token) {
    ParagraphState& paragraph = state().paragraph;
    const bool inBody = state().destination == Destination::Body;
    switch (info.keyword) {
    case Keyword::ParagraphDefaults:
        paragraph = {};
        numbering_ = {};
        break;
    case Keyword::Alignment:
        paragraph.alignment = info.value;
        break;
    case Keyword::LeftIndent:
        paragraph.leftIndent = boundedTwips(token.parameter);
        break;
    case Keyword::RightIndent:
        paragraph.rightIndent = boundedTwips(token.parameter);
        break;
    case Keyword::FirstIndent:
        paragraph.firstIndent = boundedTwips(token.parameter);
        break;
    case Keyword::InTable:
        paragraph.inTable = !token.hasParameter || token.parameter != 0;
        break;
    case Keyword::OutlineLevel:
        paragraph.headingLevel =
            token.parameter >= 0 && token.parameter < 6 ? token.parameter + 1 : 0;
        break;
    case Keyword::ListNumber:
        paragraph.listNumber = std::max(token.parameter, 0);
        break;
    case Keyword::ListNesting:
        paragraph.listNesting = std::clamp(token.parameter, 0, static_cast<int>(maxListLevels) - 1);
        break;
    case Keyword::PageBreakBefore:
        paragraph.pageBreakBefore = !token.hasParameter || token.parameter != 0;
        break;
    case Keyword::SpaceBefore:
        paragraph.spaceBefore = boundedTwips(token.parameter);
        break;
    case Keyword::SpaceAfter:
        paragraph.spaceAfter = boundedTwips(token.parameter);
        break;
    case Keyword::LineSpacing:
        paragraph.lineSpacing = boundedTwips(token.parameter);
        break;
    case Keyword::LineMultiple:
        paragraph.lineMultiple = !token.hasParameter || token.parameter != 0;
        break;
    case Keyword::Paragraph:
        endParagraph();
        break;
    case Keyword::Page:
        if (inBody) {
            if (builder_.paragraphStarted())
                endParagraph();
            builder_.breakPage();
        }
        break;
    default:
        return false;
    }
    return true;
}

void Reader::fontTableWord(KeywordInfo info, const Token& token) {
    if (info.keyword == Keyword::Font) {
        commitFontName();
        if (fonts_.size() < maxFonts || fonts_.count(token.parameter) > 0) {
            definingFont_ = token.parameter;
            fonts_[definingFont_] = {};
        }
    } else if (definingFont_ >= 0 && info.keyword == Keyword::FontCharset) {
        fonts_[definingFont_].codePage = codePageOfCharset(token.parameter, 0);
    } else if (definingFont_ >= 0 && info.keyword == Keyword::FontCodePage && token.parameter > 0 &&
               token.parameter < 100000) {
        fonts_[definingFont_].codePage = token.parameter;
    }
}

void Reader::colorTableWord(KeywordInfo info, const Token& token) {
    const int value = std::clamp(token.parameter, 0, 255);
    if (info.keyword == Keyword::Red)
        red_ = value;
    else if (info.keyword == Keyword::Green)
        green_ = value;
    else if (info.keyword == Keyword::Blue)
        blue_ = value;
    else
        return;
    colorGiven_ = true;
}

void Reader::pictureWord(KeywordInfo info, const Token& token) {
    switch (info.keyword) {
    case Keyword::PictureType:
        picture_.type = info.value;
        break;
    case Keyword::PictureGoalWidth:
    case Keyword::GraphicWidth:
        picture_.goalWidth = token.parameter;
        break;
    case Keyword::PictureGoalHeight:
    case Keyword::GraphicHeight:
        picture_.goalHeight = token.parameter;
        break;
    case Keyword::PictureScaleX:
        picture_.scaleX = std::clamp(token.parameter, 1, 1000);
        break;
    case Keyword::PictureScaleY:
        picture_.scaleY = std::clamp(token.parameter, 1, 1000);
        break;
    default:
        break;
    }
}

} // namespace kelvane::Rtf
