#include "documents/DocumentFormats.h"

#include <QTextDocument>

#include <stdexcept>

namespace kelvane::DocumentFormats {

std::unique_ptr<QTextDocument> readDocx(const std::filesystem::path&) {
    throw std::runtime_error("DocxReader is not built yet");
}

} // namespace kelvane::DocumentFormats
