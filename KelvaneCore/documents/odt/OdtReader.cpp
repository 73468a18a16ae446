#include "documents/DocumentFilling.h"
#include "documents/DocumentFormats.h"
#include "documents/PackageDocument.h"
#include "documents/ZipContainer.h"
#include "documents/odt/OdtBodyReader.h"
#include "documents/odt/OdtStyles.h"

#include <QTextCursor>
#include <QTextDocument>

#include <stdexcept>

namespace kelvane::DocumentFormats {
namespace {

void checkMimeType(const ZipContainer& zip) {
    const auto mimeType = zip.part("mimetype");
    if (!mimeType)
        return;
    const QByteArray type = mimeType->trimmed();
    if (type != "application/vnd.oasis.opendocument.text" &&
        type != "application/vnd.oasis.opendocument.text-template")
        throw std::runtime_error("not an OpenDocument text: " + type.left(100).toStdString());
}

// The text begins on the first master page unless its first paragraph names another.
void markFirstPage(QTextDocument& document, const Odt::Styles& styles) {
    QTextCursor start(&document);
    const auto page = styles.firstPage();
    if (!page || SectionPages::pageOf(start.blockFormat()))
        return;
    QTextBlockFormat marked;
    SectionPages::mark(marked, *page);
    start.mergeBlockFormat(marked);
}

} // namespace

std::unique_ptr<QTextDocument> readOdt(const std::filesystem::path& file) {
    auto document = std::make_unique<PackageDocument>(ZipContainer::open(file));
    const ZipContainer& zip = document->package();
    checkMimeType(zip);
    if (!zip.contains("content.xml"))
        throw std::runtime_error("OpenDocument file without content.xml");
    Odt::Styles styles;
    if (const auto common = zip.part("styles.xml"))
        styles.read(*common);
    const auto automaticStyles = zip.stream("content.xml");
    styles.read(*automaticStyles);
    automaticStyles->check();

    const DocumentFilling filling(*document);
    if (const auto font = styles.defaultFont())
        document->setDefaultFont(*font);
    const auto content = zip.stream("content.xml");
    try {
        Odt::BodyReader(*content, styles, zip, *document).read();
    } catch (const std::runtime_error&) {
        content->check(); // a part that failed to inflate says why rather than "malformed"
        throw;
    }
    markFirstPage(*document, styles);
    return document;
}

} // namespace kelvane::DocumentFormats
