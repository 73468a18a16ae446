#include "documents/PackageDocument.h"

#include <QUrl>

#include <stdexcept>

namespace kelvane {

PackageDocument::PackageDocument(ZipContainer package)
    : package_(std::move(package)) {}

void PackageDocument::addPicture(const QString& name, std::string partName) {
    pictures_.insert_or_assign(name, std::move(partName));
}

QVariant PackageDocument::loadResource(int type, const QUrl& name) {
    const auto picture = type == ImageResource ? pictures_.find(name.toString()) : pictures_.end();
    if (picture == pictures_.end())
        return QTextDocument::loadResource(type, name);
    try {
        if (auto bytes = package_.part(picture->second))
            return std::move(*bytes);
    } catch (const std::runtime_error&) {
        // the file changed under us: the picture goes missing, the rest still converts
    }
    return {};
}

} // namespace kelvane
