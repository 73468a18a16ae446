#pragma once

#include "archives/ArchiveTools.h"
#include "libarchive/LibArchive.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// The checks that decide whether an archive may be expanded, run over every header before
// anything is written, and again on each entry as it is written.
namespace kelvane::UnzipCheck {

// A ZIP reader over `archive`. Throws ConversionError with libarchive's reason.
LibArchive::Reader openReader(const std::filesystem::path& archive);

// Entries that are not expanded: resource forks and metadata another system stored beside
// the files ("__MACOSX/…", "._name"), and sockets, pipes and devices.
bool isSkipped(archive_entry* entry);

// Throws ConversionError when writing `entry` could touch anything outside the folder it
// expands into (an absolute path, "..", a link pointing out), when its name is unusable or
// too long, or when it is encrypted.
void checkEntry(archive_entry* entry, std::string_view archiveName);

// What expanding will cost, measured before anything is written.
struct Plan {
    std::int64_t declaredBytes = 0; // the sizes the headers promise
    std::int64_t budgetBytes = 0;   // what may really be written, whatever they promised
    std::int64_t ratioBoundBytes = 0;
};

// Reads every header of `archive` (which is expanded beside itself), checks each entry and
// the whole against `limits`, and returns the plan. Throws ConversionError.
Plan inspect(const std::filesystem::path& archive, const ArchiveTools::ExpansionLimits& limits);

// Throws ConversionError when the link at `link` (already written under `root`, both
// absolute) resolves outside `root`, through any chain of links.
void checkLinkStaysInside(const std::filesystem::path& root, const std::filesystem::path& link,
                          std::string_view archiveName, std::string_view entryName);

} // namespace kelvane::UnzipCheck
