#pragma once

// Thin ownership for the FFmpeg objects the media tools use: one unique_ptr per object
// with the library's own free function, so every early return and every exception frees.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

namespace kelvane::LibAv {

struct InputDeleter {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct OutputDeleter {
    void operator()(AVFormatContext* context) const;
};
struct CodecDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct GraphDeleter {
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
};

using Input = std::unique_ptr<AVFormatContext, InputDeleter>;
using Output = std::unique_ptr<AVFormatContext, OutputDeleter>;
using Codec = std::unique_ptr<AVCodecContext, CodecDeleter>;
using Frame = std::unique_ptr<AVFrame, FrameDeleter>;
using Packet = std::unique_ptr<AVPacket, PacketDeleter>;
using Graph = std::unique_ptr<AVFilterGraph, GraphDeleter>;

// A failed library call; what() is the library's own description as a sentence.
class Error : public std::runtime_error {
public:
    explicit Error(int code);
    explicit Error(const std::string& message)
        : std::runtime_error(message) {}

    int code() const { return code_; }
    // A full disk, a missing permission, a failing drive: the library's own text says it
    // best. Anything else is the file's fault and gets the tool's sentence instead.
    bool isStorageFailure() const;

private:
    int code_ = 0;
};

// "Invalid data found when processing input."
std::string errorText(int code);

// Throws Error for a negative return code and passes the others through.
inline int check(int code) {
    if (code < 0)
        throw Error(code);
    return code;
}

Frame makeFrame();
Packet makePacket();

// Opens a media file and reads its stream information. Throws Error.
Input openInput(const std::filesystem::path& file);

// A new output of the named muxer ("mp4", "mov", "ipod", "wav", …) whose file is opened
// at `file` when the muxer writes one. Throws Error.
Output openOutput(const std::filesystem::path& file, const char* muxer);

// A decoder for one stream, opened with the stream's parameters. Throws Error.
Codec openDecoder(const AVStream& stream);

// The stream's length in seconds: its own duration, else the file's; 0 when unknown.
double durationSeconds(const AVFormatContext& input, const AVStream& stream);

// The display rotation of a stream in clockwise degrees: 0, 90, 180 or 270.
int rotationDegrees(const AVStream& stream);

// Copies the rotation of phone videos (the display matrix) from one stream to another.
void copyDisplayMatrix(const AVStream& from, AVStream& to);

} // namespace kelvane::LibAv
