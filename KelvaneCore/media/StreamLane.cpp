#include "media/StreamLane.h"

#include "media/MediaTags.h"
#include "naming/ConversionError.h"

#include <algorithm>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace kelvane {
namespace {

using LibAv::check;

AVStream& newStream(AVFormatContext& output) {
    AVStream* stream = avformat_new_stream(&output, nullptr);
    if (stream == nullptr)
        throw LibAv::Error(AVERROR(ENOMEM));
    return *stream;
}

// A broken packet or frame in the middle of a file costs that frame, not the export.
bool isDamagedData(int result) {
    return result == AVERROR_INVALIDDATA;
}

} // namespace

StreamLane::StreamLane(const AVStream& input, AVStream& output)
    : input_(input)
    , output_(output) {}

StreamLane::~StreamLane() = default;

std::unique_ptr<StreamLane> StreamLane::copy(const AVStream& input, AVFormatContext& output) {
    // Asking first spares writing a header the muxer would refuse. A cover picture is no
    // track: it goes into the tags, which take JPEG and PNG whatever the track codecs are.
    const bool cover = (input.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    if (!cover &&
        avformat_query_codec(output.oformat, input.codecpar->codec_id, FF_COMPLIANCE_NORMAL) == 0)
        throw ConversionError::formatNotAvailable();
    AVStream& stream = newStream(output);
    check(avcodec_parameters_copy(stream.codecpar, input.codecpar));
    stream.codecpar->codec_tag = 0; // let the muxer pick its own tag for the codec
    if (input.codecpar->codec_id == AV_CODEC_ID_HEVC)
        stream.codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
    stream.time_base = input.time_base;
    stream.disposition = input.disposition;
    MediaTags::copyStreamTags(input, stream);
    LibAv::copyDisplayMatrix(input, stream);
    return std::unique_ptr<StreamLane>(new StreamLane(input, stream));
}

std::unique_ptr<StreamLane> StreamLane::encodeVideo(const AVFormatContext& source,
                                                    const AVStream& input, AVFormatContext& output,
                                                    VideoTools::Preset preset) {
    AVStream& stream = newStream(output);
    std::unique_ptr<StreamLane> lane(new StreamLane(input, stream));
    lane->decoder_ = LibAv::openDecoder(input);
    const AVCodecContext& decoder = *lane->decoder_;
    if (av_image_check_size(static_cast<unsigned>(decoder.width),
                            static_cast<unsigned>(decoder.height), 0, nullptr) < 0)
        throw LibAv::Error(AVERROR_INVALIDDATA); // absurd or missing dimensions
    const ExportSettings::Size size =
        ExportSettings::fit({decoder.width, decoder.height}, ExportSettings::box(preset));
    const ExportSettings::Picture picture = ExportSettings::picture(preset, decoder);
    lane->filter_ = std::make_unique<FilterGraph>(
        FilterGraph::Kind::video,
        std::vector<std::string>{FilterGraph::videoSource(decoder, input.time_base)},
        ExportSettings::videoFilter(size, picture, decoder));
    const AVRational frameRate = av_guess_frame_rate(const_cast<AVFormatContext*>(&source),
                                                     const_cast<AVStream*>(&input), nullptr);
    lane->encoder_ = ExportSettings::openVideoEncoder(preset, size, picture,
                                                      lane->filter_->timeBase(), frameRate, output);
    if (frameRate.num > 0 && frameRate.den > 0)
        lane->frameStep_ =
            std::max<int64_t>(1, av_rescale_q(1, av_inv_q(frameRate), lane->encoder_->time_base));
    check(avcodec_parameters_from_context(stream.codecpar, lane->encoder_.get()));
    stream.time_base = lane->encoder_->time_base;
    MediaTags::copyStreamTags(input, stream);
    // Phone videos keep their rotation as it was recorded: the picture is stored as shot
    // and the display matrix tells players to turn it, as in the original.
    LibAv::copyDisplayMatrix(input, stream);
    return lane;
}

std::unique_ptr<StreamLane> StreamLane::encodeAudio(const AVStream& input, AVFormatContext& output,
                                                    VideoTools::Preset preset) {
    AVStream& stream = newStream(output);
    std::unique_ptr<StreamLane> lane(new StreamLane(input, stream));
    lane->decoder_ = LibAv::openDecoder(input);
    lane->encoder_ = ExportSettings::openAudioEncoder(preset, *lane->decoder_, output);
    lane->filter_ = std::make_unique<FilterGraph>(
        FilterGraph::Kind::audio,
        std::vector<std::string>{FilterGraph::audioSource(*lane->decoder_, input.time_base)},
        ExportSettings::audioFilter(*lane->encoder_));
    if (lane->encoder_->frame_size > 0)
        lane->filter_->setFrameSize(lane->encoder_->frame_size);
    check(avcodec_parameters_from_context(stream.codecpar, lane->encoder_.get()));
    stream.time_base = lane->encoder_->time_base;
    stream.disposition = input.disposition;
    MediaTags::copyStreamTags(input, stream);
    return lane;
}

void StreamLane::send(AVPacket& packet, const Write& write) {
    if (!decoder_) {
        av_packet_rescale_ts(&packet, input_.time_base, output_.time_base);
        packet.stream_index = output_.index;
        packet.pos = -1;
        write(packet);
        return;
    }
    const int sent = avcodec_send_packet(decoder_.get(), &packet);
    if (sent < 0 && !isDamagedData(sent))
        check(sent);
    if (!decoded_)
        decoded_ = LibAv::makeFrame();
    for (;;) {
        const int received = avcodec_receive_frame(decoder_.get(), decoded_.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF)
            return;
        if (isDamagedData(received))
            continue;
        check(received);
        decoded_->pts = decoded_->best_effort_timestamp;
        filterAndEncode(decoded_.get(), write);
        av_frame_unref(decoded_.get());
    }
}

void StreamLane::flush(const Write& write) {
    if (!decoder_)
        return;
    avcodec_send_packet(decoder_.get(), nullptr); // what the decoder still holds comes out
    if (!decoded_)
        decoded_ = LibAv::makeFrame();
    while (avcodec_receive_frame(decoder_.get(), decoded_.get()) >= 0) {
        decoded_->pts = decoded_->best_effort_timestamp;
        filterAndEncode(decoded_.get(), write);
        av_frame_unref(decoded_.get());
    }
    filterAndEncode(nullptr, write);
    encode(nullptr, write);
}

void StreamLane::filterAndEncode(const AVFrame* frame, const Write& write) {
    filter_->push(0, frame);
    if (!filtered_)
        filtered_ = LibAv::makeFrame();
    while (filter_->pull(filtered_.get())) {
        if (filtered_->pts != AV_NOPTS_VALUE)
            filtered_->pts = av_rescale_q(filtered_->pts, filter_->timeBase(), encoder_->time_base);
        encode(filtered_.get(), write);
        av_frame_unref(filtered_.get());
    }
}

void StreamLane::encode(AVFrame* frame, const Write& write) {
    if (frame != nullptr && encoder_->codec_type == AVMEDIA_TYPE_VIDEO) {
        // Encoders refuse a timestamp that does not move forward (missing in raw streams,
        // or repeated): such a frame follows the previous one by one frame interval.
        if (frame->pts == AV_NOPTS_VALUE ||
            (lastVideoPts_ != AV_NOPTS_VALUE && frame->pts <= lastVideoPts_))
            frame->pts = lastVideoPts_ == AV_NOPTS_VALUE ? 0 : lastVideoPts_ + frameStep_;
        lastVideoPts_ = frame->pts;
        frame->pict_type = AV_PICTURE_TYPE_NONE;
    }
    check(avcodec_send_frame(encoder_.get(), frame));
    drainEncoder(write);
}

void StreamLane::drainEncoder(const Write& write) {
    if (!encoded_)
        encoded_ = LibAv::makePacket();
    for (;;) {
        const int received = avcodec_receive_packet(encoder_.get(), encoded_.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF)
            return;
        check(received);
        av_packet_rescale_ts(encoded_.get(), encoder_->time_base, output_.time_base);
        encoded_->stream_index = output_.index;
        write(*encoded_);
        av_packet_unref(encoded_.get());
    }
}

} // namespace kelvane
