#pragma once

#include "documents/SectionPages.h"

#include <QString>

#include <map>
#include <optional>

class QByteArray;
class QXmlStreamReader;

namespace kelvane::Docx {

// What a w:sectPr says of the section it ends.
struct Section {
    std::optional<SectionPages::Page> page; // when it gives a page size
    bool newPage = true;                    // false for a continuous section break
    // Relationships of the header and footer parts by the pages they are for: "default",
    // "first" and "even".
    std::map<QString, QString> headerIds;
    std::map<QString, QString> footerIds;
    bool titlePage = false; // the first page has a header and footer of its own
    int firstNumber = 0;    // where the section restarts page numbering, or 0
};

// Reads the children of the current w:sectPr.
Section readSection(QXmlStreamReader& xml);

// Whether the document's settings give even pages headers and footers of their own.
bool evenAndOddHeaders(const QByteArray& settings);

// The text of a header or footer part on one line, its page number fields as
// SectionPages::pageNumberMark. Empty for a damaged part.
QString headerFooterText(const QByteArray& part);

} // namespace kelvane::Docx
