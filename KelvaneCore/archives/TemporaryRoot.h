#pragma once

#include <filesystem>

namespace kelvane {

// A folder of one run in the user's temporary folder, "kelvane-" followed by a fresh
// upper-case UUID, removed with its contents when this goes out of scope, whichever way the
// run ends. Throws std::system_error when it cannot be made.
class TemporaryRoot {
public:
    TemporaryRoot();
    ~TemporaryRoot();
    TemporaryRoot(const TemporaryRoot&) = delete;
    TemporaryRoot& operator=(const TemporaryRoot&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

} // namespace kelvane
