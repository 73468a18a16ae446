#include "media/ResultFile.h"

#include "naming/OutputNaming.h"

namespace kelvane {

ResultFile::ResultFile(const std::filesystem::path& input, std::string ext, bool keepTimes)
    : input_(input)
    , ext_(std::move(ext))
    , times_(keepTimes ? std::optional(FileTimes::of(input)) : std::nullopt)
    , pending_(PendingOutput::file(input.parent_path(), ext_)) {}

std::filesystem::path ResultFile::publish() {
    if (times_)
        times_->applyTo(pending_.path());
    return publishPartial();
}

std::filesystem::path ResultFile::publishPartial() {
    return pending_.publish([this] { return OutputNaming::url(input_, ext_); });
}

} // namespace kelvane
