#pragma once

#include "media/ExportSettings.h"
#include "media/FilterGraph.h"
#include "media/LibAv.h"

#include <functional>
#include <memory>

namespace kelvane {

// One input stream on its way to one output stream: either its packets are copied as they
// are, or they are decoded, filtered (scaled, resampled) and encoded again.
class StreamLane {
public:
    // Takes each finished packet, stamped in the output stream's time base.
    using Write = std::function<void(AVPacket&)>;

    // Adds the output stream to `output` (before its header is written).
    static std::unique_ptr<StreamLane> copy(const AVStream& input, AVFormatContext& output);
    static std::unique_ptr<StreamLane> encodeVideo(const AVFormatContext& source,
                                                   const AVStream& input, AVFormatContext& output,
                                                   VideoTools::Preset preset);
    static std::unique_ptr<StreamLane> encodeAudio(const AVStream& input, AVFormatContext& output,
                                                   VideoTools::Preset preset);

    StreamLane(const StreamLane&) = delete;
    StreamLane& operator=(const StreamLane&) = delete;
    ~StreamLane();

    // One packet of the input stream, stamped in its time base.
    void send(AVPacket& packet, const Write& write);
    // Drains the decoder, the filters and the encoder at the end of the input.
    void flush(const Write& write);

private:
    StreamLane(const AVStream& input, AVStream& output);

    void filterAndEncode(const AVFrame* frame, const Write& write);
    void encode(AVFrame* frame, const Write& write);
    void drainEncoder(const Write& write);

    const AVStream& input_;
    AVStream& output_;
    LibAv::Codec decoder_;
    LibAv::Codec encoder_;
    std::unique_ptr<FilterGraph> filter_;
    LibAv::Frame decoded_;
    LibAv::Frame filtered_;
    LibAv::Packet encoded_;
    int64_t lastVideoPts_ = AV_NOPTS_VALUE;
    int64_t frameStep_ = 1; // one frame interval in the encoder's time base
};

} // namespace kelvane
