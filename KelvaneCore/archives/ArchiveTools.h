#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

// Zip and unzip in-process with libarchive. Results are written beside the inputs under
// free names and published only when complete, so a failure leaves nothing behind.
namespace kelvane::ArchiveTools {

// Called with progress from 0 to 1, measured in bytes, from whatever thread does the work.
using Progress = std::function<void(double)>;

// Packs the items (files or folders, at least one) into one ZIP beside the first item:
// one item keeps its own name inside and outside ("Report.pdf" → "Report.pdf.zip" holding
// "Report.pdf"), several items sit at the root of "Archive.zip" under names made unique.
// Throws ConversionError, or std::system_error when an item cannot be read.
std::filesystem::path zip(const std::vector<std::filesystem::path>& items,
                          const Progress& progress);

// Bounds that refuse archives built to exhaust the disk. Expanding never writes more than
// the destination's free space (less `reservedBytes`), nor more than `maxRatio` times the
// archive's own size once past `ratioFloorBytes`; at most `maxEntries` entries.
struct ExpansionLimits {
    // Deflate alone cannot pass about 1032:1, so only crafted archives (entries sharing
    // their data, sizes that lie, nested tricks) go beyond this; an honest ZIP of a huge
    // empty or sparse file still expands.
    std::int64_t maxRatio = 1100;
    // Below this, a highly repetitive small file is not worth refusing.
    std::int64_t ratioFloorBytes = 64ll << 20;
    // Left free on the destination's file system so the computer keeps working.
    std::int64_t reservedBytes = 64ll << 20;
    std::int64_t maxEntries = 1'000'000;
};

// Expands a ZIP into a new folder beside it, named after it ("Photos.zip" → "Photos",
// then "Photos 2"…). Entries that would land outside that folder, links pointing out of
// it, encrypted entries and archives breaking `limits` are refused before anything is
// written; "__MACOSX/" and "._*" resource-fork entries are skipped. Throws ConversionError.
std::filesystem::path unzip(const std::filesystem::path& archive, const Progress& progress,
                            const ExpansionLimits& limits = {});

} // namespace kelvane::ArchiveTools
