#include "catalogue/FileSize.h"

namespace kelvane::FileSize {
namespace {

std::int64_t sizeOfRegularFile(const std::filesystem::directory_entry& entry) {
    std::error_code error;
    if (!entry.is_regular_file(error) || entry.is_symlink(error))
        return 0;
    const auto bytes = entry.file_size(error);
    return error ? 0 : static_cast<std::int64_t>(bytes);
}

std::int64_t sizeOfFolder(const std::filesystem::path& folder) {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::recursive_directory_iterator walk(folder, fs::directory_options::skip_permission_denied,
                                          error);
    if (error)
        return 0;
    std::int64_t total = 0;
    for (const fs::recursive_directory_iterator end; walk != end; walk.increment(error)) {
        if (error)
            break;
        total += sizeOfRegularFile(*walk);
    }
    return total;
}

} // namespace

std::int64_t of(const std::filesystem::path& url) {
    std::error_code error;
    const auto status = std::filesystem::status(url, error);
    if (error || !std::filesystem::exists(status))
        return 0;
    if (std::filesystem::is_directory(status))
        return sizeOfFolder(url);
    const auto bytes = std::filesystem::file_size(url, error);
    return error ? 0 : static_cast<std::int64_t>(bytes);
}

} // namespace kelvane::FileSize
