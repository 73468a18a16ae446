#pragma once

// The libvips layer under ImageTools: loading, the metadata filter and encoding. Only the
// image sources include this; the rest of the core sees ImageTools.h.

// GLib's headers use `signals` as a name, which Qt defines as a macro.
#pragma push_macro("signals")
#undef signals
#include <vips/vips8>
#pragma pop_macro("signals")

#include "images/ImageTools.h"
#include "naming/ConversionError.h"

#include <filesystem>
#include <optional>
#include <string>

class QIODevice;

namespace kelvane::ImageTools {

// Starts libvips once per process; safe from any thread.
void ensureVips();

// Images up to this many pixels are decoded into memory when loaded; larger ones are read
// as they are written, a band of rows at a time.
inline constexpr double largestInMemory = 200'000'000.0;

struct Loaded {
    // Upright, never larger than the cap; carries the source's metadata. Decoded into
    // memory unless it has more than largestInMemory pixels.
    vips::VImage image;
    // Dots per inch the file states, none when it states nothing usable.
    std::optional<double> dpi;
    // Decoded as the result is written rather than when loaded.
    bool streamed = false;
};

// inMemoryOrStreamed decodes into memory up to largestInMemory pixels. streamed decodes as
// the result is written whenever the picture allows it (8 bits, upright), so that an encoder
// that takes rows in order works alongside the decoder.
enum class Residence { inMemoryOrStreamed, inMemory, streamed };

// With Residence::inMemory an image larger than largestInMemory is scaled down to fit.
// Throws ConversionError: unreadableImage when the file is no image (or claims far more
// pixels than its bytes can hold), couldNotDecode when its pixels cannot be decoded.
// Decoding into memory reports progress from 0 to 0.5.
Loaded load(const std::filesystem::path& file, std::optional<int> maxPixel = std::nullopt,
            Residence residence = Residence::inMemoryOrStreamed, const Progress& progress = {});

// Throws couldNotDecode unless every pixel of `file` decodes: the damage a streamed picture
// meets while its result is being written is the input's, not the save's.
void requireDecodable(const std::filesystem::path& file);

// Whether `type` can hold an image of this size; the encoders of HEIC, GIF and BMP need the
// whole picture in memory.
bool canHold(ImageType type, const vips::VImage& image);
// "“x.png” is too large to convert (20 000 × 15 000 pixels)."
ConversionError tooLargeToConvert(const std::filesystem::path& file, const vips::VImage& image);

// The resolution a file states in dots per inch, none when it states nothing usable.
std::optional<double> statedDpi(const vips::VImage& image);

bool hasAlpha(const vips::VImage& image);
// Composited on opaque white; the image unchanged when it has no alpha.
vips::VImage flatten(const vips::VImage& image);
// Flattened for the formats without transparency (JPEG, BMP), otherwise unchanged.
vips::VImage prepared(const vips::VImage& image, ImageType type);
// 8-bit sRGB (or grey) whatever the decoder produced.
vips::VImage toSRGB8(const vips::VImage& image);

// A copy carrying only the metadata Kelvane passes on: EXIF (TIFF, GPS and camera details,
// orientation reset), IPTC, resolution and the colour profile. keepSource false gives a copy
// with none of the source's metadata, colours converted to sRGB.
vips::VImage withMetadata(const vips::VImage& image, bool keepSource);

// Whether this build of libvips has an encoder for `type`.
bool canWrite(ImageType type);

// Encodes one image file at `file`. quality (0…1) applies to JPEG and HEIC only. Progress
// goes from `progressFrom` to 1 as the pixels are computed.
// Throws ConversionError: cannotWriteFormat without an encoder, couldNotSaveImage otherwise.
void write(const vips::VImage& image, ImageType type, std::optional<double> quality,
           bool keepMetadata, const std::filesystem::path& file, const Progress& progress = {},
           double progressFrom = 0.0);

// Writes a 24-bit BMP of `image` (flattened on white, in sRGB) with its resolution to `device`;
// false when the image or the device fails.
bool writeBmp(const vips::VImage& image, QIODevice& device);

// The encoded bytes without metadata, none when encoding fails.
std::optional<std::string> data(const vips::VImage& image, ImageType type,
                                std::optional<double> quality);

} // namespace kelvane::ImageTools
