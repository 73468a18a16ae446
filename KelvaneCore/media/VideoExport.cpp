#include "media/ExportSettings.h"
#include "media/LibAv.h"
#include "media/MediaTags.h"
#include "media/ProgressPoller.h"
#include "media/ResultFile.h"
#include "media/StreamLane.h"
#include "media/VideoTools.h"
#include "naming/ConversionError.h"

#include <algorithm>
#include <atomic>

namespace kelvane::VideoTools {
namespace {

namespace fs = std::filesystem;
using ExportSettings::muxer;
using ExportSettings::networkFriendly;
using LibAv::check;

bool isAttachedPicture(const AVStream& stream) {
    return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
}

// The picture stream: the library's best guess unless that is a cover image.
int videoStream(const AVFormatContext& input) {
    const int best = av_find_best_stream(const_cast<AVFormatContext*>(&input), AVMEDIA_TYPE_VIDEO,
                                         -1, -1, nullptr, 0);
    if (best >= 0 && !isAttachedPicture(*input.streams[best]))
        return best;
    for (unsigned index = 0; index < input.nb_streams; ++index)
        if (input.streams[index]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
            !isAttachedPicture(*input.streams[index]))
            return static_cast<int>(index);
    return -1;
}

// Every sound track of a movie (languages, commentary), or the best one alone for M4A.
std::vector<int> audioStreams(const AVFormatContext& input, bool bestOnly) {
    if (bestOnly) {
        const int best = av_find_best_stream(const_cast<AVFormatContext*>(&input),
                                             AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
        return best >= 0 ? std::vector<int>{best} : std::vector<int>{};
    }
    std::vector<int> streams;
    for (unsigned index = 0; index < input.nb_streams; ++index)
        if (input.streams[index]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
            streams.push_back(static_cast<int>(index));
    return streams;
}

using Lanes = std::vector<std::unique_ptr<StreamLane>>; // by input stream index

// A stream the container's players would refuse fails the rewrap, which is then encoded.
std::unique_ptr<StreamLane> copyLane(const AVStream& stream, AVFormatContext& output,
                                     Container container) {
    if (!ExportSettings::playersTake(container, stream.codecpar->codec_id))
        throw ConversionError::formatNotAvailable();
    return StreamLane::copy(stream, output);
}

// A song's cover art goes into the M4A as it is, the first picture only.
void addCover(const AVFormatContext& input, AVFormatContext& output, Lanes& lanes) {
    for (unsigned index = 0; index < input.nb_streams; ++index)
        if (MediaTags::isStorableCover(*input.streams[index])) {
            lanes[index] = StreamLane::copy(*input.streams[index], output);
            return;
        }
}

Lanes makeLanes(const AVFormatContext& input, AVFormatContext& output, Preset preset,
                Container container, const std::string& fileName) {
    Lanes lanes(input.nb_streams);
    const bool audioOnly = preset == Preset::m4aAudio;
    if (!audioOnly) {
        const int video = videoStream(input);
        if (video < 0)
            throw ConversionError::hasNoVideo(fileName);
        const AVStream& stream = *input.streams[video];
        lanes[static_cast<std::size_t>(video)] =
            preset == Preset::passthrough ? copyLane(stream, output, container)
                                          : StreamLane::encodeVideo(input, stream, output, preset);
    }
    const std::vector<int> audio = audioStreams(input, audioOnly);
    if (audioOnly && audio.empty())
        throw ConversionError::hasNoAudio(fileName);
    for (const int index : audio)
        lanes[static_cast<std::size_t>(index)] =
            preset == Preset::passthrough
                ? copyLane(*input.streams[index], output, container)
                : StreamLane::encodeAudio(*input.streams[index], output, preset);
    if (audioOnly)
        addCover(input, output, lanes);
    return lanes;
}

void writeHeader(AVFormatContext& output, Container container) {
    AVDictionary* options = nullptr;
    if (networkFriendly(container))
        av_dict_set(&options, "movflags", "+faststart", 0);
    const int written = avformat_write_header(&output, &options);
    av_dict_free(&options);
    if (written < 0) // the muxer refused a stream it cannot carry
        throw ConversionError::formatNotAvailable();
}

// Where the export stands: last written time ÷ duration, or the share of the input read
// when the duration is unknown, so progress still moves and never claims too much.
class Position {
public:
    Position(const AVFormatContext& input)
        : input_(input)
        , duration_(input.duration > 0 ? static_cast<double>(input.duration) / AV_TIME_BASE : 0)
        , start_(input.start_time != AV_NOPTS_VALUE
                     ? static_cast<double>(input.start_time) / AV_TIME_BASE
                     : 0) {}

    void written(const AVPacket& packet, AVRational timeBase) {
        const int64_t stamp = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
        if (duration_ <= 0 || stamp == AV_NOPTS_VALUE)
            return;
        store((static_cast<double>(stamp) * av_q2d(timeBase) - start_) / duration_);
    }
    void read() {
        if (duration_ > 0 || input_.pb == nullptr)
            return;
        const int64_t size = avio_size(input_.pb);
        if (size > 0)
            store(static_cast<double>(avio_tell(input_.pb)) / static_cast<double>(size));
    }
    const std::atomic<double>& fraction() const { return fraction_; }

private:
    // Streams interleave, so a packet may be stamped a little before the previous one:
    // progress only moves forward. Stamps before the start (edit lists) say nothing new.
    void store(double value) {
        if (value > highest_) {
            highest_ = std::min(value, 1.0);
            fraction_.store(highest_, std::memory_order_relaxed);
        }
    }

    const AVFormatContext& input_;
    double duration_;
    double start_;
    double highest_ = 0.0; // touched by the export loop only
    std::atomic<double> fraction_{0.0};
};

LibAv::Input openVideo(const fs::path& file) {
    try {
        return LibAv::openInput(file);
    } catch (const LibAv::Error&) {
        throw ConversionError::unreadableVideo(file.filename().string());
    }
}

// The export loop: packets in file order through their lanes into the muxer.
void runExport(LibAv::Input input, const fs::path& inputFile, Preset preset, Container container,
               const fs::path& destination, const Progress& progress, std::stop_token stop) {
    if (stop.stop_requested())
        throw Cancelled();
    const std::string fileName = inputFile.filename().string();
    LibAv::Output output = LibAv::openOutput(destination, muxer(container));
    Lanes lanes = makeLanes(*input, *output, preset, container, fileName);
    MediaTags::copyContainerTags(*input, *output);
    writeHeader(*output, container);

    Position position(*input);
    const ProgressPoller poller(progress, position.fraction());
    const StreamLane::Write write = [&](AVPacket& packet) {
        position.written(packet, output->streams[packet.stream_index]->time_base);
        check(av_interleaved_write_frame(output.get(), &packet));
    };
    const LibAv::Packet packet = LibAv::makePacket();
    for (;;) {
        if (stop.stop_requested())
            throw Cancelled();
        const int read = av_read_frame(input.get(), packet.get());
        if (read == AVERROR_EOF)
            break;
        check(read);
        position.read();
        if (StreamLane* lane = lanes[static_cast<std::size_t>(packet->stream_index)].get())
            lane->send(*packet, write);
        av_packet_unref(packet.get());
    }
    for (const auto& lane : lanes)
        if (lane)
            lane->flush(write);
    check(av_write_trailer(output.get()));
}

Preset firstPreset(Recipe recipe) {
    switch (recipe) {
    case Recipe::toMP4:
    case Recipe::toMOV:
        return Preset::passthrough;
    case Recipe::video720:
        return Preset::hd720;
    case Recipe::video1080:
        return Preset::hd1080;
    case Recipe::videoHEVC:
        return Preset::hevcHighestQuality;
    default:
        throw ConversionError::unsupportedRecipe();
    }
}

// The destination is the caller's pending file, often unnamed and reachable only through
// its descriptor's path: it is emptied for reuse, never removed.
void emptyQuietly(const fs::path& file) {
    std::error_code ignored;
    fs::resize_file(file, 0, ignored);
}

bool hasContent(const fs::path& file) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    return !error && size > 0;
}

// exportAsset from an input already opened, so that its streams are not probed twice.
void exportOpened(LibAv::Input input, const fs::path& inputFile, Preset preset, Container container,
                  const fs::path& destination, const Progress& progress, std::stop_token stop) {
    try {
        runExport(std::move(input), inputFile, preset, container, destination, progress, stop);
    } catch (const Cancelled&) {
        throw; // the partial output is the caller's
    } catch (const ConversionError&) {
        emptyQuietly(destination);
        throw;
    } catch (const LibAv::Error& error) {
        emptyQuietly(destination);
        if (error.isStorageFailure())
            throw ConversionError(error.what());
        throw ConversionError::exportDidNotFinish();
    } catch (const std::exception& error) {
        emptyQuietly(destination);
        throw ConversionError(error.what());
    }
}

// The rewrap is its own test: whatever stops it, the partial file is emptied and the whole
// movie is encoded once more at the highest quality into the same file.
void rewrapOrEncode(LibAv::Input opened, const fs::path& input, Container container,
                    const fs::path& destination, const Progress& progress, std::stop_token stop) {
    try {
        exportOpened(std::move(opened), input, Preset::passthrough, container, destination,
                     progress, stop);
        return;
    } catch (const std::exception&) {
        emptyQuietly(destination);
    }
    exportAsset(input, Preset::highestQuality, container, destination, progress, stop);
}

} // namespace

void exportAsset(const fs::path& input, Preset preset, Container container,
                 const fs::path& destination, const Progress& progress, std::stop_token stop) {
    LibAv::Input opened;
    try {
        opened = openVideo(input);
    } catch (const ConversionError&) {
        emptyQuietly(destination);
        throw;
    }
    exportOpened(std::move(opened), input, preset, container, destination, progress, stop);
}

fs::path convert(const fs::path& input, Recipe recipe, const ConversionOptions& options,
                 const Progress& progress, std::stop_token stop) {
    LibAv::Input opened = openVideo(input);
    const std::string ext(recipe.outputExtension().value_or("mp4"));
    const Container container = ext == "mov" ? Container::quickTimeMovie : Container::mpeg4;
    const Preset preset = firstPreset(recipe);

    ResultFile result(input, ext, options.keepMetadata);
    try {
        if (preset == Preset::passthrough)
            rewrapOrEncode(std::move(opened), input, container, result.path(), progress, stop);
        else
            exportOpened(std::move(opened), input, preset, container, result.path(), progress,
                         stop);
    } catch (const Cancelled&) {
        if (hasContent(result.path()))
            result.publishPartial();
        throw;
    }
    return result.publish();
}

} // namespace kelvane::VideoTools
