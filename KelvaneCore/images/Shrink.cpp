#include "images/ImageOutput.h"
#include "naming/ConversionError.h"

#include <cmath>

namespace kelvane::ImageTools {
namespace {

using vips::VImage;

constexpr double bytesPerMB = 1'000'000.0;
constexpr double fitTestQuality = 0.1;
constexpr int qualitySteps = 7;
constexpr double reductionPerSide = 0.75;
constexpr int sizesTried = 8;
constexpr int smallestSide = 17;

struct Search {
    VImage image;
    ImageType type;
    std::size_t target;
};

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

// Scaled from the previous reduction, not from the original, and kept in memory so each
// encode does not redo the resampling.
VImage reduced(const VImage& image, int width, int height) {
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

// The first size at which the lowest quality fits, with those bytes; none when even the
// smallest size allowed does not.
std::optional<std::string> bytesAtFittingSize(Search& search) {
    for (int attempt = 0; attempt < sizesTried; ++attempt) {
        auto bytes = data(search.image, search.type, fitTestQuality);
        if (bytes && bytes->size() <= search.target)
            return bytes;
        const int width = static_cast<int>(search.image.width() * reductionPerSide);
        const int height = static_cast<int>(search.image.height() * reductionPerSide);
        if (width < smallestSide || height < smallestSide)
            return std::nullopt;
        try {
            search.image = reduced(search.image, width, height);
        } catch (const vips::VError&) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

// Halves the quality interval, keeping the best encoding that fits.
std::string bestQualityBytes(const Search& search, std::string best) {
    double low = fitTestQuality;
    double high = 1.0;
    for (int step = 0; step < qualitySteps; ++step) {
        const double quality = (low + high) / 2;
        auto bytes = data(search.image, search.type, quality);
        if (!bytes)
            break;
        if (bytes->size() <= search.target) {
            low = quality;
            best = std::move(*bytes);
        } else {
            high = quality;
        }
    }
    return best;
}

} // namespace

std::filesystem::path shrink(const std::filesystem::path& input, const ConversionOptions& options) {
    const std::string name = input.filename().string();
    const auto target = targetBytes(options.targetMB);
    if (!target)
        throw ConversionError::couldNotShrink(name, Recipe::formatMB(options.targetMB));
    const Format format =
        isHeif(input) ? Format{ImageType::heic, "heic"} : Format{ImageType::jpeg, "jpg"};

    const Loaded loaded = load(input);
    // Flattening and the colour conversion happen once, not in every trial encode.
    Search search{withMetadata(prepared(loaded.image, format.type), false).copy_memory(),
                  format.type, *target};
    const auto fitting = bytesAtFittingSize(search);
    if (!fitting)
        throw ConversionError::couldNotShrink(name, Recipe::formatMB(options.targetMB));
    const std::string best = bestQualityBytes(search, *fitting);
    return publishBeside(best, input, format.extension, "shrunk", options.keepMetadata);
}

} // namespace kelvane::ImageTools
