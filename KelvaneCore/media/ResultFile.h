#pragma once

#include "naming/FileTimes.h"
#include "naming/PendingOutput.h"

#include <filesystem>
#include <optional>
#include <string>

namespace kelvane {

// The file a media tool writes: a pending file beside the input, unnamed where the file
// system allows it, that becomes "Input (converted).ext" when published, carrying the
// input's times when asked to. Its path() may name no extension, so the muxer is always
// named explicitly, and the file is emptied rather than removed when a tool starts over.
class ResultFile {
public:
    ResultFile(const std::filesystem::path& input, std::string ext, bool keepTimes);

    const std::filesystem::path& path() const { return pending_.path(); }

    // The finished result under the first free name.
    std::filesystem::path publish();
    // A cancelled export's partial output, kept under its name as it is.
    std::filesystem::path publishPartial();

private:
    std::filesystem::path input_;
    std::string ext_;
    std::optional<FileTimes> times_;
    PendingOutput pending_;
};

} // namespace kelvane
