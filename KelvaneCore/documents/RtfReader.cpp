#include "documents/DocumentFormats.h"

#include <QTextDocument>

#include <stdexcept>

namespace kelvane::DocumentFormats {

std::unique_ptr<QTextDocument> readRtf(const QByteArray&, const std::filesystem::path&) {
    throw std::runtime_error("RtfReader is not built yet");
}

} // namespace kelvane::DocumentFormats

namespace kelvane::DocumentFormats {

std::unique_ptr<QTextDocument> readRtfd(const std::filesystem::path&) {
    throw std::runtime_error("RtfReader is not built yet");
}

} // namespace kelvane::DocumentFormats
