#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace kelvane {

// Reports a fraction that a loop keeps up to date: once at once, then every period, from a
// thread of its own, until destroyed. Polling keeps the callback's rate fixed (about five
// calls a second) whatever the packet rate of the loop.
class ProgressPoller {
public:
    ProgressPoller(std::function<void(double)> progress, const std::atomic<double>& fraction,
                   std::chrono::milliseconds period = std::chrono::milliseconds(200));
    ~ProgressPoller();
    ProgressPoller(const ProgressPoller&) = delete;
    ProgressPoller& operator=(const ProgressPoller&) = delete;

private:
    void run(std::stop_token stop);

    std::function<void(double)> progress_;
    const std::atomic<double>& fraction_;
    std::chrono::milliseconds period_;
    std::mutex mutex_;
    std::condition_variable_any wake_;
    std::jthread thread_; // last: stopped and joined before the members it uses go
};

} // namespace kelvane
