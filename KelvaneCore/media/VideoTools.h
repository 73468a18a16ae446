#pragma once

#include "catalogue/Recipe.h"
#include "options/ConversionOptions.h"

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <stop_token>

namespace kelvane::VideoTools {

// Called with the fraction done, 0 to 1, from a thread of the tool's own.
using Progress = std::function<void(double)>;

// The export settings every video recipe and the M4A recipe are built from.
enum class Preset {
    passthrough,        // copy the samples into the new container, no decoding
    highestQuality,     // H.264 + AAC at the source's size, visually lossless
    hd720,              // H.264 + AAC inside 1280 × 720, shape kept, never scaled up
    hd1080,             // H.264 + AAC inside 1920 × 1080, shape kept, never scaled up
    hevcHighestQuality, // HEVC (tagged hvc1) + AAC at the source's size
    m4aAudio,           // the best audio track alone, AAC
};

enum class Container { mpeg4, quickTimeMovie, m4aAudio };

// The job was cancelled through its stop token. Not a ConversionError: nothing failed.
class Cancelled : public std::runtime_error {
public:
    Cancelled()
        : std::runtime_error("The conversion was cancelled.") {}
};

// The five video recipes: toMP4 and toMOV rewrap when the container's players take every
// stream, and otherwise re-encode once at the highest quality; video720, video1080 and
// videoHEVC re-encode. Dates, places and languages are kept; HDR becomes SDR for H.264. Returns the
// file written beside the input. Throws ConversionError, or Cancelled (the partial result is then
// kept).
std::filesystem::path convert(const std::filesystem::path& input, Recipe recipe,
                              const ConversionOptions& options, const Progress& progress,
                              std::stop_token stop = {});

// The one export step: `input` through `preset` into `container` at `destination`, which
// the caller owns and has created. Progress is polled every 200 ms (last written time ÷
// duration). On a failure the destination is emptied and ConversionError thrown; on
// cancellation the partial file stays and Cancelled is thrown.
void exportAsset(const std::filesystem::path& input, Preset preset, Container container,
                 const std::filesystem::path& destination, const Progress& progress,
                 std::stop_token stop = {});

// "Video to GIF": the start of the video as a GIF that loops for ever, at the options'
// frame rate and width. Throws ConversionError or Cancelled.
std::filesystem::path gif(const std::filesystem::path& input, const ConversionOptions& options,
                          const Progress& progress, std::stop_token stop = {});

} // namespace kelvane::VideoTools
