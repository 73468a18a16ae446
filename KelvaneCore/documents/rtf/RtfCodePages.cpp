#include "documents/rtf/RtfCodePages.h"

#include <array>
#include <utility>

namespace kelvane::Rtf {
namespace {

// Windows-1252 differs from Latin-1 only in 0x80-0x9F; the five unassigned bytes show nothing.
constexpr std::array<char16_t, 32> windows1252High = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// A document names a handful of code pages; a file naming thousands gets Windows-1252.
constexpr std::size_t maxConverters = 32;

QString decodeWindows1252(QByteArrayView bytes) {
    QString text;
    text.reserve(bytes.size());
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        const char16_t unit = code >= 0x80 && code < 0xA0 ? windows1252High[code - 0x80] : code;
        if (unit != 0)
            text.append(QChar(unit));
    }
    return text;
}

QByteArray converterName(int codePage) {
    switch (codePage) {
    case 932:
        return "Shift_JIS";
    case 936:
        return "GBK";
    case 949:
        return "windows-949";
    case 950:
        return "Big5";
    case 10000:
        return "macintosh";
    case 65001:
        return "UTF-8";
    default:
        return codePage < 1000 ? "IBM" + QByteArray::number(codePage)
                               : "windows-" + QByteArray::number(codePage);
    }
}

} // namespace

int codePageOfCharset(int charset, int documentCodePage) {
    static constexpr std::pair<int, int> table[] = {
        {0, 1252},   {2, 1252},   {77, 10000}, {128, 932},  {129, 949},  {134, 936},
        {136, 950},  {161, 1253}, {162, 1254}, {163, 1258}, {177, 1255}, {178, 1256},
        {186, 1257}, {204, 1251}, {222, 874},  {238, 1250}, {255, 437},
    };
    for (const auto& [set, codePage] : table) {
        if (set == charset)
            return codePage;
    }
    return documentCodePage;
}

QString CodePageDecoder::decode(QByteArrayView bytes, int codePage) {
    if (codePage == defaultCodePage)
        return decodeWindows1252(bytes);
    QStringDecoder* decoder = converter(codePage);
    if (!decoder)
        return decodeWindows1252(bytes);
    decoder->resetState();
    return decoder->decode(bytes);
}

QStringDecoder* CodePageDecoder::converter(int codePage) {
    auto found = converters_.find(codePage);
    if (found == converters_.end()) {
        if (converters_.size() >= maxConverters)
            return nullptr;
        QStringDecoder decoder(converterName(codePage).constData());
        found = converters_.emplace(codePage, std::move(decoder)).first;
    }
    return found->second.isValid() ? &found->second : nullptr;
}

} // namespace kelvane::Rtf
