#pragma once

#include <QByteArrayView>

namespace kelvane::Rtf {

struct Token {
    enum class Type {
        GroupStart,
        GroupEnd,
        Word,    // \name with an optional signed parameter
        Symbol,  // \ followed by one non-letter, e.g. \~ or \{
        HexByte, // \'hh
        Text,    // a run of literal bytes
        Binary,  // the data of \binN
        End,
    };
    Type type = Type::End;
    QByteArrayView bytes; // the control word's name, the text or the binary data
    int parameter = 0;
    bool hasParameter = false;
    unsigned char value = 0; // the symbol or the hex byte
};

// Splits RTF into tokens without any knowledge of groups or destinations, so nesting costs
// nothing here. Line ends in the source are not text and never reach the reader.
class Tokenizer {
public:
    explicit Tokenizer(QByteArrayView source)
        : source_(source) {}

    Token next();

private:
    Token control();
    Token word();
    Token hexByte();
    Token text();
    Token binary(int length);
    bool atEnd() const { return position_ >= source_.size(); }
    char peek() const { return source_[position_]; }

    QByteArrayView source_;
    qsizetype position_ = 0;
};

} // namespace kelvane::Rtf
