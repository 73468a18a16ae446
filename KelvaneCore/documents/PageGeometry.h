#pragma once

#include "documents/SectionPages.h"
#include "options/ConversionOptions.h"

#include <QPointF>
#include <QSizeF>

// Where the text of a PDF page goes: the page, its text area and the header and footer
// lines drawn in its margins.
namespace kelvane::PdfLayout {

// At 96 dpi one device pixel is one CSS pixel, the unit of every length in the document
// other than font sizes: block margins and table widths then land where they should.
constexpr int layoutDpi = 96;

struct PageGeometry {
    QSizeF page;                // points
    QSizeF textArea;            // device pixels
    QPointF origin;             // device pixels, the text area's top-left corner
    SectionPages::Page section; // its header and footer lines and where its numbering starts
    bool operator==(const PageGeometry&) const = default;
};

// The chosen paper with the margins every page without a section of its own has.
PageGeometry geometryOf(PageSize paper);

// A section's pages: the chosen paper turned the way the section turns its own, unless the
// section is on other paper altogether (A3, an envelope); the section's margins where they
// leave room for text.
PageGeometry geometryOf(const SectionPages::Page& section, PageSize paper);

} // namespace kelvane::PdfLayout
