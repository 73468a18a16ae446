#pragma once

#include <cstdint>
#include <filesystem>

namespace kelvane::FileSize {

// Bytes of a file, or the sum over everything inside a folder (hidden entries included,
// symbolic links counted as links and never followed). 0 when nothing can be measured;
// entries that cannot be read are skipped.
std::int64_t of(const std::filesystem::path& url);

} // namespace kelvane::FileSize
