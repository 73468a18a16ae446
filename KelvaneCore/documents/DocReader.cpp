#include "documents/DocumentFormats.h"

#include <QTextDocument>

#include <stdexcept>

namespace kelvane::DocumentFormats {

std::unique_ptr<QTextDocument> readDoc(const std::filesystem::path&) {
    throw std::runtime_error("DocReader is not built yet");
}

} // namespace kelvane::DocumentFormats
