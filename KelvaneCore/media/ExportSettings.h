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

// The pixels and colour tags a re-encode writes. HEVC keeps 10 bits when the source has
// more than 8 or is HDR, and the source's colour tags; H.264 is 8-bit, and an HDR source
// (PQ or HLG) is tone-mapped to BT.709 SDR so it does not play washed out.
struct Picture {
    AVPixelFormat format = AV_PIX_FMT_YUV420P;
    AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
    AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
    AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
    AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
    bool toneMap = false;
};
Picture picture(VideoTools::Preset preset, const AVCodecContext& decoder);

// libx264 or libx265 opened for `preset` at `size`, frames stamped in `timeBase`.
LibAv::Codec openVideoEncoder(VideoTools::Preset preset, Size size, const Picture& picture,
                              AVRational timeBase, AVRational frameRate,
                              const AVFormatContext& output);

// AAC for the source's channels (more than six become stereo) and rate.
LibAv::Codec openAudioEncoder(VideoTools::Preset preset, const AVCodecContext& decoder,
                              const AVFormatContext& output);

// Filters that bring an HDR picture (PQ or HLG) down to BT.709 SDR, to follow a scale in a
// chain; empty for any other picture.
std::string toneMapToSdr(const AVCodecContext& decoder);

// The filter chains between decoder and encoder.
std::string videoFilter(Size size, const Picture& picture, const AVCodecContext& decoder);
std::string audioFilter(const AVCodecContext& encoder);

} // namespace kelvane::ExportSettings
