#include "documents/DocumentFilling.h"
#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/PictureSlots.h"
#include "documents/WrittenBytes.h"
#include "documents/html/HtmlChunks.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QStringConverter>
#include <QStringDecoder>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextDocumentFragment>
#include <QTextFragment>
#include <QUrl>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace kelvane::DocumentFormats {
namespace {

constexpr qint64 maxImageBytes = 64 << 20;
constexpr qsizetype runCharacters = 1 << 20;

// Qt would fetch style sheets and images by itself while parsing and laying out, from any
// path the page names (a device file would never end). This document loads nothing; the
// reader hands it the images it accepts.
class ContainedDocument : public QTextDocument {
protected:
    QVariant loadResource(int, const QUrl&) override { return QByteArray(); }
};

// The encoding the page declares, else UTF-8 where it decodes as UTF-8, else Latin-1.
QStringConverter::Encoding encodingOf(const QByteArray& bytes) {
    if (const auto declared = QStringConverter::encodingForHtml(bytes))
        return *declared;
    QStringDecoder decoder(QStringConverter::Utf8);
    for (qsizetype at = 0; at < bytes.size() && !decoder.hasError(); at += 1 << 20)
        (void)decoder.decode(
            QByteArrayView(bytes).sliced(at, std::min<qsizetype>(1 << 20, bytes.size() - at)));
    return decoder.hasError() ? QStringConverter::Latin1 : QStringConverter::Utf8;
}

// Whether the markup of a page in the encoding is plain ASCII bytes.
bool isAsciiMarkup(QStringConverter::Encoding encoding) {
    return encoding == QStringConverter::Utf8 || encoding == QStringConverter::Latin1 ||
           encoding == QStringConverter::System;
}

QByteArray dataUrlBytes(const QString& url) {
    const qsizetype comma = url.indexOf(',');
    if (comma < 0 || !url.left(comma).endsWith(";base64"))
        return {};
    return QByteArray::fromBase64(url.mid(comma + 1).toLatin1());
}

QByteArray localImageBytes(const QString& name, const QUrl& base) {
    const QUrl url = base.resolved(QUrl(name));
    if (!url.isLocalFile())
        return {};
    const QFileInfo info(url.toLocalFile());
    if (!info.isFile() || info.size() > maxImageBytes)
        return {};
    QFile file(info.filePath());
    return file.open(QIODevice::ReadOnly) ? file.read(maxImageBytes) : QByteArray();
}

// Every image the page shows becomes a resource of its own bytes; what cannot be read
// shows as nothing rather than as a fetch at layout time.
void adoptImages(QTextDocument& document, const QUrl& base) {
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment) {
            const QTextCharFormat format = fragment.fragment().charFormat();
            if (!format.isImageFormat())
                continue;
            const QString name = format.toImageFormat().name();
            const QUrl key(name);
            if (document.resource(QTextDocument::ImageResource, key).toByteArray().size() > 0)
                continue;
            const QByteArray bytes =
                name.startsWith("data:") ? dataUrlBytes(name) : localImageBytes(name, base);
            document.addResource(QTextDocument::ImageResource, key, bytes);
        }
}

struct ImagePlacement {
    int position;
    QTextImageFormat format;
};

std::vector<ImagePlacement> imagesOf(const QTextDocument& document) {
    std::vector<ImagePlacement> images;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment)
            if (fragment.fragment().charFormat().isImageFormat())
                for (int offset = 0; offset < fragment.fragment().length(); ++offset)
                    images.push_back({fragment.fragment().position() + offset,
                                      fragment.fragment().charFormat().toImageFormat()});
    return images;
}

