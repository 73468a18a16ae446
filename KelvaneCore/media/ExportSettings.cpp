#include "media/ExportSettings.h"

#include "naming/ConversionError.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>

namespace kelvane::ExportSettings {
namespace {

using LibAv::check;
using VideoTools::Container;
using VideoTools::Preset;

// Encoder settings, measured on a 2-core machine like the ones we build on (3 s of noisy
// 1080p; seconds and output size per preset):
// - x264 at CRF 18 is the usual "visually lossless" point; the preset only trades time for
//   bytes at that quality. veryfast 21.5 s / 50.9 MB, faster 32.6 s / 54.2 MB, fast 48.9 s /
//   57.3 MB, medium 66.1 s / 57.6 MB: the slower presets bought nothing on this material, so
//   highest quality uses veryfast.
// - The 720p and 1080p boxes are "compress" recipes at CRF 21, where the preset does pay:
//   scaled to 720p, veryfast 10.7 s / 4.0 MB, faster 10.8 s / 3.0 MB, medium 19.0 s / 3.6 MB.
//   faster gives the smallest file for the time of veryfast.
// - x265's CRF scale sits a few points above x264's for the same look; CRF 22 is its visually
//   lossless point. veryfast 66 s / 18.2 MB, faster 94 s / 18.2 MB, medium 518 s / 20.7 MB:
//   veryfast, since the slower presets gave no smaller file for up to eight times the wait.
struct VideoEncoder {
    const char* name;
    const char* preset;
    const char* crf;
};

VideoEncoder videoEncoderFor(Preset preset) {
    switch (preset) {
    case Preset::hd720:
    case Preset::hd1080:
        return {"libx264", "faster", "21"};
    case Preset::hevcHighestQuality:
        return {"libx265", "veryfast", "22"};
    default:
        return {"libx264", "veryfast", "18"};
    }
}

int evenFloor(double value) {
    return std::max(2, static_cast<int>(std::floor(value / 2.0)) * 2);
}

bool encoderTakesLayout(const AVCodec& codec, const AVChannelLayout& layout) {
    if (codec.ch_layouts == nullptr)
        return true;
    for (const AVChannelLayout* known = codec.ch_layouts; known->nb_channels != 0; ++known)
        if (av_channel_layout_compare(known, &layout) == 0)
            return true;
    return false;
}

int supportedRate(const AVCodec& codec, int rate) {
    if (codec.supported_samplerates == nullptr)
        return rate;
    for (const int* known = codec.supported_samplerates; *known != 0; ++known)
        if (*known == rate)
            return rate;
    return 48000;
}

void chooseLayout(const AVCodec& codec, const AVCodecContext& decoder, AVChannelLayout& layout) {
    const int channels = std::max(1, decoder.ch_layout.nb_channels);
    if (decoder.ch_layout.order == AV_CHANNEL_ORDER_NATIVE && channels <= 6 &&
        encoderTakesLayout(codec, decoder.ch_layout)) {
        check(av_channel_layout_copy(&layout, &decoder.ch_layout));
        return;
    }
    av_channel_layout_default(&layout, channels == 1 ? 1 : 2);
}

bool isHdr(AVColorTransferCharacteristic transfer) {
    return transfer == AVCOL_TRC_SMPTE2084 || transfer == AVCOL_TRC_ARIB_STD_B67;
}

bool isDeeperThan8Bits(AVPixelFormat format) {
    const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(format);
    return pixels != nullptr && pixels->comp[0].depth > 8;
}

// zscale takes the colour numbers of ITU-T H.273, the same as libav's enumerations. HDR
// video without primaries or matrix tags is BT.2020 in practice.
std::string toneMapChain(const AVCodecContext& decoder) {
    const int primaries = decoder.color_primaries != AVCOL_PRI_UNSPECIFIED ? decoder.color_primaries
                                                                           : AVCOL_PRI_BT2020;
    const int matrix =
        decoder.colorspace != AVCOL_SPC_UNSPECIFIED ? decoder.colorspace : AVCOL_SPC_BT2020_NCL;
    const char* range = decoder.color_range == AVCOL_RANGE_JPEG ? "full" : "limited";
    // Into linear light in floating point, onto BT.709 primaries, the highlights rolled off
    // (hable) without desaturating, then back to BT.709 video levels.
    return ",zscale=tin=" + std::to_string(decoder.color_trc) +
           ":pin=" + std::to_string(primaries) + ":min=" + std::to_string(matrix) +
           ":rin=" + range +
           ":t=linear:npl=100,format=gbrpf32le,zscale=p=bt709,tonemap=hable:desat=0,"
           "zscale=t=bt709:m=bt709:r=limited";
}

void tagColours(AVCodecContext& context, const Picture& picture) {
    context.pix_fmt = picture.format;
    context.color_primaries = picture.primaries;
    context.color_trc = picture.transfer;
    context.colorspace = picture.matrix;
    context.color_range = picture.range;
}

void openEncoder(AVCodecContext& context, const AVCodec& codec, const AVFormatContext& output,
                 AVDictionary** options) {
    if ((output.oformat->flags & AVFMT_GLOBALHEADER) != 0)
        context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    const int opened = avcodec_open2(&context, &codec, options);
    av_dict_free(options);
    check(opened);
}

} // namespace

std::optional<Size> box(Preset preset) {
    switch (preset) {
    case Preset::hd720:
        return Size{1280, 720};
    case Preset::hd1080:
        return Size{1920, 1080};
    default:
        return std::nullopt;
    }
}

Size fit(Size source, std::optional<Size> box) {
    double scale = 1.0;
    if (box && source.width > 0 && source.height > 0) {
        const bool portrait = source.height > source.width;
        const double boxWidth = portrait ? box->height : box->width;
        const double boxHeight = portrait ? box->width : box->height;
        scale = std::min({1.0, boxWidth / source.width, boxHeight / source.height});
    }
    return {evenFloor(source.width * scale), evenFloor(source.height * scale)};
}

bool playersTake(Container container, AVCodecID codec) {
    switch (codec) {
    case AV_CODEC_ID_H264:
    case AV_CODEC_ID_HEVC:
    case AV_CODEC_ID_MPEG4:
    case AV_CODEC_ID_AAC:
    case AV_CODEC_ID_ALAC:
    case AV_CODEC_ID_MP3:
    case AV_CODEC_ID_AC3:
        return true;
    case AV_CODEC_ID_PRORES:
    case AV_CODEC_ID_PCM_S16LE:
    case AV_CODEC_ID_PCM_S16BE:
    case AV_CODEC_ID_PCM_S24LE:
    case AV_CODEC_ID_PCM_S24BE:
    case AV_CODEC_ID_PCM_S32LE:
    case AV_CODEC_ID_PCM_S32BE:
    case AV_CODEC_ID_PCM_F32LE:
    case AV_CODEC_ID_PCM_F32BE:
    case AV_CODEC_ID_PCM_F64LE:
    case AV_CODEC_ID_PCM_F64BE:
    case AV_CODEC_ID_PCM_S8:
    case AV_CODEC_ID_PCM_U8:
        return container == Container::quickTimeMovie;
    default:
        return false;
    }
}

const char* muxer(Container container) {
    switch (container) {
    case Container::quickTimeMovie:
        return "mov";
    case Container::m4aAudio:
        return "ipod";
    case Container::mpeg4:
        break;
    }
    return "mp4";
}

bool networkFriendly(Container container) {
    return container != Container::quickTimeMovie;
}

Picture picture(Preset preset, const AVCodecContext& decoder) {
    const bool hdr = isHdr(decoder.color_trc);
    if (preset != Preset::hevcHighestQuality && hdr)
        return {.format = AV_PIX_FMT_YUV420P,
                .primaries = AVCOL_PRI_BT709,
                .transfer = AVCOL_TRC_BT709,
                .matrix = AVCOL_SPC_BT709,
                .range = AVCOL_RANGE_MPEG,
                .toneMap = true};
    const bool tenBits =
        preset == Preset::hevcHighestQuality && (hdr || isDeeperThan8Bits(decoder.pix_fmt));
    // Full range is not carried over: the scaler may have brought it to video levels.
    return {.format = tenBits ? AV_PIX_FMT_YUV420P10LE : AV_PIX_FMT_YUV420P,
            .primaries = decoder.color_primaries,
            .transfer = decoder.color_trc,
            .matrix = decoder.colorspace,
            .range = decoder.color_range == AVCOL_RANGE_MPEG ? AVCOL_RANGE_MPEG
                                                             : AVCOL_RANGE_UNSPECIFIED,
            .toneMap = false};
}

LibAv::Codec openVideoEncoder(Preset preset, Size size, const Picture& picture, AVRational timeBase,
                              AVRational frameRate, const AVFormatContext& output) {
    const VideoEncoder settings = videoEncoderFor(preset);
    const AVCodec* codec = avcodec_find_encoder_by_name(settings.name);
    if (codec == nullptr)
        throw ConversionError::cannotExportWithSetting();
    LibAv::Codec context(avcodec_alloc_context3(codec));
    if (!context)
        throw LibAv::Error(AVERROR(ENOMEM));
    context->width = size.width;
    context->height = size.height;
    tagColours(*context, picture);
    context->time_base = timeBase;
    context->sample_aspect_ratio = {1, 1};
    if (frameRate.num > 0 && frameRate.den > 0)
        context->framerate = frameRate;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "preset", settings.preset, 0);
    av_dict_set(&options, "crf", settings.crf, 0);
    if (preset == Preset::hevcHighestQuality) {
        // Players that insist on parameter sets in the sample description want hvc1.
        context->codec_tag = MKTAG('h', 'v', 'c', '1');
        // x265 prints a banner on standard error at any lower level.
        av_dict_set(&options, "x265-params", "log-level=error", 0);
    }
    openEncoder(*context, *codec, output, &options);
    return context;
}

