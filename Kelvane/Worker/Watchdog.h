#pragma once

#include <chrono>
#include <sys/types.h>

namespace kelvane {

// Tells a hung worker from a slow one. When a job's wall-clock time is up, a worker that is
// still using the processor (a huge image on a busy machine) gets another look a quarter of
// that time later, up to ten times the wall-clock time in all; a worker that has stopped
// using it (waiting for something that never comes) is hung. A computation that never ends
// is stopped by the CPU-time limit the worker sets for itself.
class Watchdog {
public:
    using Clock = std::chrono::steady_clock;

    Watchdog(pid_t worker, std::chrono::milliseconds wallClock);

    Clock::time_point nextLook() const { return nextLook_; }

    // At nextLook(): whether the worker may go on; if so, nextLook() moves on.
    bool mayGoOn();

private:
    pid_t worker_;
    std::chrono::milliseconds interval_;
    Clock::time_point lastLook_;
    Clock::time_point nextLook_;
    Clock::time_point ceiling_;
    std::chrono::milliseconds cpuAtLastLook_;
};

// The processor time a process has used so far, all its threads together; zero when it
// cannot be read.
std::chrono::milliseconds cpuTimeOf(pid_t process);

} // namespace kelvane
