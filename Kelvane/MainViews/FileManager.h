#pragma once

#include <filesystem>
#include <vector>

namespace kelvane::FileManager {

// Opens a file with the desktop's default application for its type.
void open(const std::filesystem::path& file);

// Shows the files selected in the desktop's file manager; when no file manager answers on
// the session bus, opens the folder of the first file instead.
void reveal(const std::vector<std::filesystem::path>& files);

} // namespace kelvane::FileManager
