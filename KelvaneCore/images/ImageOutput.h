#pragma once

#include "images/ImageCodec.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane::ImageTools {

// The folder results of `input` go to ("." for a bare file name).
std::filesystem::path folderOf(const std::filesystem::path& input);

// Encodes `image` beside `input` as "Name (suffix).ext", never replacing a file. With
// keepTimes the result carries the input's access and modification times. Progress goes on
// from where loading left it.
std::filesystem::path writeBeside(const Loaded& loaded, const std::filesystem::path& input,
                                  const Format& format, std::optional<double> quality,
                                  bool keepMetadata, std::string_view suffix, bool keepTimes,
                                  const Progress& progress = {});

// Already encoded bytes, published the same way.
std::filesystem::path publishBeside(std::string_view bytes, const std::filesystem::path& input,
                                    const std::string& extension, std::string_view suffix,
                                    bool keepTimes);

} // namespace kelvane::ImageTools
