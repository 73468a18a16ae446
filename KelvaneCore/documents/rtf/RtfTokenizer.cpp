#include "documents/rtf/RtfTokenizer.h"

#include <algorithm>
#include <limits>

namespace kelvane::Rtf {
namespace {

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

int hexValue(char c) {
    if (isDigit(c))
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

Token token(Token::Type type, QByteArrayView bytes = {}) {
    Token made;
    made.type = type;
    made.bytes = bytes;
    return made;
}

} // namespace

Token Tokenizer::next() {
    while (!atEnd()) {
        const char c = peek();
        if (c == '\r' || c == '\n') {
            ++position_;
            continue;
        }
        if (c == '{' || c == '}') {
            ++position_;
            return token(c == '{' ? Token::Type::GroupStart : Token::Type::GroupEnd);
        }
        if (c == '\\')
            return control();
        return text();
    }
    return {};
}

Token Tokenizer::control() {
    ++position_; // the backslash
    if (atEnd())
        return {};
    const char c = peek();
    if (isLetter(c))
        return word();
    ++position_;
    if (c == '\'')
        return hexByte();
    if (c == '\r' || c == '\n') // an escaped line end is an old spelling of \par
        return token(Token::Type::Word, "par");
    Token symbol = token(Token::Type::Symbol);
    symbol.value = static_cast<unsigned char>(c);
    return symbol;
}

Token Tokenizer::word() {
    const qsizetype start = position_;
    while (!atEnd() && isLetter(peek()))
        ++position_;
    Token found = token(Token::Type::Word, source_.sliced(start, position_ - start));

    const bool negative = !atEnd() && peek() == '-' && position_ + 1 < source_.size() &&
                          isDigit(source_[position_ + 1]);
    if (negative)
        ++position_;
    long long value = 0;
    while (!atEnd() && isDigit(peek())) {
        // Real parameters are 16 or 32 bits; longer digit runs saturate instead of overflowing.
        value = std::min<long long>(value * 10 + (peek() - '0'), std::numeric_limits<int>::max());
        found.hasParameter = true;
        ++position_;
    }
    found.parameter = static_cast<int>(negative ? -value : value);
    if (!atEnd() && peek() == ' ')
        ++position_;
    if (found.bytes == "bin" && found.hasParameter)
        return binary(found.parameter);
    return found;
}

Token Tokenizer::hexByte() {
    const int high = position_ + 2 <= source_.size() ? hexValue(source_[position_]) : -1;
    const int low = high >= 0 ? hexValue(source_[position_ + 1]) : -1;
    if (low < 0) // a malformed escape shows nothing: the reader ignores this symbol
        return token(Token::Type::Symbol);
    position_ += 2;
    Token hex = token(Token::Type::HexByte);
    hex.value = static_cast<unsigned char>(high * 16 + low);
    return hex;
}

Token Tokenizer::text() {
    const qsizetype start = position_;
    while (!atEnd()) {
        const char c = peek();
        if (c == '\\' || c == '{' || c == '}' || c == '\r' || c == '\n')
            break;
        ++position_;
    }
    return token(Token::Type::Text, source_.sliced(start, position_ - start));
}

Token Tokenizer::binary(int length) {
    const qsizetype available = source_.size() - position_;
    const qsizetype taken = std::clamp<qsizetype>(length, 0, available);
    Token data = token(Token::Type::Binary, source_.sliced(position_, taken));
    position_ += taken;
    return data;
}

} // namespace kelvane::Rtf
