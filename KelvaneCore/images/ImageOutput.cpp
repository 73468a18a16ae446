#include "images/ImageOutput.h"

#include "naming/FileTimes.h"
#include "naming/OutputNaming.h"
#include "naming/PendingOutput.h"

#include <fstream>
#include <system_error>

namespace kelvane::ImageTools {
namespace {

std::optional<FileTimes> timesOf(const std::filesystem::path& input, bool keepTimes) {
    if (!keepTimes)
        return std::nullopt;
    return FileTimes::of(input);
}

std::filesystem::path publish(PendingOutput& pending, const std::filesystem::path& input,
                              const std::string& extension, std::string_view suffix,
                              const std::optional<FileTimes>& times) {
    if (times)
        times->applyTo(pending.path());
    return pending.publish([&] { return OutputNaming::url(input, extension, suffix); });
}

} // namespace

std::filesystem::path folderOf(const std::filesystem::path& input) {
    const std::filesystem::path parent = input.parent_path();
    return parent.empty() ? std::filesystem::path(".") : parent;
}

std::filesystem::path writeBeside(const Loaded& loaded, const std::filesystem::path& input,
                                  const Format& format, std::optional<double> quality,
                                  bool keepMetadata, std::string_view suffix, bool keepTimes,
                                  const Progress& progress) {
    if (!canHold(format.type, loaded.image))
        throw tooLargeToConvert(input, loaded.image);
    const auto times = timesOf(input, keepTimes);
    PendingOutput pending = PendingOutput::file(folderOf(input), format.extension);
    try {
        write(loaded.image, format.type, quality, keepMetadata, pending.path(), progress,
              loaded.streamed ? 0.0 : 0.5);
    } catch (const ConversionError&) {
        if (loaded.streamed)
            requireDecodable(input);
        throw;
    }
    return publish(pending, input, format.extension, suffix, times);
}

std::filesystem::path publishBeside(std::string_view bytes, const std::filesystem::path& input,
                                    const std::string& extension, std::string_view suffix,
                                    bool keepTimes) {
    const auto times = timesOf(input, keepTimes);
    PendingOutput pending = PendingOutput::file(folderOf(input), extension);
    std::ofstream out(pending.path(), std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out)
        throw std::system_error(std::make_error_code(std::errc::io_error),
                                "Couldn’t write the result");
    return publish(pending, input, extension, suffix, times);
}

} // namespace kelvane::ImageTools
