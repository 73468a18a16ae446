#pragma once

#include "documents/SectionPages.h"

#include <optional>

class QXmlStreamReader;

namespace kelvane::Docx {

// What a w:sectPr says of the section it ends.
struct Section {
    std::optional<SectionPages::Page> page; // when it gives a page size
    bool newPage = true;                    // false for a continuous section break
};

// Reads the children of the current w:sectPr.
Section readSection(QXmlStreamReader& xml);

} // namespace kelvane::Docx
