#include "documents/DocumentFormats.h"
#include "documents/DocumentNotes.h"
#include "documents/rtf/RtfReading.h"

#include <QTextDocument>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace kelvane::Rtf {
namespace {

// Real documents nest a few dozen groups; anything deeper is refused before it costs memory.
constexpr std::size_t maxDepth = 256;
constexpr std::size_t maxColors = 4096;
constexpr qsizetype maxSideText = 4096; // font names, field instructions, list markers

void appendBounded(QString& to, const QString& text) {
    to.append(QStringView(text).first(std::min(text.size(), maxSideText - to.size())));
}

QString quotedOrWord(QStringView& rest) {
    rest = rest.trimmed();
    qsizetype end = 0;
    QString word;
    if (rest.startsWith(u'"')) {
        end = rest.indexOf(u'"', 1);
        if (end < 0)
            end = rest.size();
        word = rest.mid(1, end - 1).toString();
        ++end;
    } else {
        while (end < rest.size() && !rest[end].isSpace())
            ++end;
        word = rest.first(end).toString();
    }
    rest = rest.mid(std::min(end, rest.size()));
    return word;
}

// HYPERLINK "url" with an optional \l "bookmark"; other switches carry no address.
QString hyperlinkTarget(const QString& instruction) {
    QStringView rest = QStringView(instruction).trimmed();
    if (!rest.startsWith(u"HYPERLINK", Qt::CaseInsensitive))
        return {};
    rest = rest.mid(9);
    QString url;
    QString bookmark;
    while (!rest.trimmed().isEmpty()) {
        const QString word = quotedOrWord(rest);
        if (word == u"\\l")
            bookmark = quotedOrWord(rest);
        else if (word == u"\\o" || word == u"\\t")
            quotedOrWord(rest);
        else if (!word.startsWith(u'\\') && url.isEmpty())
            url = word;
    }
    return bookmark.isEmpty() ? url : url + u'#' + bookmark;
}

// \leveltext is its length, then the label: \'00…\'08 stand for the numbers of levels 1-9.
QString patternOf(const QString& levelText) {
    QString pattern;
    const qsizetype length = levelText.isEmpty() ? 0
                                                 : std::min<qsizetype>(levelText.front().unicode(),
                                                                       levelText.size() - 1);
    for (qsizetype at = 1; at <= length; ++at) {
        const char16_t c = levelText.at(at).unicode();
        if (c < ListNumbering::levels)
            pattern += u'%' + QString::number(c + 1);
        else
            pattern += levelText.at(at);
    }
    return pattern;
}

} // namespace

Reader::Reader(QByteArrayView rtf, std::filesystem::path attachments, QTextDocument& document)
    : tokens_(rtf)
    , attachments_(std::move(attachments))
    , builder_(document) {}

void Reader::read() {
    for (Token token = tokens_.next(); token.type != Token::Type::End && !ended_;
         token = tokens_.next())
        take(token);
    // A file cut short closes its open groups, so a half-read picture or table still ends.
    while (!ended_ && !stack_.empty())
        endGroup();
    markSections();
}

void Reader::take(Token token) {
    if (skipDepth_ > 0) {
        if (token.type == Token::Type::GroupStart)
            ++skipDepth_;
        else if (token.type == Token::Type::GroupEnd)
            endGroup();
        return;
    }
    if (!skipFallback(token))
        return;
    switch (token.type) {
    case Token::Type::GroupStart:
        startGroup();
        break;
    case Token::Type::GroupEnd:
        endGroup();
        break;
    case Token::Type::Word:
        controlWord(token);
        break;
    case Token::Type::Symbol:
        symbol(token.value);
        break;
    case Token::Type::HexByte:
        if (state().destination == Destination::LevelText) {
            flushText(); // the length and level placeholders are bytes, not text
            appendBounded(levelText_, QString(QChar(token.value)));
        } else if (state().destination != Destination::Picture) {
            bytes_.append(static_cast<char>(token.value));
        }
        break;
    case Token::Type::Text:
        if (state().destination == Destination::Picture)
            picture_.hex.append(token.bytes);
        else
            bytes_.append(token.bytes);
        break;
    case Token::Type::Binary:
        if (state().destination == Destination::Picture)
            picture_.binary.append(token.bytes);
        break;
    case Token::Type::End:
        break;
    }
}

