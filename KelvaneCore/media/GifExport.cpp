#include "media/ExportSettings.h"
#include "media/FilterGraph.h"
#include "media/LibAv.h"
#include "media/ResultFile.h"
#include "media/VideoTools.h"
#include "naming/ConversionError.h"

#include <algorithm>
#include <cmath>

namespace kelvane::VideoTools {
namespace {

namespace fs = std::filesystem;
using LibAv::check;

// The values one GIF is made with, derived from the video and the options.
struct GifPlan {
    int fps = 1;
    int width = 1;
    int height = 1;
    int frameCount = 1;
    double frameTime(int index) const { return static_cast<double>(index) / fps; }
    double tolerance() const { return 0.5 / fps; }
    // GIF delays are whole hundredths of a second.
    int delayCentiseconds() const {
        return std::max(2, static_cast<int>(std::lround(100.0 / fps)));
    }
};

GifPlan planFor(double displayWidth, double displayHeight, double duration,
                const ConversionOptions& options) {
    GifPlan plan;
    plan.fps = std::clamp(options.gifFPS, 1, 30);
    const double width = std::min(displayWidth, static_cast<double>(options.gifWidth));
    plan.width = std::max(1, static_cast<int>(std::lround(width)));
    plan.height = std::max(1, static_cast<int>(std::lround(displayHeight * width / displayWidth)));
    const double clip = std::min(duration, static_cast<double>(options.gifMaxSeconds));
    plan.frameCount = std::max(1, static_cast<int>(clip * plan.fps));
    return plan;
}

// Upright frames scaled to the plan, HDR brought to SDR, each with a palette of its own
// (computed from that frame alone, so memory stays at one frame whatever the length).
std::string gifChain(int rotation, const GifPlan& plan, const std::string& toSdr) {
    std::string turn;
    if (rotation == 90)
        turn = "transpose=clock,";
    else if (rotation == 180)
        turn = "hflip,vflip,";
    else if (rotation == 270)
        turn = "transpose=cclock,";
    return "[in0]" + turn + "scale=" + std::to_string(plan.width) + ":" +
           std::to_string(plan.height) + ":flags=lanczos" + toSdr +
           ",setsar=1,split[a][b];[a]palettegen=stats_mode=single[p];"
           "[b][p]paletteuse=new=1:dither=sierra2_4a[out]";
}

// The GIF muxer and encoder; the muxer loops for ever unless told otherwise.
class GifFile {
public:
    GifFile(const fs::path& destination, const GifPlan& plan)
        : output_(LibAv::openOutput(destination, "gif"))
        , packet_(LibAv::makePacket()) {
        const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_GIF);
        if (codec == nullptr)
            throw ConversionError::couldNotCreateGIF();
        encoder_.reset(avcodec_alloc_context3(codec));
        if (!encoder_)
            throw LibAv::Error(AVERROR(ENOMEM));
        encoder_->width = plan.width;
        encoder_->height = plan.height;
        encoder_->pix_fmt = AV_PIX_FMT_PAL8;
        encoder_->time_base = {1, 100};
        AVDictionary* options = nullptr;
        // Offsetting and transparency compare colour indices with the previous frame,
        // which means nothing once every frame has its own palette.
        av_dict_set(&options, "gifflags", "0", 0);
        const int opened = avcodec_open2(encoder_.get(), codec, &options);
        av_dict_free(&options);
        check(opened);
        AVStream* stream = avformat_new_stream(output_.get(), nullptr);
        if (stream == nullptr)
            throw LibAv::Error(AVERROR(ENOMEM));
        check(avcodec_parameters_from_context(stream->codecpar, encoder_.get()));
        stream->time_base = encoder_->time_base;
        AVDictionary* muxing = nullptr;
        av_dict_set(&muxing, "loop", "0", 0);
        const int written = avformat_write_header(output_.get(), &muxing);
        av_dict_free(&muxing);
        check(written);
    }

    void write(AVFrame* frame) {
        check(avcodec_send_frame(encoder_.get(), frame));
        for (;;) {
            const int received = avcodec_receive_packet(encoder_.get(), packet_.get());
            if (received == AVERROR(EAGAIN) || received == AVERROR_EOF)
                return;
            check(received);
            av_packet_rescale_ts(packet_.get(), encoder_->time_base,
                                 output_->streams[0]->time_base);
            check(av_interleaved_write_frame(output_.get(), packet_.get()));
        }
    }

