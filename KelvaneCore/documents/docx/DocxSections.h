#pragma once

#include "documents/SectionPages.h"

#include <QString>

#include <optional>

class QByteArray;
class QXmlStreamReader;

namespace kelvane::Docx {

// What a w:sectPr says of the section it ends.
struct Section {
    std::optional<SectionPages::Page> page; // when it gives a page size
    bool newPage = true;                    // false for a continuous section break
    QString headerId;                       // relationships of the default header and footer
    QString footerId;
};

// Reads the children of the current w:sectPr.
Section readSection(QXmlStreamReader& xml);

// The text of a header or footer part on one line, its page number fields as
// SectionPages::pageNumberMark. Empty for a damaged part.
QString headerFooterText(const QByteArray& part);

} // namespace kelvane::Docx
