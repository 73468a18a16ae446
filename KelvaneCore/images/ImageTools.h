#pragma once

#include "catalogue/Recipe.h"
#include "options/ConversionOptions.h"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane::ImageTools {

// The still-image formats Kelvane writes.
enum class ImageType { jpeg, png, heic, tiff, gif, bmp };

// Called with a fraction from 0 to 1, from the working thread.
using Progress = std::function<void(double)>;

// jpg/jpeg → jpeg, png, heic/heif → heic, tif/tiff, gif, bmp; anything else → png.
ImageType typeForExtension(std::string_view extension);
// "jpg", "png", "heic", "tiff", "gif", "bmp".
std::string_view preferredExtension(ImageType type);

struct Format {
    ImageType type;
    std::string extension;
};
// The input's own format when Kelvane can write it (keeping its extension's spelling),
// PNG otherwise: what "Resize" and "Strip Metadata" write.
Format sameFormat(const std::filesystem::path& input);

// The nine single-image recipes: the six format conversions, resize, shrink and strip.
// Returns the file written beside the input.
std::filesystem::path convert(const std::filesystem::path& input, Recipe recipe,
                              const ConversionOptions& options, const Progress& progress = {});

// What a shrink did, for callers that want to know.
struct ShrinkStats {
    int fullSizeEncodes = 0; // encodes of the whole picture at a size tried, probes not counted
};

// The highest quality that stays under options.targetMB, scaling down only if it has to.
// Progress is reported after every full-size encode.
std::filesystem::path shrink(const std::filesystem::path& input, const ConversionOptions& options,
                             const Progress& progress = {}, ShrinkStats* stats = nullptr);

// One page per readable image, in the order given; unreadable inputs are skipped.
std::filesystem::path imagesToPDF(const std::vector<std::filesystem::path>& inputs,
                                  const ConversionOptions& options, const Progress& progress);

// Every page of `pdf` as PNG (or JPEG) in a new folder "Name (pages)" beside it.
std::filesystem::path pdfPages(const std::filesystem::path& pdf, bool png,
                               const ConversionOptions& options, const Progress& progress);

} // namespace kelvane::ImageTools
