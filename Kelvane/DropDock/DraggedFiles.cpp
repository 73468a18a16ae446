#include "DropDock/DraggedFiles.h"

#include <QByteArrayView>

#include <algorithm>
#include <optional>

namespace kelvane {
namespace {

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Spaces and control characters must be escaped in a URL.
bool isUnencoded(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte <= 0x20 || byte == 0x7f;
}

int hexValue(char c) {
    if (c <= '9')
        return c - '0';
    return (c | 0x20) - 'a' + 10;
}

// The bytes `encoded` stands for; none when an escape is broken or names a zero byte,
// which no path can hold.
std::optional<std::string> percentDecoded(QByteArrayView encoded) {
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(encoded.size()));
    for (qsizetype i = 0; i < encoded.size(); ++i) {
        const char c = encoded[i];
        if (c != '%') {
            bytes += c;
            continue;
        }
        if (i + 2 >= encoded.size() || !isHexDigit(encoded[i + 1]) || !isHexDigit(encoded[i + 2]))
            return std::nullopt;
        const char byte =
            static_cast<char>(hexValue(encoded[i + 1]) * 16 + hexValue(encoded[i + 2]));
        if (byte == '\0')
            return std::nullopt;
        bytes += byte;
        i += 2;
    }
    return bytes;
}

// The path of one "file:" URL of this machine: "file:///p", "file://localhost/p" or
// "file:/p"; none for anything else.
std::optional<std::string> localPath(QByteArrayView url) {
    constexpr QByteArrayView scheme("file:");
    if (url.size() < scheme.size() ||
        url.first(scheme.size()).compare(scheme, Qt::CaseInsensitive) != 0)
        return std::nullopt;
    QByteArrayView rest = url.sliced(scheme.size());
    if (rest.startsWith("//")) {
        const qsizetype slash = rest.indexOf('/', 2);
        if (slash < 0)
            return std::nullopt;
        const QByteArrayView host = rest.sliced(2, slash - 2);
        if (!host.isEmpty() && host.compare("localhost", Qt::CaseInsensitive) != 0)
            return std::nullopt; // another machine's file
        rest = rest.sliced(slash);
    }
    // A query or fragment is no part of a file's path; sources escape these characters in
    // names.
    for (const char stop : {'?', '#'})
        if (const qsizetype at = rest.indexOf(stop); at >= 0)
            rest = rest.first(at);
    if (!rest.startsWith('/') || std::any_of(rest.begin(), rest.end(), isUnencoded))
        return std::nullopt;
    return percentDecoded(rest);
}

} // namespace

std::vector<std::filesystem::path> draggedFiles(const QByteArray& uriList) {
    std::vector<std::filesystem::path> files;
    qsizetype start = 0;
    while (start < uriList.size()) {
        qsizetype end = uriList.indexOf('\n', start);
        if (end < 0)
            end = uriList.size();
        const QByteArrayView line = QByteArrayView(uriList).sliced(start, end - start).trimmed();
        start = end + 1;
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        if (auto path = localPath(line))
            files.emplace_back(std::move(*path));
    }
    return files;
}

} // namespace kelvane
