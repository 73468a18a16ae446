#pragma once

#include <QByteArray>
#include <QImage>

namespace kelvane::Metafiles {

// The most pixels a drawing is drawn with on a side.
constexpr int largestSide = 1200;

// Windows metafiles (WMF) are drawings, not pictures of pixels: documents from office suites
// hold them for clip art and pasted charts. True when the bytes start like one, with or
// without the placeable header.
bool isWindowsMetafile(const QByteArray& bytes);

// The drawing rendered to pixels on white, about 150 per inch and no more than `maxSide` on a
// side, as a PNG; nothing when it cannot be drawn.
QByteArray drawWindowsMetafile(const QByteArray& bytes, int maxSide = largestSide);

// Enhanced metafiles (EMF) are their 32-bit successor. True when the bytes start with the
// header record and its signature.
bool isEnhancedMetafile(const QByteArray& bytes);

// The drawing as `drawWindowsMetafile` renders one, as an image. Records after one that overruns
// the file are left out.
QImage drawEnhancedMetafile(const QByteArray& bytes, int maxSide = largestSide);

} // namespace kelvane::Metafiles
