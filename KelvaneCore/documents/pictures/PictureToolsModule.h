#pragma once

#include "documents/PictureTools.h"

// The tools of kelvane-document-pictures.so, which the family reaches through
// PictureTools::tools(). Each is handed bytes the family has checked to start as its kind.
namespace kelvane::PictureDrawing {

QByteArray drawWindowsMetafile(const QByteArray& bytes, int maxSide);
QImage drawEnhancedMetafile(const QByteArray& bytes, int maxSide);

} // namespace kelvane::PictureDrawing

namespace kelvane::PdfJoining {

void joinDrawnPdfs(const std::vector<std::filesystem::path>& drawn,
                   const PdfLayout::PageSizes& sizes, const std::filesystem::path& file,
                   const PictureTools::StandIns& standIns);

} // namespace kelvane::PdfJoining
