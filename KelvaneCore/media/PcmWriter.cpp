#include "media/AudioTools.h"
#include "media/FilterGraph.h"
#include "media/LibAv.h"
#include "media/MediaTags.h"
#include "media/ResultFile.h"
#include "naming/ConversionError.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <exception>
#include <pthread.h>
#include <thread>

namespace kelvane::AudioTools {
namespace {

namespace fs = std::filesystem;
using LibAv::check;

struct PcmFormat {
    int rate = 44100;
    int channels = 2;
};

// The first track decides: its rate when it has one, mono only when it is mono.
PcmFormat formatOf(const AVStream& first) {
    const AVCodecParameters& parameters = *first.codecpar;
    return {parameters.sample_rate > 0 ? parameters.sample_rate : 44100,
            parameters.ch_layout.nb_channels < 2 ? 1 : 2};
}

struct Target {
    const char* muxer;
    AVCodecID codec;
    const char* ext;
};

Target targetOf(PcmContainer container) {
    switch (container) {
    case PcmContainer::aiff:
        return {"aiff", AV_CODEC_ID_PCM_S16BE, "aiff"}; // AIFF samples are big-endian
    case PcmContainer::caf:
        return {"caf", AV_CODEC_ID_PCM_S16LE, "caf"};
    case PcmContainer::wav:
        break;
    }
    return {"wav", AV_CODEC_ID_PCM_S16LE, "wav"};
}

// The muxer and the 16-bit encoder of one PCM file, tagged like its source.
class PcmFile {
public:
    PcmFile(const fs::path& destination, const Target& target, PcmFormat format,
            const AVFormatContext& source)
        : output_(LibAv::openOutput(destination, target.muxer))
        , packet_(LibAv::makePacket()) {
        const AVCodec* codec = avcodec_find_encoder(target.codec);
        if (codec == nullptr)
            throw ConversionError::couldNotWrite(target.ext);
        encoder_.reset(avcodec_alloc_context3(codec));
        if (!encoder_)
            throw LibAv::Error(AVERROR(ENOMEM));
        encoder_->sample_fmt = AV_SAMPLE_FMT_S16;
        encoder_->sample_rate = format.rate;
        av_channel_layout_default(&encoder_->ch_layout, format.channels);
        encoder_->time_base = {1, format.rate};
        if (avcodec_open2(encoder_.get(), codec, nullptr) < 0)
            throw ConversionError::couldNotWrite(target.ext);
        AVStream* stream = avformat_new_stream(output_.get(), nullptr);
        if (stream == nullptr)
            throw LibAv::Error(AVERROR(ENOMEM));
        check(avcodec_parameters_from_context(stream->codecpar, encoder_.get()));
        stream->time_base = encoder_->time_base;
        MediaTags::copyContainerTags(source, *output_);
        if (avformat_write_header(output_.get(), nullptr) < 0)
            throw ConversionError::couldNotWrite(target.ext);
    }

    // Interleaved 16-bit samples in the encoder's time base; null at the end.
    void write(AVFrame* frame) {
        check(avcodec_send_frame(encoder_.get(), frame));
        for (;;) {
            const int received = avcodec_receive_packet(encoder_.get(), packet_.get());
            if (received == AVERROR(EAGAIN) || received == AVERROR_EOF)
                return;
            check(received);
            AVStream& stream = *output_->streams[0];
            av_packet_rescale_ts(packet_.get(), encoder_->time_base, stream.time_base);
            packet_->stream_index = 0;
            check(av_interleaved_write_frame(output_.get(), packet_.get()));
        }
    }

    void finish() {
        write(nullptr);
        check(av_write_trailer(output_.get()));
    }

    AVRational timeBase() const { return encoder_->time_base; }

private:
    LibAv::Output output_;
    LibAv::Codec encoder_;
    LibAv::Packet packet_;
};

// All audio tracks, decoded and mixed into the PCM format.
std::string mixChain(std::size_t tracks, PcmFormat format) {
    std::string chain;
    for (std::size_t index = 0; index < tracks; ++index)
        chain += "[in" + std::to_string(index) + "]";
    if (tracks > 1)
        chain += "amix=inputs=" + std::to_string(tracks) + ":normalize=0,";
    const std::string rate = std::to_string(format.rate);
    return chain + "aresample=" + rate + ",aformat=sample_fmts=s16:sample_rates=" + rate +
           ":channel_layouts=" + (format.channels == 1 ? "mono" : "stereo") + "[out]";
}

class PcmCopy {
public:
    PcmCopy(const fs::path& input, const fs::path& destination, PcmContainer container,
            const Progress& progress)
        : input_(LibAv::openInput(input))
        , progress_(progress) {
        std::vector<std::string> sources;
        for (unsigned index = 0; index < input_->nb_streams; ++index) {
            const AVStream& stream = *input_->streams[index];
            if (stream.codecpar->codec_type != AVMEDIA_TYPE_AUDIO)
                continue;
            trackOf_.resize(std::size_t{index} + 1, -1);
            trackOf_[index] = static_cast<int>(decoders_.size());
            decoders_.push_back(LibAv::openDecoder(stream));
            sources.push_back(FilterGraph::audioSource(*decoders_.back(), stream.time_base));
        }
        if (decoders_.empty())
            throw ConversionError::hasNoAudio(input.filename().string());
        const int first =
            static_cast<int>(std::find(trackOf_.begin(), trackOf_.end(), 0) - trackOf_.begin());
        const PcmFormat format = formatOf(*input_->streams[first]);
        mix_ = std::make_unique<FilterGraph>(FilterGraph::Kind::audio, sources,
                                             mixChain(decoders_.size(), format));
        file_ = std::make_unique<PcmFile>(destination, targetOf(container), format, *input_);
        if (input_->duration > 0)
            duration_ = static_cast<double>(input_->duration) / AV_TIME_BASE;
    }

