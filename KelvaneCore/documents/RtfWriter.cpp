#include "documents/DocumentFormats.h"

#include <QTextDocument>

#include <stdexcept>

namespace kelvane::DocumentFormats {

QByteArray writeRtf(const QTextDocument&) {
    throw std::runtime_error("RtfWriter is not built yet");
}

} // namespace kelvane::DocumentFormats