// Where a picture's data URL goes; a picture whose bytes cannot be had keeps its name.
void writeSource(const QTextDocument& document, const QTextImageFormat& format, QIODevice& output) {
    const auto encoded = DocumentImages::encoded(document, format);
    if (encoded.bytes.isEmpty()) {
        PictureData::writeAll(format.name().toHtmlEscaped().toUtf8(), output);
        return;
    }
    PictureData::writeAll(QStringLiteral("data:image/%1;base64,").arg(encoded.format).toLatin1(),
                          output);
    PictureData::writeBase64(encoded.bytes, output);
}

// A copy whose images name marks, one for each picture, that become data URLs as the page
// is written, so the page carries its pictures.
std::unique_ptr<QTextDocument> withPictureMarks(const QTextDocument& document,
                                                PictureSlots& pictures) {
    std::unique_ptr<QTextDocument> copy(document.clone());
    QHash<QString, QString> marks;
    for (const ImagePlacement& image : imagesOf(document)) {
        auto mark = marks.constFind(image.format.name());
        if (mark == marks.constEnd())
            mark = marks.insert(image.format.name(),
                                QString::fromLatin1(pictures.add(
                                    [&document, format = image.format](QIODevice& output) {
                                        writeSource(document, format, output);
                                    })));
        QTextImageFormat marked = image.format;
        marked.setName(*mark);
        QTextCursor cursor(copy.get());
        cursor.setPosition(image.position);
        cursor.setPosition(image.position + 1, QTextCursor::KeepAnchor);
        cursor.setCharFormat(marked);
    }
    return copy;
}

// A long page's body is read a run of paragraphs at a time, each after the page's head, and
// appended: each run's first paragraph keeps its own format.
void readInRuns(QTextDocument& document, const QByteArray& bytes,
                QStringConverter::Encoding encoding) {
    const auto decoded = [encoding](QByteArrayView part) {
        QStringDecoder decoder(encoding);
        QString text = decoder.decode(part);
        return text;
    };
    const qsizetype body = isAsciiMarkup(encoding) ? HtmlChunks::bodyStart(bytes) : -1;
    const std::vector<qsizetype> cuts =
        body < 0 ? std::vector<qsizetype>() : HtmlChunks::cutsOf(bytes, body, runCharacters);
    if (cuts.empty()) {
        document.setHtml(decoded(bytes));
        return;
    }
    document.setHtml(decoded(QByteArrayView(bytes).first(cuts.front())));
    const QString head = decoded(QByteArrayView(bytes).first(body));
    for (std::size_t i = 0; i < cuts.size(); ++i) {
        const qsizetype end = i + 1 < cuts.size() ? cuts[i + 1] : bytes.size();
        ContainedDocument run;
        run.setBaseUrl(document.baseUrl());
        run.setHtml(head + decoded(QByteArrayView(bytes).sliced(cuts[i], end - cuts[i])));
        QTextCursor cursor(&document);
        cursor.movePosition(QTextCursor::End);
        cursor.insertBlock(run.firstBlock().blockFormat(), run.firstBlock().charFormat());
        cursor.insertFragment(QTextDocumentFragment(&run));
        checkDocumentLength(document);
    }
}

} // namespace

std::unique_ptr<QTextDocument> readHtml(const std::filesystem::path& file) {
    QByteArray bytes = readSource(file);
    auto document = std::make_unique<ContainedDocument>();
    const QUrl base = QUrl::fromLocalFile(QString::fromStdString(file.string()));
    document->setBaseUrl(base);
    readInRuns(*document, bytes, encodingOf(bytes));
    bytes.clear();
    adoptImages(*document, base);
    return document;
}

void writeHtml(const QTextDocument& document, QIODevice& output) {
    PictureSlots pictures;
    QString html = withPictureMarks(document, pictures)->toHtml();
    if (!html.contains("charset", Qt::CaseInsensitive))
        html.replace("<head>", "<head><meta charset=\"utf-8\" />");
    pictures.copy(html.toUtf8(), output);
}

QByteArray writeHtml(const QTextDocument& document) {
    return writtenBytes([&](QIODevice& output) { writeHtml(document, output); });
}

} // namespace kelvane::DocumentFormats
