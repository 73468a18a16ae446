#include "documents/DocumentFormats.h"

#include <QBuffer>
#include <QTextDocument>
#include <QTextDocumentWriter>

#include <stdexcept>

namespace kelvane::DocumentFormats {

QByteArray writeOdt(const QTextDocument& document) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QTextDocumentWriter writer(&buffer, "odf");
    if (!writer.write(&document))
        throw std::runtime_error("the OpenDocument writer failed");
    return bytes;
}

} // namespace kelvane::DocumentFormats
