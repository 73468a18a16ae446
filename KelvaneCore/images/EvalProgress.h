#pragma once

#include "images/ImageCodec.h"

#include <chrono>
#include <mutex>

namespace kelvane::ImageTools {

// While alive, reports how far libvips has computed `image` (pixels done ÷ pixels in all),
// mapped onto from…to, at most five times a second. libvips passes the reports of every image
// computed from `image` (the encoder's own conversions included) back to it.
class EvalProgress {
public:
    EvalProgress(const vips::VImage& image, const Progress& progress, double from, double to);
    ~EvalProgress();
    EvalProgress(const EvalProgress&) = delete;
    EvalProgress& operator=(const EvalProgress&) = delete;

private:
    static void onEval(VipsImage* image, VipsProgress* state, void* self);
    void report(double fraction);

    VipsImage* image_;
    gulong handler_ = 0;
    const Progress& progress_;
    double from_;
    double to_;
    std::mutex mutex_;
    std::chrono::steady_clock::time_point last_{};
};

} // namespace kelvane::ImageTools
