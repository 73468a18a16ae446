#pragma once

#include <QByteArray>
#include <QList>

#include <cstdint>

// Structure-aware inputs for the document readers: fuzzing a deflated package mostly
// exercises checksum failures, so these targets take the XML parts themselves, separated by
// two NUL bytes (which no XML text contains), and wrap them in a valid package.
namespace kelvane::fuzz {

inline const QByteArray partSeparator("\0\0", 2);

// Always `count` parts: missing ones are empty, extra separators stay in the last part.
inline QList<QByteArray> splitParts(const std::uint8_t* data, std::size_t size, int count) {
    const QByteArray input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QList<QByteArray> parts;
    qsizetype from = 0;
    while (parts.size() + 1 < count) {
        const qsizetype separator = input.indexOf(partSeparator, from);
        if (separator < 0)
            break;
        parts.append(input.mid(from, separator - from));
        from = separator + partSeparator.size();
    }
    parts.append(from <= input.size() ? input.mid(from) : QByteArray());
    while (parts.size() < count)
        parts.append(QByteArray());
    return parts;
}

inline QByteArray joinParts(const QList<QByteArray>& parts) {
    return parts.join(partSeparator);
}

} // namespace kelvane::fuzz
