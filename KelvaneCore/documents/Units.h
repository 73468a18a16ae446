#pragma once

// Document formats measure in different units. In QTextDocument font sizes are points,
// while every other length (block margins, indents, image and table sizes) is a CSS pixel
// of 1/96 inch, as in Qt's own HTML import; convert through these helpers.
namespace kelvane::Units {

constexpr double twipsPerPoint = 20.0;     // RTF, DOCX spacing and indents
constexpr double halfPointsPerPoint = 2.0; // DOCX and RTF font sizes
constexpr double emuPerPoint = 12700.0;    // DOCX drawing extents (914400 per inch)
constexpr double pointsPerInch = 72.0;
constexpr double pointsPerCentimetre = 72.0 / 2.54;
constexpr double pixelsPerPoint = 96.0 / 72.0;

constexpr double pixelsFromPoints(double points) {
    return points * pixelsPerPoint;
}
constexpr double pointsFromPixels(double pixels) {
    return pixels / pixelsPerPoint;
}

constexpr double pointsFromTwips(double twips) {
    return twips / twipsPerPoint;
}
constexpr double twipsFromPoints(double points) {
    return points * twipsPerPoint;
}
constexpr double pointsFromHalfPoints(double halfPoints) {
    return halfPoints / halfPointsPerPoint;
}
constexpr double halfPointsFromPoints(double points) {
    return points * halfPointsPerPoint;
}
constexpr double pointsFromEmu(double emu) {
    return emu / emuPerPoint;
}
constexpr double emuFromPoints(double points) {
    return points * emuPerPoint;
}

} // namespace kelvane::Units
