#pragma once

#include "catalogue/Recipe.h"

#include <QString>

namespace kelvane {

// Which sections the options inspector shows for a recipe; the header and "Where results
// go" always show.
struct OptionSections {
    bool targetSize = false;   // shrink
    bool imagePages = false;   // imagesToPDF
    bool quality = false;      // the quality slider of image recipes
    bool size = false;         // "Limit longest side" / "Longest side"
    bool sizeAlwaysOn = false; // resize applies the longest side without a toggle
    bool details = false;      // "Keep camera details (EXIF)"
    bool animation = false;    // videoToGIF
    bool pdfPages = false;     // PDF pages to images
    bool pdfQuality = false;   // pdfToJPG's quality slider
    bool paper = false;        // docToPDF
    bool settings = false;     // a preset description only

    bool operator==(const OptionSections&) const = default;
};

namespace OptionsText {

OptionSections sectionsFor(Recipe recipe);

// "Photo (shrunk).jpg", "File (converted).png": how a result of this recipe is named.
QString sampleResultName(Recipe recipe);
// The sentence shown for recipes without options; empty for the others.
QString presetDescription(Recipe recipe);
// "Next to the original, named “…”. Existing files are never replaced."
QString whereResultsGo(Recipe recipe);
// "Kelvane searches for the highest quality that stays under 500 KB, …"
QString shrinkCaption(double targetMB);

// What the drop zone says the recipe takes.
QString acceptLine(Recipe recipe);

} // namespace OptionsText
} // namespace kelvane
