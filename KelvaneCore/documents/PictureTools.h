#pragma once

#include "documents/PdfPages.h"
#include "documents/PlainPictures.h"

#include <QByteArray>
#include <QImage>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

// Drawing metafiles and putting pictures into drawn PDFs take libraries (librsvg, emf2svg,
// libwmf, qpdf) that load three times slower than the rest of the document family. They live
// in a module of their own, kelvane-document-pictures.so, loaded when a document first needs
// them, or while a document to be drawn is read.
namespace kelvane::PictureTools {

// The pictures a PDF was drawn with, each as a tiny stand-in image: what joining drawn PDFs
// asks of them.
class StandIns {
public:
    // The number of the picture a stand-in's pixels name; none for any other image.
    virtual std::optional<std::size_t> pictureOf(const QByteArray& pixels) const = 0;
    virtual const PdfLayout::PlainPicture& plain(std::size_t picture) const = 0;
    // What a PDF stream of the picture holds: a JPEG as it is, a PNG's compressed rows.
    virtual QByteArray streamData(std::size_t picture) const = 0;

protected:
    ~StandIns() = default;
};

// A drawn PDF read back, ready to be joined with the PDFs drawn after it.
class DrawnPdf {
public:
    virtual ~DrawnPdf() = default;
    // Its pages, then those of the PDF files `rest`, written to `file` with the pictures in
    // place of their stand-ins and the pages given their exact sizes.
    virtual void writeJoined(const std::vector<std::filesystem::path>& rest,
                             const PdfLayout::PageSizes& sizes, const std::filesystem::path& file,
                             const StandIns& standIns) = 0;
};

struct Tools {
    // A Windows metafile drawn as a PNG, as Metafiles::drawWindowsMetafile describes.
    QByteArray (*drawWindowsMetafile)(const QByteArray& bytes, int maxSide);
    // An enhanced metafile drawn as an image, as Metafiles::drawEnhancedMetafile describes.
    QImage (*drawEnhancedMetafile)(const QByteArray& bytes, int maxSide);
    // Reads the drawn PDF file `drawn` back for joining. That part of the joining needs none of
    // the files drawn after it: a thread done drawing can do it while another draws on.
    std::unique_ptr<DrawnPdf> (*readDrawnPdf)(const std::filesystem::path& drawn);
};

// The module's tools, loaded on first use and kept. Safe to call from any thread. Throws
// std::runtime_error when the module cannot be loaded.
const Tools& tools();

} // namespace kelvane::PictureTools
