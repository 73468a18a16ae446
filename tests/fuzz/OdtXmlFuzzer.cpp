#include "documents/DocumentFormats.h"
#include "documents/ZipContainer.h"
#include "fuzz/FuzzMain.h"
#include "fuzz/XmlParts.h"

#include <QTextDocument>

// The input is content.xml and styles.xml.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Store = kelvane::ZipBuilder::Compression;
    static kelvane::fuzz::ScratchFile scratch("odt");
    const auto parts = kelvane::fuzz::splitParts(data, size, 2);
    kelvane::ZipBuilder zip;
    zip.add("mimetype", "application/vnd.oasis.opendocument.text", Store::store);
    zip.add("content.xml", parts[0], Store::store);
    zip.add("styles.xml", parts[1], Store::store);
    const QByteArray package = zip.finish();
    return kelvane::fuzz::readAsTheUserWould([&] {
        kelvane::DocumentFormats::readOdt(
            scratch.write(reinterpret_cast<const std::uint8_t*>(package.constData()),
                          static_cast<std::size_t>(package.size())));
    });
}