    void finish() {
        write(nullptr);
        check(av_write_trailer(output_.get()));
    }

private:
    LibAv::Output output_;
    LibAv::Codec encoder_;
    LibAv::Packet packet_;
};

struct VideoSource {
    LibAv::Input input;
    const AVStream* stream = nullptr;
    LibAv::Codec decoder;
    int rotation = 0;
    GifPlan plan;
};

VideoSource openSource(const fs::path& file, const ConversionOptions& options) {
    const std::string name = file.filename().string();
    VideoSource source;
    try {
        source.input = LibAv::openInput(file);
    } catch (const LibAv::Error&) {
        throw ConversionError::unreadableVideo(name);
    }
    const int index =
        av_find_best_stream(source.input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (index < 0)
        throw ConversionError::hasNoVideo(name);
    source.stream = source.input->streams[index];
    const AVCodecParameters& parameters = *source.stream->codecpar;
    const AVRational aspect = parameters.sample_aspect_ratio;
    double width = parameters.width;
    double height = parameters.height;
    if (aspect.num > 0 && aspect.den > 0)
        width = width * aspect.num / aspect.den;
    source.rotation = LibAv::rotationDegrees(*source.stream);
    if (source.rotation == 90 || source.rotation == 270)
        std::swap(width, height);
    const double duration = LibAv::durationSeconds(*source.input, *source.stream);
    if (!(width > 0) || !(height > 0) || !(duration > 0))
        throw ConversionError::videoHasNoFrames();
    source.plan = planFor(width, height, duration, options);
    try {
        source.decoder = LibAv::openDecoder(*source.stream);
    } catch (const LibAv::Error&) {
        throw ConversionError::couldNotReadFrames();
    }
    return source;
}

// Walks the decoded frames once, in order, and hands out the frame shown at each sample
// time: the latest one that starts no later than half a frame interval after it.
class FrameSampler {
public:
    FrameSampler(VideoSource& source, const Progress& progress, std::stop_token stop)
        : source_(source)
        , progress_(progress)
        , stop_(std::move(stop))
        , start_(source.stream->start_time != AV_NOPTS_VALUE ? source.stream->start_time : 0) {}

    template <typename Add> void run(const Add& add) {
        const LibAv::Packet packet = LibAv::makePacket();
        const LibAv::Frame frame = LibAv::makeFrame();
        while (next_ < source_.plan.frameCount) {
            if (stop_.stop_requested())
                throw Cancelled();
            if (av_read_frame(source_.input.get(), packet.get()) < 0)
                break; // the end, or a file damaged from here on: use what was read
            if (packet->stream_index == source_.stream->index)
                decode(packet.get(), frame.get(), add);
            av_packet_unref(packet.get());
        }
        decode(nullptr, frame.get(), add);
        while (next_ < source_.plan.frameCount)
            sample(add);
    }

private:
    template <typename Add> void decode(const AVPacket* packet, AVFrame* frame, const Add& add) {
        if (avcodec_send_packet(source_.decoder.get(), packet) < 0 && packet != nullptr)
            return; // a damaged packet costs its frame
        while (avcodec_receive_frame(source_.decoder.get(), frame) >= 0) {
            const int64_t stamp = frame->best_effort_timestamp;
            const double seconds = stamp == AV_NOPTS_VALUE ? 0.0
                                                           : static_cast<double>(stamp - start_) *
                                                                 av_q2d(source_.stream->time_base);
            const GifPlan& plan = source_.plan;
            while (next_ < plan.frameCount && seconds > plan.frameTime(next_) + plan.tolerance())
                sample(add);
            if (shown_)
                av_frame_unref(shown_.get());
            else
                shown_ = LibAv::makeFrame();
            av_frame_move_ref(shown_.get(), frame);
        }
    }

    template <typename Add> void sample(const Add& add) {
        if (stop_.stop_requested())
            throw Cancelled();
        if (shown_)
            add(shown_.get());
        ++next_;
        progress_(static_cast<double>(next_) / source_.plan.frameCount);
    }

    VideoSource& source_;
    const Progress& progress_;
    std::stop_token stop_;
    int64_t start_;
    LibAv::Frame shown_;
    int next_ = 0;
};

} // namespace

fs::path gif(const fs::path& input, const ConversionOptions& options, const Progress& progress,
             std::stop_token stop) {
    VideoSource source = openSource(input, options);
    const GifPlan& plan = source.plan;
    std::optional<ResultFile> result;
    std::unique_ptr<GifFile> file;
    std::unique_ptr<FilterGraph> frames;
    try {
        result.emplace(input, "gif", options.keepMetadata);
        file = std::make_unique<GifFile>(result->path(), plan);
        frames = std::make_unique<FilterGraph>(
            FilterGraph::Kind::video,
            std::vector<std::string>{FilterGraph::videoSource(*source.decoder, {1, 100})},
            gifChain(source.rotation, plan, ExportSettings::toneMapToSdr(*source.decoder)));
    } catch (const std::exception&) {
        throw ConversionError::couldNotCreateGIF();
    }

    int added = 0;
    const LibAv::Frame paletted = LibAv::makeFrame();
    const auto drain = [&] {
        while (frames->pull(paletted.get())) {
            file->write(paletted.get());
            av_frame_unref(paletted.get());
        }
    };
    const auto add = [&](AVFrame* frame) {
        frame->pts = static_cast<int64_t>(added) * plan.delayCentiseconds();
        frames->push(0, frame);
        ++added;
        drain();
    };
    try {
        FrameSampler(source, progress, stop).run(add);
        if (added == 0)
            throw ConversionError::couldNotReadFrames();
        frames->push(0, nullptr);
        drain();
        file->finish();
    } catch (const Cancelled&) {
        file.reset(); // not finalized; kept as it is
        result->publishPartial();
        throw;
    } catch (const std::exception&) {
        throw ConversionError::couldNotReadFrames(); // the pending file goes with `result`
    }
    file.reset();
    return result->publish();
}

} // namespace kelvane::VideoTools
