#include "media/LibAv.h"

#include <cerrno>

extern "C" {
#include <libavutil/display.h>
#include <libavutil/error.h>
}

#include <cmath>
#include <cstring>
#include <mutex>

namespace kelvane::LibAv {
namespace {

// The libraries print to standard error by default; a converter has no log.
void silenceLibraryLog() {
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

} // namespace

void OutputDeleter::operator()(AVFormatContext* context) const {
    if (context->pb != nullptr && (context->oformat->flags & AVFMT_NOFILE) == 0)
        avio_closep(&context->pb);
    avformat_free_context(context);
}

Error::Error(int code)
    : std::runtime_error(errorText(code))
    , code_(code) {}

bool Error::isStorageFailure() const {
    // Not EPERM: AVERROR(EPERM) is -1, what many library calls return for any failure.
    for (const int error : {ENOSPC, EDQUOT, EFBIG, EACCES, EROFS, EIO})
        if (code_ == AVERROR(error))
            return true;
    return false;
}

std::string errorText(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    std::string sentence(text);
    if (!sentence.empty() && sentence.back() != '.')
        sentence += '.';
    return sentence;
}

Frame makeFrame() {
    Frame frame(av_frame_alloc());
    if (!frame)
        throw Error(AVERROR(ENOMEM));
    return frame;
}

Packet makePacket() {
    Packet packet(av_packet_alloc());
    if (!packet)
        throw Error(AVERROR(ENOMEM));
    return packet;
}

Input openInput(const std::filesystem::path& file) {
    silenceLibraryLog();
    AVFormatContext* raw = nullptr;
    check(avformat_open_input(&raw, file.c_str(), nullptr, nullptr));
    Input input(raw);
    check(avformat_find_stream_info(input.get(), nullptr));
    return input;
}

Output openOutput(const std::filesystem::path& file, const char* muxer) {
    silenceLibraryLog();
    AVFormatContext* raw = nullptr;
    check(avformat_alloc_output_context2(&raw, nullptr, muxer, file.c_str()));
    Output output(raw);
    if ((output->oformat->flags & AVFMT_NOFILE) == 0)
        check(avio_open(&output->pb, file.c_str(), AVIO_FLAG_WRITE));
    return output;
}

Codec openDecoder(const AVStream& stream) {
    const AVCodec* decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    if (decoder == nullptr)
        throw Error(AVERROR_DECODER_NOT_FOUND);
    Codec context(avcodec_alloc_context3(decoder));
    if (!context)
        throw Error(AVERROR(ENOMEM));
    check(avcodec_parameters_to_context(context.get(), stream.codecpar));
    context->pkt_timebase = stream.time_base;
    context->thread_count = 0; // as many as the machine has
    check(avcodec_open2(context.get(), decoder, nullptr));
    return context;
}

double durationSeconds(const AVFormatContext& input, const AVStream& stream) {
    if (stream.duration != AV_NOPTS_VALUE && stream.duration > 0)
        return static_cast<double>(stream.duration) * av_q2d(stream.time_base);
    if (input.duration != AV_NOPTS_VALUE && input.duration > 0)
        return static_cast<double>(input.duration) / AV_TIME_BASE;
    return 0.0;
}

int rotationDegrees(const AVStream& stream) {
    const auto* matrix = reinterpret_cast<const int32_t*>(
        av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
    if (matrix == nullptr)
        return 0;
    // The matrix holds the counter-clockwise angle that turns the picture upright.
    const double angle = -av_display_rotation_get(matrix);
    if (std::isnan(angle))
        return 0;
    const int degrees = static_cast<int>(std::lround(angle / 90.0)) * 90 % 360;
    return degrees < 0 ? degrees + 360 : degrees;
}

void copyDisplayMatrix(const AVStream& from, AVStream& to) {
    std::size_t size = 0;
    const uint8_t* matrix = av_stream_get_side_data(&from, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (matrix == nullptr)
        return;
    uint8_t* copy = av_stream_new_side_data(&to, AV_PKT_DATA_DISPLAYMATRIX, size);
    if (copy != nullptr)
        std::memcpy(copy, matrix, size);
}

} // namespace kelvane::LibAv
