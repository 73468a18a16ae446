#pragma once

#include <QByteArray>

#include <filesystem>
#include <vector>

namespace kelvane {

// The local files of a "text/uri-list", in the list's order: absolute paths of "file:" URLs
// on this machine, percent-decoded to the bytes the file system knows them by. Other URLs,
// comments and malformed lines are left out. Drags are read while the pointer moves, so
// this stays cheap for thousands of files and does not sort them.
std::vector<std::filesystem::path> draggedFiles(const QByteArray& uriList);

} // namespace kelvane
