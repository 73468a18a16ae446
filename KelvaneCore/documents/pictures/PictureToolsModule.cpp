// The document picture module: metafiles drawn with libwmf, emf2svg and librsvg, and drawn
// PDFs joined with their pictures by qpdf.
#include "documents/pictures/PictureToolsModule.h"

namespace {

const kelvane::PictureTools::Tools pictureTools{kelvane::PictureDrawing::drawWindowsMetafile,
                                                kelvane::PictureDrawing::drawEnhancedMetafile,
                                                kelvane::PdfJoining::readDrawnPdf};

} // namespace

extern "C" __attribute__((visibility("default"))) const kelvane::PictureTools::Tools*
kelvaneDocumentPictureTools() {
    return &pictureTools;
}
