#include "documents/DrawingPreparation.h"

#include "documents/PictureTools.h"

#include <QFontDatabase>
#include <QImageWriter>

#include <stdexcept>
#include <system_error>

namespace kelvane::DocumentTools {

DrawingPreparation::DrawingPreparation(bool document) {
    try {
        done_ = std::async(std::launch::async, [this, document] { prepare(document); });
    } catch (const std::system_error&) {
        // No thread to spare: the drawing does it all.
    }
}

DrawingPreparation::~DrawingPreparation() {
    reading_ = false;
}

void DrawingPreparation::prepare(bool document) {
    QFontDatabase::families();
    if (!document)
        return;
    try {
        PictureTools::tools();
    } catch (const std::runtime_error&) {
        // The document fails with its sentence when the PDF is written.
    }
    if (reading_)
        QImageWriter::supportedImageFormats();
}

} // namespace kelvane::DocumentTools
