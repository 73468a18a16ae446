#pragma once

// Clips made with the ffmpeg command-line tool and read back with libavformat.

#include "media/FilterGraph.h"
#include "media/LibAv.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <QCryptographicHash>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelvane::fixtures {

// Runs `ffmpeg -v error -y ARGS` in `folder`; throws when it fails.
inline void ffmpeg(const std::filesystem::path& folder, const std::string& args) {
    const std::string command =
        "cd '" + folder.string() + "' && ffmpeg -nostdin -v error -y " + args + " 2>&1";
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("ffmpeg failed: " + args);
}

// Test pictures and tones of the given size and length, H.264 + AAC unless told otherwise.
inline std::string lavfiClip(const std::string& size, double seconds, int rate = 10) {
    const std::string length = std::to_string(seconds);
    return "-f lavfi -i testsrc2=s=" + size + ":r=" + std::to_string(rate) + ":d=" + length +
           " -f lavfi -i sine=f=440:d=" + length;
}

struct StreamInfo {
    AVMediaType type = AVMEDIA_TYPE_UNKNOWN;
    std::string codec;
    std::string tag;
    int width = 0;
    int height = 0;
    int sampleRate = 0;
    int channels = 0;
    int rotation = 0;
    std::string language;
    bool attachedPicture = false;
    std::string pixels;  // "yuv420p10le"
    std::string colours; // primaries/transfer/matrix: "bt2020/arib-std-b67/bt2020nc"
};

using Tags = std::map<std::string, std::string>;

inline Tags tagsOf(const AVDictionary* dictionary) {
    Tags tags;
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(dictionary, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr)
        tags[entry->key] = entry->value;
    return tags;
}

struct MediaInfo {
    std::string format;
    double duration = 0;
    Tags tags;
    std::vector<StreamInfo> streams;

    int count(AVMediaType type) const {
        int found = 0;
        for (const StreamInfo& stream : streams)
            found += stream.type == type ? 1 : 0;
        return found;
    }
    StreamInfo first(AVMediaType type) const {
        for (const StreamInfo& stream : streams)
            if (stream.type == type)
                return stream;
        throw std::runtime_error("no such stream");
    }
};

inline std::string tagText(uint32_t tag) {
    std::string text;
    for (int shift = 0; shift < 32; shift += 8)
        text += static_cast<char>((tag >> shift) & 0xff);
    return text;
}

inline std::string pixelsOf(const AVCodecParameters& parameters) {
    if (parameters.codec_type != AVMEDIA_TYPE_VIDEO)
        return {};
    const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(parameters.format));
    return name != nullptr ? name : "none";
}

inline std::string coloursOf(const AVCodecParameters& parameters) {
    return std::string(av_color_primaries_name(parameters.color_primaries)) + "/" +
           av_color_transfer_name(parameters.color_trc) + "/" +
           av_color_space_name(parameters.color_space);
}

inline MediaInfo probe(const std::filesystem::path& file) {
    const LibAv::Input input = LibAv::openInput(file);
    MediaInfo info;
    info.format = input->iformat->name;
    info.duration = input->duration > 0 ? static_cast<double>(input->duration) / AV_TIME_BASE : 0;
    info.tags = tagsOf(input->metadata);
    for (unsigned index = 0; index < input->nb_streams; ++index) {
        const AVStream& stream = *input->streams[index];
        const AVCodecParameters& parameters = *stream.codecpar;
        info.streams.push_back({parameters.codec_type, avcodec_get_name(parameters.codec_id),
                                tagText(parameters.codec_tag), parameters.width, parameters.height,
                                parameters.sample_rate, parameters.ch_layout.nb_channels,
                                LibAv::rotationDegrees(stream), tagsOf(stream.metadata)["language"],
                                (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0,
                                pixelsOf(parameters), coloursOf(parameters)});
    }
    return info;
}

// One digest per packet of the first stream of `type`, in file order.
inline std::vector<QByteArray> packetDigests(const std::filesystem::path& file, AVMediaType type) {
    const LibAv::Input input = LibAv::openInput(file);
    const int stream = av_find_best_stream(input.get(), type, -1, -1, nullptr, 0);
    std::vector<QByteArray> digests;
    const LibAv::Packet packet = LibAv::makePacket();
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        if (packet->stream_index == stream)
            digests.push_back(QCryptographicHash::hash(QByteArrayView(packet->data, packet->size),
                                                       QCryptographicHash::Md5));
        av_packet_unref(packet.get());
    }
    return digests;
}

// The first audio stream decoded; its samples must be interleaved signed 16-bit.
inline std::vector<int16_t> decodeS16(const std::filesystem::path& file) {
    const LibAv::Input input = LibAv::openInput(file);
    const int stream = av_find_best_stream(input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    const LibAv::Codec decoder = LibAv::openDecoder(*input->streams[stream]);
    std::vector<int16_t> samples;
    const LibAv::Packet packet = LibAv::makePacket();
    const LibAv::Frame frame = LibAv::makeFrame();
    const auto drain = [&] {
        while (avcodec_receive_frame(decoder.get(), frame.get()) >= 0) {
            if (frame->format != AV_SAMPLE_FMT_S16)
                throw std::runtime_error("not interleaved 16-bit");
            const auto* data = reinterpret_cast<const int16_t*>(frame->data[0]);
            samples.insert(samples.end(), data,
                           data + frame->nb_samples * frame->ch_layout.nb_channels);
            av_frame_unref(frame.get());
        }
    };
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        if (packet->stream_index == stream && avcodec_send_packet(decoder.get(), packet.get()) >= 0)
            drain();
        av_packet_unref(packet.get());
    }
    avcodec_send_packet(decoder.get(), nullptr);
    drain();
    return samples;
}

// The average grey level (0 to 255) of the first picture, whatever its pixel format.
inline double firstPictureBrightness(const std::filesystem::path& file) {
    const LibAv::Input input = LibAv::openInput(file);
    const int stream = av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    const LibAv::Codec decoder = LibAv::openDecoder(*input->streams[stream]);
    const LibAv::Packet packet = LibAv::makePacket();
    const LibAv::Frame frame = LibAv::makeFrame();
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        if (packet->stream_index == stream)
            avcodec_send_packet(decoder.get(), packet.get());
        av_packet_unref(packet.get());
        if (avcodec_receive_frame(decoder.get(), frame.get()) < 0)
            continue;
        FilterGraph grey(FilterGraph::Kind::video,
                         {FilterGraph::videoSource(*decoder, input->streams[stream]->time_base)},
                         "[in0]format=gray[out]");
        grey.push(0, frame.get());
        grey.push(0, nullptr);
        const LibAv::Frame picture = LibAv::makeFrame();
        if (!grey.pull(picture.get()))
            break;
        double sum = 0;
        for (int y = 0; y < picture->height; ++y)
            for (int x = 0; x < picture->width; ++x)
                sum += picture->data[0][static_cast<std::ptrdiff_t>(y) * picture->linesize[0] + x];
        return sum / (picture->width * picture->height);
    }
    throw std::runtime_error("no picture");
}

// Whether the file's index (moov) comes before its samples (mdat): +faststart.
inline bool indexFirst(const std::string& bytes) {
    const auto moov = bytes.find("moov");
    const auto mdat = bytes.find("mdat");
    return moov != std::string::npos && mdat != std::string::npos && moov < mdat;
}

} // namespace kelvane::fixtures
