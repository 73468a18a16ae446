#pragma once

#include <ctime>
#include <filesystem>

namespace kelvane {

// The access and modification times of a file, read before a conversion starts so that a
// result can carry its original's times. Apply them to the pending output before it is
// published: a rename keeps them, and nothing touches the file afterwards.
class FileTimes {
public:
    // Throws std::system_error when the file cannot be examined.
    static FileTimes of(const std::filesystem::path& file);

    // Sets these times on `file`; failures are ignored (a result without its original's
    // times is still a good result).
    void applyTo(const std::filesystem::path& file) const noexcept;

    const timespec& modified() const { return times_[1]; }

private:
    timespec times_[2] = {};
};

} // namespace kelvane
