#include "documents/DocumentFilling.h"
#include "documents/DocumentFormats.h"
#include "documents/rtf/RtfReading.h"

#include <QTextDocument>

#include <stdexcept>

namespace kelvane::DocumentFormats {

std::unique_ptr<QTextDocument> readRtf(const QByteArray& rtf,
                                       const std::filesystem::path& attachments) {
    if (rtf.size() > maxSourceBytes)
        throw std::runtime_error("the RTF file is too large");
    if (!rtf.startsWith("{\\rtf"))
        throw std::runtime_error("not an RTF document");
    auto document = std::make_unique<QTextDocument>();
    {
        const DocumentFilling filling(*document);
        Rtf::Reader(rtf, attachments, *document).read();
    }
    return document;
}

std::unique_ptr<QTextDocument> readRtfd(const std::filesystem::path& package) {
    const auto text = Rtf::attachmentPath(package, QStringLiteral("TXT.rtf"));
    if (!text)
        throw std::runtime_error("the RTFD package holds no TXT.rtf");
    return readRtf(readSource(*text), package);
}

} // namespace kelvane::DocumentFormats
