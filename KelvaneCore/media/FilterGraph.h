#pragma once

#include "media/LibAv.h"

#include <string>
#include <vector>

namespace kelvane {

// A libavfilter graph between decoded frames and an encoder: buffer sources named
// "in0", "in1", … feed the described chain, whose output "out" ends in one sink. Scaling,
// pixel and sample formats, resampling, mixing and palettes are all done here.
class FilterGraph {
public:
    enum class Kind { video, audio };

    // `sourceArgs` holds one argument string per input (see videoSource/audioSource).
    // Throws LibAv::Error when the description does not build.
    FilterGraph(Kind kind, const std::vector<std::string>& sourceArgs,
                const std::string& description);

    // The arguments of a buffer source that takes the decoder's frames stamped in `timeBase`.
    static std::string videoSource(const AVCodecContext& decoder, AVRational timeBase);
    static std::string audioSource(const AVCodecContext& decoder, AVRational timeBase);

    // Audio encoders with a fixed frame size (AAC) need every frame that size.
    void setFrameSize(int samples);

    // Feeds one frame (kept by the caller) to input `index`; a null frame ends that input.
    void push(std::size_t index, const AVFrame* frame);
    // The next filtered frame, or false when none is ready yet or the graph has ended.
    bool pull(AVFrame* frame);

    AVRational timeBase() const;
    int width() const;
    int height() const;

private:
    LibAv::Graph graph_;
    std::vector<AVFilterContext*> sources_;
    AVFilterContext* sink_ = nullptr;
};

} // namespace kelvane
