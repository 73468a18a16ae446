#include "Worker/Watchdog.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <unistd.h>

namespace kelvane {

std::chrono::milliseconds cpuTimeOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string stat((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    // The command name is in parentheses and may hold spaces: fields count from after it.
    const auto nameEnd = stat.rfind(')');
    if (nameEnd == std::string::npos)
        return {};
    std::istringstream fields(stat.substr(nameEnd + 2));
    std::string skipped;
    for (int field = 3; field < 14; ++field) // state … cmajflt
        fields >> skipped;
    long long userTicks = 0;
    long long systemTicks = 0;
    if (!(fields >> userTicks >> systemTicks))
        return {};
    static const long ticksPerSecond = ::sysconf(_SC_CLK_TCK);
    return std::chrono::milliseconds((userTicks + systemTicks) * 1000 / ticksPerSecond);
}

Watchdog::Watchdog(pid_t worker, std::chrono::milliseconds wallClock)
    : worker_(worker)
    , interval_(std::max(wallClock / 4, std::chrono::milliseconds(100)))
    , lastLook_(Clock::now())
    , nextLook_(lastLook_ + wallClock)
    , ceiling_(lastLook_ + 10 * wallClock)
    , cpuAtLastLook_(cpuTimeOf(worker)) {}

bool Watchdog::mayGoOn() {
    const auto now = Clock::now();
    const auto cpu = cpuTimeOf(worker_);
    const auto wall = std::chrono::duration_cast<std::chrono::milliseconds>(now - lastLook_);
    // A tenth of one processor: a job sharing a busy machine still counts as working.
    const bool working = (cpu - cpuAtLastLook_) * 10 >= wall;
    if (!working || now >= ceiling_)
        return false;
    lastLook_ = now;
    cpuAtLastLook_ = cpu;
    nextLook_ = std::min(now + interval_, ceiling_);
    return true;
}

} // namespace kelvane
