#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane::OutputNaming {

// The suffix word of format conversions: "Photo (converted).jpg".
inline constexpr std::string_view suffix = "converted";

// A free destination derived from an input: its name, " (suffix)" or " (suffix N)" for
// N ≥ 2, then the extension. `ext` none keeps the input's extension; an empty `ext` gives
// no extension (folders). `directory` none means the input's own folder. A long input name
// is cut, on a character boundary, so that the whole name fits in 255 bytes. Nothing is
// created: publish through PendingOutput, which asks again when the name was taken since.
std::filesystem::path url(const std::filesystem::path& input, const std::optional<std::string>& ext,
                          std::string_view suffixWord = OutputNaming::suffix,
                          const std::optional<std::filesystem::path>& directory = std::nullopt);

// A free destination with a name of its own: "Archive.zip", then "Archive 2.zip".
std::filesystem::path urlNamed(std::string_view name, const std::optional<std::string>& ext,
                               const std::filesystem::path& directory);

} // namespace kelvane::OutputNaming
