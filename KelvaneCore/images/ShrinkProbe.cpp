#include "images/ShrinkSearch.h"

#include <algorithm>
#include <map>

// The probe search: a mosaic of small tiles taken at full resolution from across the image
// is cheap to encode, and its sizes, multiplied by the area it stands for, trace the curve
// of size against quality. Tiles keep the picture's own grain, which scaling it down would
// smooth away. Each full-size encode measures how far that curve is off (tile edges, what
// the tiles missed) and the next guess is corrected by it. Usually the first guess fits and
// the second or third lands just under the target.
namespace kelvane::ImageTools {
namespace {

using vips::VImage;

constexpr int lowestQuality = 10; // percent, as the encoder takes it
constexpr int highestQuality = 100;
// Tiles per side of the mosaic, and each tile's side as a fraction of the image's: together a
// sixteenth of the picture.
constexpr int tilesPerSide = 4;
constexpr int tileFraction = 16;
// Images with a shorter side than this are their own probe.
constexpr int smallestTiledSide = 512;
// A full-size encode is never more than this many times smaller than the curve says;
// beyond that the size is reduced without measuring.
constexpr double smallestCorrection = 0.4;

// Tiles from the middle of each cell of a tilesPerSide × tilesPerSide grid, side by side.
VImage mosaicOf(const VImage& image) {
    const int tileWidth = image.width() / tileFraction;
    const int tileHeight = image.height() / tileFraction;
    std::vector<VImage> tiles;
    for (int row = 0; row < tilesPerSide; ++row) {
        for (int column = 0; column < tilesPerSide; ++column) {
            const int left = (2 * column + 1) * image.width() / (2 * tilesPerSide) - tileWidth / 2;
            const int top = (2 * row + 1) * image.height() / (2 * tilesPerSide) - tileHeight / 2;
            tiles.push_back(image.extract_area(left, top, tileWidth, tileHeight));
        }
    }
    return VImage::arrayjoin(tiles, VImage::option()->set("across", tilesPerSide)).copy_memory();
}

class ProbeCurve {
public:
    ProbeCurve(const VImage& image, ImageType type)
        : type_(type) {
        const bool tiled = std::min(image.width(), image.height()) >= smallestTiledSide;
        probe_ = tiled ? mosaicOf(image) : image;
        corner_ =
            probe_.extract_area(0, 0, std::min(16, probe_.width()), std::min(16, probe_.height()));
        area_ = static_cast<double>(image.width()) * image.height() /
                (static_cast<double>(probe_.width()) * probe_.height());
    }

    // Full-size bytes the probe predicts at `quality` percent; none if it cannot be encoded.
    // The file's headers are counted once, not once per sixteenth of the picture.
    std::optional<double> predicted(int quality) {
        const auto known = sizes_.find(quality);
        if (known != sizes_.end())
            return known->second;
        std::optional<double> size;
        const auto bytes = data(probe_, type_, quality / 100.0);
        const auto headers = area_ > 1 ? data(corner_, type_, quality / 100.0) : std::string();
        if (bytes && headers) {
            const auto fixed = static_cast<double>(std::min(headers->size(), bytes->size()));
            size = (static_cast<double>(bytes->size()) - fixed) * area_ + fixed;
        }
        sizes_.emplace(quality, size);
        return size;
    }

    // The highest quality from `low` to `high` predicted to stay within `limit` bytes.
    std::optional<int> highestWithin(double limit, int low, int high) {
        std::optional<int> found;
        while (low <= high) {
            const int middle = (low + high) / 2;
            const auto size = predicted(middle);
            if (size && *size <= limit) {
                found = middle;
                low = middle + 1;
            } else {
                high = middle - 1;
            }
        }
        return found;
    }

private:
    ImageType type_;
    VImage probe_;
    VImage corner_; // so small that its encoding is nearly all headers
    double area_ = 1;
    std::map<int, std::optional<double>> sizes_;
};

struct Bounds {
    int fits = lowestQuality - 1;    // highest quality seen under the target at this size
    int misses = highestQuality + 1; // lowest quality seen over it
    std::optional<std::string> best;
};

// The quality to encode next at this size, none when the size must be reduced or `best`
// cannot be improved on.
std::optional<int> nextQuality(ProbeCurve& curve, const Bounds& bounds, double correction,
                               bool mayMeasure, std::size_t target) {
    const auto limit = static_cast<double>(target) / correction;
    if (const auto quality = curve.highestWithin(limit, bounds.fits + 1, bounds.misses - 1))
        return quality;
    if (bounds.best || !mayMeasure || bounds.misses <= lowestQuality)
        return std::nullopt;
    // Not measured yet, or no smaller size to go to: worth one encode at the lowest quality
    // before giving up on this size, unless the curve is far over the target.
    const auto lowest = curve.predicted(lowestQuality);
    if (lowest && *lowest * smallestCorrection <= static_cast<double>(target))
        return lowestQuality;
    return std::nullopt;
}

} // namespace

std::optional<std::string> searchByProbe(ShrinkSearch& search, int encodeBudget) {
    double correction = 1.0; // full-size bytes ÷ predicted bytes, from the last encode
    bool corrected = false;
    int encodes = 0;
    for (int size = 0; size < shrinkSizesTried; ++size) {
        ProbeCurve curve(search.image, search.type);
        Bounds bounds;
        const bool lastSize = size + 1 == shrinkSizesTried || !canReduceForShrink(search.image);
        while (!(bounds.best && encodes >= encodeBudget)) {
            const auto quality =
                nextQuality(curve, bounds, correction, !corrected || lastSize, search.target);
            if (!quality)
                break;
            auto bytes = search.encode(search.image, *quality / 100.0);
            ++encodes;
            if (!bytes)
                break;
            if (const auto predicted = curve.predicted(*quality); predicted && *predicted > 0) {
                correction = static_cast<double>(bytes->size()) / *predicted;
                corrected = true;
            }
            if (bytes->size() <= search.target) {
                bounds.fits = *quality;
                bounds.best = std::move(bytes);
            } else {
                bounds.misses = *quality;
            }
        }
        if (bounds.best)
            return bounds.best;
        auto smaller = reducedForShrink(search.image);
        if (!smaller)
            return std::nullopt;
        search.image = std::move(*smaller);
    }
    return std::nullopt;
}

} // namespace kelvane::ImageTools
