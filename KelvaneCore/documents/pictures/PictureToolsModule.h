#pragma once

#include "documents/PictureTools.h"

// The tools of kelvane-document-pictures.so, which the family reaches through
// PictureTools::tools(). Each is handed bytes the family has checked to start as its kind.
namespace kelvane::PictureDrawing {

QByteArray drawWindowsMetafile(const QByteArray& bytes, int maxSide);
QImage drawEnhancedMetafile(const QByteArray& bytes, int maxSide);

} // namespace kelvane::PictureDrawing

namespace kelvane::PdfJoining {

std::unique_ptr<PictureTools::DrawnPdf> readDrawnPdf(const std::filesystem::path& drawn);

} // namespace kelvane::PdfJoining
