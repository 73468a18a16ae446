#include "documents/DocumentFormats.h"

#include <QFile>
#include <QStringDecoder>
#include <QTextDocument>

#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace kelvane::DocumentFormats {

QByteArray readSource(const std::filesystem::path& file) {
    // Opened by its bytes: a name that is not UTF-8 would not survive a trip through QString.
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    QFile source;
    if (descriptor < 0 ||
        !source.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        if (descriptor >= 0)
            ::close(descriptor);
        throw std::runtime_error("cannot open the file");
    }
    if (source.isSequential() || source.size() > maxSourceBytes)
        throw std::runtime_error("not a regular file of a readable size");
    QByteArray bytes = source.readAll();
    if (bytes.size() != source.size())
        throw std::runtime_error("short read");
    return bytes;
}

QString readPlainTextString(const std::filesystem::path& file) {
    QByteArray bytes = readSource(file);
    if (bytes.startsWith("\xef\xbb\xbf"))
        bytes.remove(0, 3);
    QStringDecoder utf8(QStringDecoder::Utf8);
    QString text = utf8.decode(bytes);
    // Text that is not UTF-8 is most likely in a legacy 8-bit code page; show it rather
    // than refuse it.
    if (utf8.hasError())
        text = QString::fromLatin1(bytes);
    bytes.clear();
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n');
    return text;
}

std::unique_ptr<QTextDocument> readPlainText(const std::filesystem::path& file) {
    const QString text = readPlainTextString(file);
    auto document = std::make_unique<QTextDocument>();
    document->setPlainText(text);
    return document;
}

QByteArray writePlainText(const QTextDocument& document) {
    QString text = document.toPlainText();
    text.remove(QChar::ObjectReplacementCharacter); // images have no words
    return text.toUtf8();
}

} // namespace kelvane::DocumentFormats
