#pragma once

#include <atomic>
#include <stdexcept>

namespace kelvane {

// Asks one running job to stop, from any thread. A runner waiting on its worker watches
// fd() beside the worker's socket, so the request is seen at once.
class StopSignal {
public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    void request();
    bool requested() const { return requested_.load(); }
    // Readable once a stop was requested.
    int fd() const { return fd_; }

private:
    std::atomic<bool> requested_{false};
    int fd_;
};

// Thrown by a runner whose job was stopped before it ended; it removed what it had written.
class JobStopped : public std::runtime_error {
public:
    JobStopped()
        : std::runtime_error("Stopped.") {}
};

} // namespace kelvane
