#include "Worker/StopSignal.h"

#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace kelvane {

StopSignal::StopSignal()
    : fd_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

StopSignal::~StopSignal() {
    if (fd_ >= 0)
        ::close(fd_);
}

void StopSignal::request() {
    if (requested_.exchange(true) || fd_ < 0)
        return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(fd_, &one, sizeof one);
}

} // namespace kelvane
