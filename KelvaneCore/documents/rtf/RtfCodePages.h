#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringDecoder>

#include <map>

namespace kelvane::Rtf {

constexpr int defaultCodePage = 1252;

// The Windows code page a font's \fcharset stands for; `documentCodePage` for the charsets
// that mean "whatever the document uses".
int codePageOfCharset(int charset, int documentCodePage);

// Turns \'hh bytes and literal text into Unicode. Windows-1252 is decoded here; other code
// pages go through the converters Qt finds by name, and fall back to Windows-1252.
class CodePageDecoder {
public:
    QString decode(QByteArrayView bytes, int codePage);

private:
    QStringDecoder* converter(int codePage);

    std::map<int, QStringDecoder> converters_;
};

} // namespace kelvane::Rtf
