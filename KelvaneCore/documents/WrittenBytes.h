#pragma once

#include <QBuffer>
#include <QByteArray>

namespace kelvane::DocumentFormats {

// What a writer that writes into a device writes, as bytes in memory.
template <typename Write> QByteArray writtenBytes(const Write& write) {
    QByteArray bytes;
    QBuffer output(&bytes);
    output.open(QIODevice::WriteOnly);
    write(output);
    return bytes;
}

} // namespace kelvane::DocumentFormats