// After \uN the next \ucN characters are a fallback for readers without Unicode; each byte,
// escape or control word counts as one, and a group boundary ends the fallback.
bool Reader::skipFallback(Token& token) {
    if (fallbackToSkip_ == 0)
        return true;
    if (token.type == Token::Type::GroupStart || token.type == Token::Type::GroupEnd) {
        fallbackToSkip_ = 0;
        return true;
    }
    if (token.type != Token::Type::Text) {
        --fallbackToSkip_;
        return false;
    }
    const qsizetype skipped = std::min<qsizetype>(fallbackToSkip_, token.bytes.size());
    fallbackToSkip_ -= static_cast<int>(skipped);
    token.bytes = token.bytes.sliced(skipped);
    return !token.bytes.isEmpty();
}

void Reader::startGroup() {
    flushText();
    ignorable_ = false; // \* counts only right before a control word
    if (stack_.empty()) {
        stack_.emplace_back();
        return;
    }
    if (stack_.size() >= maxDepth)
        throw std::runtime_error("the RTF groups are nested too deeply");
    stack_.push_back(state());
}

bool Reader::endGroup() {
    if (skipDepth_ > 1) {
        --skipDepth_;
        return true;
    }
    skipDepth_ = 0;
    flushText();
    ignorable_ = false;
    if (stack_.size() <= 1) {
        // The outermost group closed: the document ends here, whatever follows.
        if (!stack_.empty()) {
            endSection();
            finishWithNotes();
        }
        stack_.clear();
        ended_ = true;
        return false;
    }
    const State ended = state();
    stack_.pop_back();
    if (ended.destination != state().destination)
        endDestination(ended);
    return true;
}

void Reader::endDestination(const State& ended) {
    switch (ended.destination) {
    case Destination::FontTable:
        commitFontName();
        break;
    case Destination::FieldInstruction:
        if (ended.field >= 0) {
            Field& field = fields_[static_cast<std::size_t>(ended.field)];
            field.href = hyperlinkTarget(field.instruction);
            field.pageNumber = state().destination == Destination::Margin &&
                               field.instruction.trimmed().startsWith(u"PAGE", Qt::CaseInsensitive);
            if (field.pageNumber)
                appendToMargin(QString(SectionPages::pageNumberMark));
        }
        break;
    case Destination::Picture:
        if (state().destination == Destination::Body)
            finishPicture();
        break;
    case Destination::Graphic:
        if (state().destination == Destination::Body)
            finishGraphic();
        break;
    case Destination::Footnote:
        finishNote();
        break;
    case Destination::PropertyValue:
        finishPictureProperty();
        break;
    case Destination::LevelText:
        if (!definingList_.empty())
            definingList_.back().pattern = patternOf(levelText_);
        break;
    default:
        break;
    }
}

void Reader::symbol(unsigned char value) {
    switch (value) {
    case '*':
        ignorable_ = true;
        return;
    case '~':
        return appendCharacter(0x00A0);
    case '-':
        return appendCharacter(0x00AD);
    case '_':
        return appendCharacter(0x2011);
    case '{':
    case '}':
    case '\\':
        return appendCharacter(value);
    case '\t':
        return appendCharacter('\t');
    default:
        return; // \: index entries, \| formulas and malformed escapes show nothing
    }
}

void Reader::appendCharacter(char32_t code) {
    decodePending();
    text_.append(QChar(static_cast<char16_t>(code)));
}

void Reader::decodePending() {
    if (bytes_.isEmpty())
        return;
    text_.append(decoder_.decode(bytes_, codePage()));
    bytes_.clear();
}

void Reader::flushText() {
    decodePending();
    if (text_.isEmpty())
        return;
    QString text = std::move(text_);
    text_.clear();
    deliver(std::move(text));
}

