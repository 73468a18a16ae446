#include "documents/DocumentFormats.h"

#include <QTextDocument>

#include <stdexcept>

namespace kelvane::DocumentFormats {

std::unique_ptr<QTextDocument> readOdt(const std::filesystem::path&) {
    throw std::runtime_error("OdtReader is not built yet");
}

} // namespace kelvane::DocumentFormats
