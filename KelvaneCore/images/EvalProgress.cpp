#include "images/EvalProgress.h"

namespace kelvane::ImageTools {
namespace {

constexpr std::chrono::milliseconds reportPeriod(200);

} // namespace

EvalProgress::EvalProgress(const vips::VImage& image, const Progress& progress, double from,
                           double to)
    : image_(image.get_image())
    , progress_(progress)
    , from_(from)
    , to_(to) {
    if (!progress_)
        return;
    g_object_ref(image_);
    vips_image_set_progress(image_, TRUE);
    handler_ = g_signal_connect(image_, "eval", G_CALLBACK(onEval), this);
}

EvalProgress::~EvalProgress() {
    if (handler_ == 0)
        return;
    g_signal_handler_disconnect(image_, handler_);
    vips_image_set_progress(image_, FALSE);
    g_object_unref(image_);
}

void EvalProgress::onEval(VipsImage*, VipsProgress* state, void* self) {
    if (state->tpels > 0)
        static_cast<EvalProgress*>(self)->report(static_cast<double>(state->npels) /
                                                 static_cast<double>(state->tpels));
}

void EvalProgress::report(double fraction) {
    {
        const std::lock_guard lock(mutex_);
        const auto now = std::chrono::steady_clock::now();
        if (now - last_ < reportPeriod)
            return;
        last_ = now;
    }
    progress_(from_ + (to_ - from_) * std::min(1.0, fraction));
}

} // namespace kelvane::ImageTools
