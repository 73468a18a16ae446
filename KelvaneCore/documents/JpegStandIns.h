#pragma once

#include "documents/PdfPages.h"

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QUrl>

#include <filesystem>
#include <map>
#include <optional>
#include <vector>

class QTextDocument;

namespace kelvane::PdfLayout {

// A JPEG the PDF can carry exactly as it is: eight bits per sample, gray or colour, its
// entropy-coded data ending where the file says it does.
struct PlainJpeg {
    QSize pixels;
    int components; // 1 (gray) or 3 (colour)
};
std::optional<PlainJpeg> plainJpeg(const QByteArray& bytes);

// JPEG pictures go into the PDF as the bytes they came in, neither decoded nor encoded again.
// While pages are drawn, each is a tiny image that names it; once the pages are written, each
// tiny image in the PDF is given its picture's bytes, fetched from the document only then.
class JpegStandIns {
public:
    // Pictures are fetched from `source`, which must outlive the stand-ins.
    explicit JpegStandIns(const QTextDocument& source)
        : source_(source) {}

    // The image to draw in place of the source's picture `name`; none for a picture that is
    // not a plain JPEG, drawn as it is.
    std::optional<QImage> standIn(const QUrl& name);

    // The pixel size of the picture `name` when it is a plain JPEG.
    std::optional<QSize> pixelSize(const QUrl& name);

    // The PDF `drawn` with the pictures in place of their stand-ins. Throws
    // std::runtime_error when the PDF cannot be read back or written.
    QByteArray embedded(const QByteArray& drawn) const;
    // The same from the PDF in the file `drawn` to `file`, with the pages given their exact
    // sizes, streaming every picture through.
    void write(const std::filesystem::path& drawn, const PageSizes& sizes,
               const std::filesystem::path& file) const;

    // The picture a stand-in names, from its pixels: none for any other image.
    struct Picture {
        QUrl name;
        PlainJpeg jpeg;
    };
    const Picture* pictureOf(const QByteArray& pixels) const;

private:
    struct Known {
        std::optional<int> id; // among pictures_, none for a picture drawn as it is
    };
    const Known& known(const QUrl& name);

    const QTextDocument& source_;
    std::map<QUrl, Known> known_;
    std::vector<Picture> pictures_;
    std::vector<QImage> images_; // the stand-in of each picture
};

} // namespace kelvane::PdfLayout
