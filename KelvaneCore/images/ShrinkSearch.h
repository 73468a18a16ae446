#pragma once

// The two size searches behind ImageTools::shrink: halving the quality with full-size
// encodes where encoding is cheap (JPEG), and steering by a small probe where every
// full-size encode costs seconds (HEIC).

#include "images/ImageCodec.h"

#include <functional>
#include <optional>
#include <string>

namespace kelvane::ImageTools {

inline constexpr double shrinkFitTestQuality = 0.1;
inline constexpr int shrinkSizesTried = 8;

struct ShrinkSearch {
    vips::VImage image; // the size being tried; flattened and in sRGB already
    ImageType type;
    std::size_t target;
    // One full-size encode at a quality from 0 to 1; counted and reported by the caller.
    std::function<std::optional<std::string>(const vips::VImage&, double)> encode;
};

// Whether reducing `image` by 0.75 per side keeps both sides at 17 pixels or more.
bool canReduceForShrink(const vips::VImage& image);
// `image` reduced by 0.75 per side, none when it cannot be or the resampling fails.
std::optional<vips::VImage> reducedForShrink(const vips::VImage& image);

// The highest-quality encoding under the target, search.image left at the size it was
// found at; none when no size fits.
std::optional<std::string> searchByHalving(ShrinkSearch& search);
std::optional<std::string> searchByProbe(ShrinkSearch& search, int encodeBudget);

} // namespace kelvane::ImageTools
