#include "naming/FileTimes.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>

namespace kelvane {

FileTimes FileTimes::of(const std::filesystem::path& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0)
        throw std::system_error(errno, std::generic_category(), "Couldn’t read the file’s dates");
    FileTimes times;
    times.times_[0] = status.st_atim;
    times.times_[1] = status.st_mtim;
    return times;
}

void FileTimes::applyTo(const std::filesystem::path& file) const noexcept {
    ::utimensat(AT_FDCWD, file.c_str(), times_, 0);
}

} // namespace kelvane
