#pragma once

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

// What goes into a ZIP, decided before anything is written: every file, folder and link
// under the dropped items, with the name it takes inside the archive.
namespace kelvane::ZipSources {

struct Source {
    std::filesystem::path disk; // where the entry's contents are read from
    std::string name;           // its path inside the archive, '/'-separated
    struct stat status;         // of the entry itself; links are never followed
};

// The item's own name, whatever the spelling of its path ("Photos/", "./Photos").
std::string ownName(const std::filesystem::path& item);

// The names the items take at the archive's root, in order: each its own name, or, when
// an earlier item already took it, the name with " 2", " 3"… before its extension
// ("notes.txt", "notes 2.txt"). Names differing only in case count as taken, so that the
// archive expands intact on file systems that ignore case.
std::vector<std::string> rootNames(const std::vector<std::filesystem::path>& items);

// Every entry under `items` named from `names` (rootNames), items in order, each folder
// followed by its contents sorted by name. Links are kept as links; sockets, pipes and
// devices are left out; `skip` (the archive being written) is never included.
// Throws std::system_error when an item or a folder cannot be read.
std::vector<Source> collect(const std::vector<std::filesystem::path>& items,
                            const std::vector<std::string>& names,
                            const std::filesystem::path& skip);

} // namespace kelvane::ZipSources
