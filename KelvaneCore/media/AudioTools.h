#pragma once

#include "catalogue/Recipe.h"
#include "options/ConversionOptions.h"

#include <filesystem>
#include <functional>
#include <string>

namespace kelvane::AudioTools {

using Progress = std::function<void(double)>;

// The sound of an audio or video file as M4A (AAC), WAV, AIFF or CAF beside the input.
// `target` is toM4A, toWAV, toAIFF or toCAF ("Extract Audio" runs as toM4A). Throws
// ConversionError.
std::filesystem::path convert(const std::filesystem::path& input, Recipe target,
                              const ConversionOptions& options, const Progress& progress);

enum class PcmContainer { wav, aiff, caf };

// Every audio track of `input` mixed into interleaved signed 16-bit PCM at the first
// track's rate (44100 Hz when it has none), mono when that track is mono and stereo
// otherwise; little-endian except for AIFF. Decoding and writing run on a worker thread
// of their own; progress (decoded time ÷ duration, at most 0.99) is reported from it, and
// not at all when the duration is unknown.
std::filesystem::path pcm(const std::filesystem::path& input, PcmContainer container,
                          const ConversionOptions& options, const Progress& progress);

} // namespace kelvane::AudioTools