LibAv::Codec openAudioEncoder(Preset preset, const AVCodecContext& decoder,
                              const AVFormatContext& output) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (codec == nullptr)
        throw ConversionError::cannotExportWithSetting();
    LibAv::Codec context(avcodec_alloc_context3(codec));
    if (!context)
        throw LibAv::Error(AVERROR(ENOMEM));
    chooseLayout(*codec, decoder, context->ch_layout);
    context->sample_rate =
        supportedRate(*codec, decoder.sample_rate > 0 ? decoder.sample_rate : 48000);
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->time_base = {1, context->sample_rate};
    // 128 kb/s a channel for music files, 96 beside a picture: transparent for AAC.
    const int perChannel = preset == Preset::m4aAudio ? 128000 : 96000;
    context->bit_rate = static_cast<int64_t>(perChannel) * context->ch_layout.nb_channels;
    AVDictionary* options = nullptr;
    openEncoder(*context, *codec, output, &options);
    return context;
}

std::string toneMapToSdr(const AVCodecContext& decoder) {
    return isHdr(decoder.color_trc) ? toneMapChain(decoder) : std::string();
}

std::string videoFilter(Size size, const Picture& picture, const AVCodecContext& decoder) {
    std::string chain = "[in0]scale=" + std::to_string(size.width) + ":" +
                        std::to_string(size.height) + ":flags=bicubic";
    if (picture.toneMap)
        chain += toneMapChain(decoder);
    chain += std::string(",format=") + av_get_pix_fmt_name(picture.format);
    const AVRational aspect = decoder.sample_aspect_ratio;
    if (aspect.num <= 0 || aspect.num == aspect.den)
        chain += ",setsar=1"; // rounding to even sizes must not invent a pixel shape
    return chain + "[out]";
}

std::string audioFilter(const AVCodecContext& encoder) {
    char layout[128] = {};
    av_channel_layout_describe(&encoder.ch_layout, layout, sizeof layout);
    const std::string rate = std::to_string(encoder.sample_rate);
    return "[in0]aresample=" + rate + ",aformat=sample_fmts=fltp:sample_rates=" + rate +
           ":channel_layouts=" + layout + "[out]";
}

} // namespace kelvane::ExportSettings
