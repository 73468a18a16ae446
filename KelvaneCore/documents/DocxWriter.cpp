#include "documents/DocumentFormats.h"

#include <QTextDocument>

#include <stdexcept>

namespace kelvane::DocumentFormats {

QByteArray writeDocx(const QTextDocument&) {
    throw std::runtime_error("DocxWriter is not built yet");
}

} // namespace kelvane::DocumentFormats
