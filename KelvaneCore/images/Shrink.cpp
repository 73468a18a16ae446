#include "images/ImageOutput.h"
#include "images/ShrinkSearch.h"
#include "naming/ConversionError.h"

#include <algorithm>
#include <cmath>

namespace kelvane::ImageTools {
namespace {

using vips::VImage;

constexpr double bytesPerMB = 1'000'000.0;
constexpr int qualitySteps = 7;
constexpr double reductionPerSide = 0.75;
constexpr int smallestSide = 17;
// Full-size HEIC encodes allowed once one fits; each takes seconds on a 12-megapixel photo.
constexpr int heicEncodeBudget = 3;
// The most full-size encodes the halving search can make: every size at the lowest
// quality, then the quality steps.
constexpr int halvingEncodesAtMost = shrinkSizesTried + qualitySteps;

bool isHeif(const std::filesystem::path& input) {
    return typeForExtension(input.extension().string().substr(input.extension().empty() ? 0 : 1)) ==
           ImageType::heic;
}

// Whole bytes under the target; none for a target no byte count can express.
std::optional<std::size_t> targetBytes(double targetMB) {
    const double bytes = std::floor(targetMB * bytesPerMB);
    if (!std::isfinite(bytes) || bytes < 1 || bytes > 1e15)
        return std::nullopt;
    return static_cast<std::size_t>(bytes);
}

VImage scaledTo(const VImage& image, int width, int height) {
    const double hscale = static_cast<double>(width) / image.width();
    const double vscale = static_cast<double>(height) / image.height();
    const auto resize = [&](const VImage& in) {
        return in.resize(
            hscale, VImage::option()->set("vscale", vscale)->set("kernel", VIPS_KERNEL_LANCZOS3));
    };
    if (!hasAlpha(image))
        return resize(image).copy_memory();
    return resize(image.premultiply()).unpremultiply().cast(VIPS_FORMAT_UCHAR).copy_memory();
}

} // namespace

bool canReduceForShrink(const VImage& image) {
    return static_cast<int>(image.width() * reductionPerSide) >= smallestSide &&
           static_cast<int>(image.height() * reductionPerSide) >= smallestSide;
}

// Scaled from the previous reduction, not from the original, and kept in memory so each
// encode does not redo the resampling.
std::optional<VImage> reducedForShrink(const VImage& image) {
    if (!canReduceForShrink(image))
        return std::nullopt;
    try {
        return scaledTo(image, static_cast<int>(image.width() * reductionPerSide),
                        static_cast<int>(image.height() * reductionPerSide));
    } catch (const vips::VError&) {
        return std::nullopt;
    }
}

std::optional<std::string> searchByHalving(ShrinkSearch& search) {
    std::optional<std::string> best;
    for (int attempt = 0; attempt < shrinkSizesTried && !best; ++attempt) {
        auto bytes = search.encode(search.image, shrinkFitTestQuality);
        if (bytes && bytes->size() <= search.target) {
            best = std::move(bytes);
            break;
        }
        auto smaller = reducedForShrink(search.image);
        if (!smaller)
            return std::nullopt;
        search.image = std::move(*smaller);
    }
    if (!best)
        return std::nullopt;
    double low = shrinkFitTestQuality;
    double high = 1.0;
    for (int step = 0; step < qualitySteps; ++step) {
        const double quality = (low + high) / 2;
        auto bytes = search.encode(search.image, quality);
        if (!bytes)
            break;
        if (bytes->size() <= search.target) {
            low = quality;
            best = std::move(bytes);
        } else {
            high = quality;
        }
    }
    return best;
}

std::filesystem::path shrink(const std::filesystem::path& input, const ConversionOptions& options,
                             const Progress& progress, ShrinkStats* stats) {
    const std::string name = input.filename().string();
    const auto target = targetBytes(options.targetMB);
    if (!target)
        throw ConversionError::couldNotShrink(name, Recipe::formatMB(options.targetMB));
    const bool heic = isHeif(input);
    const Format format = heic ? Format{ImageType::heic, "heic"} : Format{ImageType::jpeg, "jpg"};

    const Loaded loaded = load(input, std::nullopt, Residence::inMemory);
    int encodes = 0;
    const int expected = heic ? heicEncodeBudget : halvingEncodesAtMost;
    const auto encode = [&](const VImage& image, double quality) {
        auto bytes = data(image, format.type, quality);
        ++encodes;
        if (stats)
            stats->fullSizeEncodes = encodes;
        if (progress)
            progress(std::min(0.95, static_cast<double>(encodes) / expected));
        return bytes;
    };
    // Flattening and the colour conversion happen once, not in every trial encode.
    ShrinkSearch search{withMetadata(prepared(loaded.image, format.type), false).copy_memory(),
                        format.type, *target, encode};
    const auto best = heic ? searchByProbe(search, heicEncodeBudget) : searchByHalving(search);
    if (!best)
        throw ConversionError::couldNotShrink(name, Recipe::formatMB(options.targetMB));
    return publishBeside(*best, input, format.extension, "shrunk", options.keepMetadata);
}

} // namespace kelvane::ImageTools
