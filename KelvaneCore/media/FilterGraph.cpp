#include "media/FilterGraph.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
#include <libavutil/pixdesc.h>
}

#include <memory>

namespace kelvane {
namespace {

using LibAv::check;

struct InOutDeleter {
    void operator()(AVFilterInOut* list) const { avfilter_inout_free(&list); }
};
using InOut = std::unique_ptr<AVFilterInOut, InOutDeleter>;

// Links `filter` (pad 0) into the parse as the label `name`; chains onto `next`.
InOut labelled(AVFilterContext* filter, const std::string& name, InOut next) {
    InOut item(avfilter_inout_alloc());
    if (!item)
        throw LibAv::Error(AVERROR(ENOMEM));
    item->name = av_strdup(name.c_str());
    item->filter_ctx = filter;
    item->pad_idx = 0;
    item->next = next.release();
    return item;
}

std::string layoutText(const AVChannelLayout& layout) {
    AVChannelLayout known{};
    if (layout.order == AV_CHANNEL_ORDER_UNSPEC || layout.nb_channels == 0)
        av_channel_layout_default(&known, layout.nb_channels > 0 ? layout.nb_channels : 2);
    else
        check(av_channel_layout_copy(&known, &layout));
    char text[128] = {};
    av_channel_layout_describe(&known, text, sizeof text);
    av_channel_layout_uninit(&known);
    return text;
}

} // namespace

FilterGraph::FilterGraph(Kind kind, const std::vector<std::string>& sourceArgs,
                         const std::string& description)
    : graph_(avfilter_graph_alloc()) {
    if (!graph_)
        throw LibAv::Error(AVERROR(ENOMEM));
    graph_->nb_threads = 1; // the encoders already use every core
    const bool video = kind == Kind::video;
    const AVFilter* source = avfilter_get_by_name(video ? "buffer" : "abuffer");
    const AVFilter* sink = avfilter_get_by_name(video ? "buffersink" : "abuffersink");

    InOut outputs;
    for (std::size_t index = sourceArgs.size(); index-- > 0;) {
        AVFilterContext* context = nullptr;
        const std::string name = "in" + std::to_string(index);
        check(avfilter_graph_create_filter(&context, source, name.c_str(),
                                           sourceArgs[index].c_str(), nullptr, graph_.get()));
        sources_.insert(sources_.begin(), context);
        outputs = labelled(context, name, std::move(outputs));
    }
    check(avfilter_graph_create_filter(&sink_, sink, "out", nullptr, nullptr, graph_.get()));
    InOut inputs = labelled(sink_, "out", nullptr);

    AVFilterInOut* openInputs = inputs.release();
    AVFilterInOut* openOutputs = outputs.release();
    const int parsed = avfilter_graph_parse_ptr(graph_.get(), description.c_str(), &openInputs,
                                                &openOutputs, nullptr);
    avfilter_inout_free(&openInputs);
    avfilter_inout_free(&openOutputs);
    check(parsed);
    check(avfilter_graph_config(graph_.get(), nullptr));
}

std::string FilterGraph::videoSource(const AVCodecContext& decoder, AVRational timeBase) {
    const AVRational aspect =
        decoder.sample_aspect_ratio.num > 0 ? decoder.sample_aspect_ratio : AVRational{1, 1};
    return "video_size=" + std::to_string(decoder.width) + "x" + std::to_string(decoder.height) +
           ":pix_fmt=" + std::to_string(decoder.pix_fmt) +
           ":time_base=" + std::to_string(timeBase.num) + "/" + std::to_string(timeBase.den) +
           ":pixel_aspect=" + std::to_string(aspect.num) + "/" + std::to_string(aspect.den);
}

std::string FilterGraph::audioSource(const AVCodecContext& decoder, AVRational timeBase) {
    const char* format = av_get_sample_fmt_name(decoder.sample_fmt);
    return "time_base=" + std::to_string(timeBase.num) + "/" + std::to_string(timeBase.den) +
           ":sample_rate=" + std::to_string(decoder.sample_rate) +
           ":sample_fmt=" + (format != nullptr ? format : "s16") +
           ":channel_layout=" + layoutText(decoder.ch_layout);
}

void FilterGraph::setFrameSize(int samples) {
    av_buffersink_set_frame_size(sink_, static_cast<unsigned>(samples));
}

void FilterGraph::push(std::size_t index, const AVFrame* frame) {
    check(av_buffersrc_add_frame_flags(sources_.at(index), const_cast<AVFrame*>(frame),
                                       AV_BUFFERSRC_FLAG_KEEP_REF));
}

bool FilterGraph::pull(AVFrame* frame) {
    const int result = av_buffersink_get_frame(sink_, frame);
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
        return false;
    check(result);
    return true;
}

AVRational FilterGraph::timeBase() const {
    return av_buffersink_get_time_base(sink_);
}

int FilterGraph::width() const {
    return av_buffersink_get_w(sink_);
}

int FilterGraph::height() const {
    return av_buffersink_get_h(sink_);
}

} // namespace kelvane
