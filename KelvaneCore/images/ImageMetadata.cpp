#include "images/ImageCodec.h"

#include <memory>
#include <string_view>

namespace kelvane::ImageTools {
namespace {

using vips::VImage;

constexpr double defaultPixelsPerMM = 72.0 / 25.4;

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

// EXIF travels as one block holding the TIFF, EXIF and GPS directories; libvips mirrors each
// tag as an "exif-ifdN-…" field and drops from the block any tag whose field is gone, so the
// fields stay with the block. Orientation goes: the pixels are already upright.
bool passesFilter(std::string_view field) {
    if (field == "exif-ifd0-Orientation")
        return false;
    return startsWith(field, "exif-") || field == VIPS_META_IPTC_NAME ||
           field == VIPS_META_ICC_NAME || field == VIPS_META_RESOLUTION_UNIT;
}

void removeFields(VImage& image, bool keepSource) {
    const std::unique_ptr<gchar*, decltype(&g_strfreev)> fields(
        vips_image_get_fields(image.get_image()), g_strfreev);
    for (gchar** field = fields.get(); *field != nullptr; ++field) {
        const std::string_view name(*field);
        if (keepSource ? passesFilter(name) : name == VIPS_META_ICC_NAME)
            continue;
        vips_image_remove(image.get_image(), *field);
    }
}

// Without the profile the numbers must already be sRGB, or the colours would shift.
VImage inSRGB(const VImage& image) {
    if (image.get_typeof(VIPS_META_ICC_NAME) == 0)
        return image;
    VImage converted = image;
    try {
        converted = image.icc_transform(
            "srgb", VImage::option()
                        ->set("embedded", true)
                        ->set("depth", image.format() == VIPS_FORMAT_USHORT ? 16 : 8));
    } catch (const vips::VError&) {
        // A damaged profile: the pixels are shown as they are, like any untagged image.
    }
    converted = converted.copy();
    vips_image_remove(converted.get_image(), VIPS_META_ICC_NAME);
    return converted;
}

} // namespace

vips::VImage withMetadata(const vips::VImage& image, bool keepSource) {
    VImage filtered = image.copy();
    removeFields(filtered, keepSource);
    if (!keepSource)
        filtered = inSRGB(filtered);
    if (keepSource && statedDpi(image))
        return filtered;
    return filtered.copy(
        VImage::option()->set("xres", defaultPixelsPerMM)->set("yres", defaultPixelsPerMM));
}

} // namespace kelvane::ImageTools
