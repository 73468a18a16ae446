#pragma once

#include "documents/PictureTools.h"
#include "documents/PlainPictures.h"

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QUrl>

#include <map>
#include <optional>
#include <vector>

class QTextDocument;

namespace kelvane::PdfLayout {

// JPEG and plain PNG pictures go into the PDF as the bytes they came in, neither decoded nor
// encoded again. While pages are drawn, each is a tiny image that names it; once the pages are
// written, each tiny image in the PDF is given its picture's bytes, fetched from the document
// only then.
class PictureStandIns final : public PictureTools::StandIns {
public:
    // Pictures are fetched from `source`, which must outlive the stand-ins.
    explicit PictureStandIns(const QTextDocument& source)
        : source_(source) {}

    // The image to draw in place of the source's picture `name`; none for a picture drawn as
    // it is.
    std::optional<QImage> standIn(const QUrl& name);

    // The pixel size of the picture `name` when it has a stand-in.
    std::optional<QSize> pixelSize(const QUrl& name);

    std::optional<std::size_t> pictureOf(const QByteArray& pixels) const override;
    const PlainPicture& plain(std::size_t picture) const override;
    QByteArray streamData(std::size_t picture) const override;

private:
    struct Picture {
        QUrl name;
        PlainPicture plain;
        QByteArray bytes; // kept from the drawing when small; else fetched again to be written
    };

    const std::optional<std::size_t>& known(const QUrl& name);

    const QTextDocument& source_;
    std::map<QUrl, std::optional<std::size_t>> known_; // index in pictures_, none: drawn as is
    std::vector<Picture> pictures_;
    std::vector<QImage> images_; // the stand-in of each picture
    qsizetype keptBytes_ = 0;
};

} // namespace kelvane::PdfLayout
