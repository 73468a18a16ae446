#include "FileManagerMenus/MimeNames.h"

#include <QMimeDatabase>

namespace kelvane::MimeNames {

bool familyAgrees(const QString& name, FileKind kind) {
    switch (kind) {
    case FileKind::image:
        return name.startsWith(QLatin1String("image/"));
    case FileKind::pdf:
        return name == QLatin1String("application/pdf");
    case FileKind::video:
        return name.startsWith(QLatin1String("video/"));
    case FileKind::audio:
        return name.startsWith(QLatin1String("audio/"));
    case FileKind::document:
        return name.startsWith(QLatin1String("text/")) ||
               name.startsWith(QLatin1String("application/"));
    case FileKind::archive:
        return name == QLatin1String("application/zip");
    case FileKind::other:
        return false;
    }
    return false;
}

const std::vector<Named>& all() {
    static const std::vector<Named> named = [] {
        std::vector<Named> list;
        for (const QMimeType& type : QMimeDatabase().allMimeTypes())
            for (const QString& suffix : type.suffixes()) {
                const QString extension = suffix.toLower();
                const FileKind kind = FileKind::of("file." + extension.toStdString());
                if (kind != FileKind::other && familyAgrees(type.name(), kind))
                    list.push_back({extension, type.name(), kind});
            }
        return list;
    }();
    return named;
}

} // namespace kelvane::MimeNames
