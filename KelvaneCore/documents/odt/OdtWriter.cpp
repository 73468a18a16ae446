#include "documents/DocumentFormats.h"
#include "documents/DocumentImages.h"
#include "documents/WrittenBytes.h"
#include "documents/ZipContainer.h"
#include "documents/odt/OdtBodyWriter.h"
#include "documents/odt/OdtMasterPages.h"
#include "documents/odt/OdtWriterStyles.h"

#include <QTextDocument>
#include <QXmlStreamWriter>

namespace kelvane::DocumentFormats {
namespace {

const QString mimeType = QStringLiteral("application/vnd.oasis.opendocument.text");
const QString xmlMediaType = QStringLiteral("text/xml");
const QString odfVersion = QStringLiteral("1.2");

QByteArray content(const Odt::AutomaticStyles& styles, const QByteArray& body) {
    QByteArray bytes;
    {
        // The styles are known only once the body has been written, yet come before it.
        QXmlStreamWriter xml(&bytes);
        xml.writeStartDocument();
        Odt::writeNamespaces(xml);
        xml.writeStartElement("office:document-content");
        xml.writeAttribute("office:version", odfVersion);
        styles.writeFontFaces(xml);
        styles.write(xml);
        xml.writeStartElement("office:body");
        xml.writeStartElement("office:text");
        xml.writeCharacters(QString()); // ends the start tag before the body is appended
    }
    bytes += body;
    bytes += "</office:text></office:body></office:document-content>";
    return bytes;
}

QByteArray manifest(const std::vector<Odt::Picture>& pictures) {
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.writeStartDocument();
    xml.writeNamespace("urn:oasis:names:tc:opendocument:xmlns:manifest:1.0", "manifest");
    xml.writeStartElement("manifest:manifest");
    xml.writeAttribute("manifest:version", odfVersion);
    const auto entry = [&xml](const QString& path, const QString& mediaType) {
        xml.writeEmptyElement("manifest:file-entry");
        xml.writeAttribute("manifest:full-path", path);
        if (path == u"/")
            xml.writeAttribute("manifest:version", odfVersion);
        xml.writeAttribute("manifest:media-type", mediaType);
    };
    entry("/", mimeType);
    for (const char* part : {"content.xml", "styles.xml", "meta.xml"})
        entry(part, xmlMediaType);
    for (const Odt::Picture& picture : pictures)
        entry(picture.path, picture.mediaType);
    xml.writeEndDocument();
    return bytes;
}

QByteArray meta(const QTextDocument& document) {
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.writeStartDocument();
    xml.writeNamespace("urn:oasis:names:tc:opendocument:xmlns:office:1.0", "office");
    xml.writeNamespace("urn:oasis:names:tc:opendocument:xmlns:meta:1.0", "meta");
    xml.writeNamespace("http://purl.org/dc/elements/1.1/", "dc");
    xml.writeStartElement("office:document-meta");
    xml.writeAttribute("office:version", odfVersion);
    xml.writeStartElement("office:meta");
    xml.writeTextElement("meta:generator", "Kelvane");
    const QString title = Odt::xmlSafe(document.metaInformation(QTextDocument::DocumentTitle));
    if (!title.trimmed().isEmpty())
        xml.writeTextElement("dc:title", title);
    xml.writeEndDocument();
    return bytes;
}

} // namespace

QByteArray writeOdt(const QTextDocument& document, PageSize paper) {
    return writtenBytes([&](QIODevice& output) { writeOdt(document, paper, output); });
}

void writeOdt(const QTextDocument& document, PageSize paper, QIODevice& output) {
    Odt::AutomaticStyles styles(document.defaultFont());
    Odt::MasterPages pages(paper);
    Odt::BodyWriter body(document, styles, pages);
    const QByteArray text = body.write();

    ZipBuilder zip(output);
    zip.add("mimetype", mimeType.toUtf8(), ZipBuilder::Compression::store);
    zip.add("META-INF/manifest.xml", manifest(body.pictures()));
    zip.add("content.xml", content(styles, text));
    zip.add("styles.xml", Odt::commonStyles(document.defaultFont(), pages));
    zip.add("meta.xml", meta(document));
    for (const Odt::Picture& picture : body.pictures())
        zip.add(picture.path.toStdString(), DocumentImages::encoded(document, picture.image).bytes,
                ZipBuilder::Compression::store); // PNG and JPEG are compressed already
    zip.finish();
}

} // namespace kelvane::DocumentFormats