    void run() {
        const LibAv::Packet packet = LibAv::makePacket();
        while (av_read_frame(input_.get(), packet.get()) >= 0) {
            const auto stream = static_cast<std::size_t>(packet->stream_index);
            const int track = stream < trackOf_.size() ? trackOf_[stream] : -1;
            if (track >= 0)
                decode(static_cast<std::size_t>(track), packet.get());
            av_packet_unref(packet.get());
        }
        for (std::size_t track = 0; track < decoders_.size(); ++track) {
            decode(track, nullptr);
            mix_->push(track, nullptr);
        }
        drainMix();
        file_->finish();
    }

private:
    void decode(std::size_t track, const AVPacket* packet) {
        AVCodecContext& decoder = *decoders_[track];
        const int sent = avcodec_send_packet(&decoder, packet);
        if (sent < 0 && sent != AVERROR_INVALIDDATA)
            check(sent);
        const LibAv::Frame frame = LibAv::makeFrame();
        for (;;) {
            const int received = avcodec_receive_frame(&decoder, frame.get());
            if (received == AVERROR(EAGAIN) || received == AVERROR_EOF)
                return;
            if (received == AVERROR_INVALIDDATA)
                continue;
            check(received);
            frame->pts = frame->best_effort_timestamp;
            mix_->push(track, frame.get());
            av_frame_unref(frame.get());
            drainMix();
        }
    }

    void drainMix() {
        const LibAv::Frame mixed = LibAv::makeFrame();
        while (mix_->pull(mixed.get())) {
            mixed->pts = av_rescale_q(mixed->pts, mix_->timeBase(), file_->timeBase());
            report(static_cast<double>(mixed->pts) * av_q2d(file_->timeBase()));
            file_->write(mixed.get());
            av_frame_unref(mixed.get());
        }
    }

    // Decoded time over the duration, reported before the block is written, never 1.0.
    void report(double seconds) const {
        if (duration_ <= 0 || !progress_)
            return;
        const double fraction = seconds / duration_;
        progress_(fraction >= 0 && fraction < 0.99 ? fraction : (fraction < 0 ? 0.0 : 0.99));
    }

    LibAv::Input input_;
    const Progress& progress_;
    std::vector<int> trackOf_; // input stream → audio track, -1 for other streams
    std::vector<LibAv::Codec> decoders_;
    std::unique_ptr<FilterGraph> mix_;
    std::unique_ptr<PcmFile> file_;
    double duration_ = 0;
};

// The copy runs on a thread of its own, named like the queue it stands for.
std::exception_ptr copyOnWorker(const fs::path& input, const fs::path& destination,
                                PcmContainer container, const Progress& progress) {
    std::exception_ptr failure;
    std::thread worker([&] {
        pthread_setname_np(pthread_self(), "kelvane.pcm");
        try {
            PcmCopy(input, destination, container, progress).run();
        } catch (...) {
            failure = std::current_exception();
        }
    });
    worker.join();
    return failure;
}

} // namespace

fs::path pcm(const fs::path& input, PcmContainer container, const ConversionOptions& options,
             const Progress& progress) {
    ResultFile result(input, targetOf(container).ext, options.keepMetadata);
    const std::exception_ptr failure = copyOnWorker(input, result.path(), container, progress);
    if (!failure)
        return result.publish();
    try {
        std::rethrow_exception(failure);
    } catch (const ConversionError&) {
        throw;
    } catch (const LibAv::Error& error) {
        if (error.isStorageFailure())
            throw ConversionError(error.what());
        throw ConversionError::couldNotReadAudio();
    } catch (const std::exception&) {
        throw ConversionError::conversionFailed();
    }
}

} // namespace kelvane::AudioTools