void Reader::deliver(QString text) {
    switch (state().destination) {
    case Destination::Body:
        return deliverToBody(std::move(text));
    case Destination::FontTable:
        for (const QChar c : text) {
            if (c == u';')
                commitFontName();
            else if (definingFont_ >= 0 && fonts_[definingFont_].name.size() < maxSideText)
                fonts_[definingFont_].name.append(c);
        }
        return;
    case Destination::ColorTable:
        for (qsizetype i = text.count(u';'); i > 0; --i)
            commitColor();
        return;
    case Destination::Footnote:
        if (!state().chars.hidden)
            appendBounded(notes_.back().text, text);
        return;
    case Destination::Margin:
        for (QChar& c : text) // a line of its own: tabs and line breaks are spaces there
            if (c.unicode() < 0x20 || c == QChar(0x2028))
                c = u' ';
        if (!state().chars.hidden)
            appendToMargin(text);
        return;
    case Destination::FieldInstruction:
        if (state().field >= 0)
            appendBounded(fields_[static_cast<std::size_t>(state().field)].instruction, text);
        return;
    case Destination::ListText:
        return appendBounded(listText_, text);
    case Destination::LevelText:
        return appendBounded(levelText_, text);
    case Destination::Graphic:
        return appendBounded(picture_.fileName, text);
    case Destination::PropertyName:
        return appendBounded(picture_.propertyName, text);
    case Destination::PropertyValue:
        return appendBounded(picture_.propertyValue, text);
    default:
        return;
    }
}

void Reader::deliverToBody(QString text) {
    if (skipAttachmentMark_ && text.startsWith(QChar(0x00AC)))
        text.remove(0, 1); // the stand-in character an RTFD package puts after each attachment
    skipAttachmentMark_ = false;
    text.removeIf([](QChar c) { return c.unicode() < 0x20 && c != u'\t'; });
    if (!text.isEmpty() && !state().chars.hidden)
        builder_.insertText(text, charFormat(), state().paragraph.inTable);
}

void Reader::commitFontName() {
    if (definingFont_ < 0)
        return;
    Font& font = fonts_[definingFont_];
    font.name = font.name.trimmed();
    definingFont_ = -1;
}

void Reader::commitColor() {
    if (colors_.size() < maxColors)
        colors_.push_back(colorGiven_ ? QColor(red_, green_, blue_) : QColor());
    red_ = green_ = blue_ = 0;
    colorGiven_ = false;
}

QTextCharFormat Reader::charFormat() const {
    const CharacterState& chars = state().chars;
    QTextCharFormat format;
    const auto font = fonts_.find(chars.font < 0 ? defaultFont_ : chars.font);
    if (font != fonts_.end() && !font->second.name.isEmpty())
        format.setFontFamilies(QStringList{font->second.name});
    format.setFontPointSize(chars.halfPoints / 2.0);
    if (chars.bold)
        format.setFontWeight(QFont::Bold);
    format.setFontItalic(chars.italic);
    format.setFontUnderline(chars.underline);
    format.setFontStrikeOut(chars.strike);
    format.setVerticalAlignment(chars.vertical);
    if (const QColor foreground = colorAt(chars.foreground); foreground.isValid())
        format.setForeground(foreground);
    if (const QColor background = colorAt(chars.background); background.isValid())
        format.setBackground(background);
    if (state().link >= 0) {
        format.setAnchor(true);
        format.setAnchorHref(fields_[static_cast<std::size_t>(state().link)].href);
    }
    return format;
}

QColor Reader::colorAt(int index) const {
    return index > 0 && static_cast<std::size_t>(index) < colors_.size()
               ? colors_[static_cast<std::size_t>(index)]
               : QColor();
}

int Reader::codePage() const {
    const int font = state().destination == Destination::FontTable
                         ? definingFont_
                         : (state().chars.font < 0 ? defaultFont_ : state().chars.font);
    const auto found = fonts_.find(font);
    return found != fonts_.end() && found->second.codePage > 0 ? found->second.codePage
                                                               : documentCodePage_;
}

} // namespace kelvane::Rtf
