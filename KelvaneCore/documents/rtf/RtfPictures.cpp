#include "documents/DocumentFormats.h"
#include "documents/Units.h"
#include "documents/rtf/RtfReading.h"

#include <algorithm>
#include <system_error>

namespace kelvane::Rtf {
namespace {

namespace fs = std::filesystem;

constexpr double maxImagePoints = 14400; // 200 inches

// The size a picture asks to be shown at, or an empty size to show it pixel for pixel: for
// PNG and JPEG data \picw and \pich only repeat the image's own pixel size.
QSizeF shownSize(const Picture& picture) {
    if (picture.goalWidth <= 0 || picture.goalHeight <= 0)
        return {};
    const QSizeF points(Units::pointsFromTwips(picture.goalWidth) * picture.scaleX / 100.0,
                        Units::pointsFromTwips(picture.goalHeight) * picture.scaleY / 100.0);
    if (points.width() > maxImagePoints || points.height() > maxImagePoints)
        return points.scaled(maxImagePoints, maxImagePoints, Qt::KeepAspectRatio);
    return points;
}

} // namespace

std::optional<fs::path> attachmentPath(const fs::path& folder, const QString& name) {
    if (folder.empty() || name.isEmpty())
        return std::nullopt;
    const fs::path relative(name.toStdString());
    if (relative.has_root_path())
        return std::nullopt;
    for (const fs::path& part : relative) {
        if (part == "..")
            return std::nullopt;
    }
    // Resolving every link on the way shows where the name really leads.
    std::error_code error;
    const fs::path base = fs::canonical(folder, error);
    if (error)
        return std::nullopt;
    const fs::path target = fs::canonical(base / relative, error);
    if (error)
        return std::nullopt;
    const auto mismatch = std::mismatch(base.begin(), base.end(), target.begin(), target.end());
    if (mismatch.first != base.end() || !fs::is_regular_file(target, error))
        return std::nullopt;
    return target;
}

void Reader::finishPicture() {
    // Enhanced metafiles and device-dependent bitmaps usually come with a PNG twin in
    // \shppict; Windows metafiles are drawn.
    if (picture_.type == pngPicture || picture_.type == jpegPicture ||
        picture_.type == windowsMetafile) {
        const QByteArray bytes =
            picture_.binary.isEmpty() ? QByteArray::fromHex(picture_.hex) : picture_.binary;
        builder_.insertImage(bytes, shownSize(picture_), state().paragraph.inTable);
    }
    picture_ = {};
}

void Reader::finishGraphic() {
    const auto file = attachmentPath(attachments_, picture_.fileName.trimmed());
    skipAttachmentMark_ = true;
    if (file) {
        QByteArray bytes;
        try {
            bytes = DocumentFormats::readSource(*file);
        } catch (const std::exception&) {
            bytes.clear(); // an unreadable attachment leaves a gap, not a failed document
        }
        builder_.insertImage(bytes, shownSize(picture_), state().paragraph.inTable);
    }
    picture_ = {};
}

} // namespace kelvane::Rtf
