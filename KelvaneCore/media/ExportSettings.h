#pragma once

#include "media/LibAv.h"
#include "media/VideoTools.h"

#include <optional>
#include <string>

namespace kelvane::ExportSettings {

struct Size {
    int width = 0;
    int height = 0;
    bool operator==(const Size&) const = default;
};

// The box a preset fits the picture into; none keeps the source's size.
std::optional<Size> box(VideoTools::Preset preset);

// The size a re-encode writes: inside `box` in the source's own orientation (a portrait
// source fits 720 × 1280 for the 720p box), shape kept, never scaled up, both sides even
// (4:2:0 chroma needs it) and at least 2.
Size fit(Size source, std::optional<Size> box);

// Whether players of `container` take a stream of `codec` as it is: what a rewrap may copy.
// The muxers accept more (VP9, Opus, FLAC in MP4), but many TVs, phones and editors refuse
// such files, so those are encoded instead.
bool playersTake(VideoTools::Container container, AVCodecID codec);

// The muxer for a container, and whether its index goes to the front (+faststart).
const char* muxer(VideoTools::Container container);
bool networkFriendly(VideoTools::Container container);

// libx264 or libx265 opened for `preset` at `size`, frames stamped in `timeBase`.
LibAv::Codec openVideoEncoder(VideoTools::Preset preset, Size size, AVRational timeBase,
                              AVRational frameRate, const AVFormatContext& output);

// AAC for the source's channels (more than six become stereo) and rate.
LibAv::Codec openAudioEncoder(VideoTools::Preset preset, const AVCodecContext& decoder,
                              const AVFormatContext& output);

// The filter chains between decoder and encoder.
std::string videoFilter(Size size, const AVCodecContext& decoder);
std::string audioFilter(const AVCodecContext& encoder);

} // namespace kelvane::ExportSettings
