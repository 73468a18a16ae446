#pragma once

#include "catalogue/FileKind.h"

#include <QString>

#include <vector>

namespace kelvane::MimeNames {

// One extension the shared MIME database knows and the name it gives its files.
struct Named {
    QString extension; // lower case, without the dot
    QString mimeType;
    FileKind kind; // the catalogue's kind for the extension
};

// Every extension of the shared MIME database that the catalogue gives a kind of file, with
// each of its types whose family agrees with that kind, so that, say, Qt's translation
// sources ("*.ts") are not taken for MPEG transport streams. The desktop entry and every file
// manager's menu name their types through this one list.
const std::vector<Named>& all();

// Whether a MIME type's own family can hold files of this kind.
bool familyAgrees(const QString& name, FileKind kind);

} // namespace kelvane::MimeNames
