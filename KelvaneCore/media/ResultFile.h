#pragma once

#include "naming/FileTimes.h"
#include "naming/PendingOutput.h"

#include <filesystem>
#include <optional>
#include <string>

namespace kelvane {

// The file a media tool writes: a hidden pending file beside the input that becomes
// "Input (converted).ext" when published, carrying the input's times when asked to.
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
