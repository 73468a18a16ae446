#include "media/ProgressPoller.h"

namespace kelvane {

ProgressPoller::ProgressPoller(std::function<void(double)> progress,
                               const std::atomic<double>& fraction,
                               std::chrono::milliseconds period)
    : progress_(std::move(progress))
    , fraction_(fraction)
    , period_(period)
    , thread_([this](std::stop_token stop) { run(stop); }) {}

ProgressPoller::~ProgressPoller() {
    thread_.request_stop();
    thread_.join();
}

void ProgressPoller::run(std::stop_token stop) {
    std::unique_lock lock(mutex_);
    // Every export reports its start, however late this thread first gets to run.
    double fraction = 0.0;
    while (!stop.stop_requested()) {
        if (progress_)
            progress_(fraction);
        wake_.wait_for(lock, stop, period_, [] { return false; });
        fraction = fraction_.load(std::memory_order_relaxed);
    }
}

} // namespace kelvane
