#include "naming/OutputNaming.h"

namespace kelvane::OutputNaming {
namespace {

namespace fs = std::filesystem;

// Anything at the path counts as taken: files, folders, and links even when they dangle,
// so a result is never written through a link someone left there.
bool isTaken(const fs::path& candidate) {
    std::error_code error;
    const auto status = fs::symlink_status(candidate, error);
    return fs::exists(status) || (error && error != std::errc::no_such_file_or_directory);
}

std::string withExtension(std::string name, std::string_view extension) {
    if (!extension.empty())
        name.append(".").append(extension);
    return name;
}

} // namespace

fs::path url(const fs::path& input, const std::optional<std::string>& ext,
             std::string_view suffixWord, const std::optional<fs::path>& directory) {
    const fs::path name = input.has_filename() ? input.filename() : input.parent_path().filename();
    const fs::path folder = directory.value_or(
        input.has_filename() ? input.parent_path() : input.parent_path().parent_path());
    const std::string base = name.stem().string();
    const std::string extension =
        ext.value_or(name.has_extension() ? name.extension().string().substr(1) : std::string());

    for (long long n = 1;; ++n) {
        std::string tag = "(" + std::string(suffixWord);
        if (n >= 2)
            tag += " " + std::to_string(n);
        tag += ")";
        fs::path candidate = folder / withExtension(base + " " + tag, extension);
        if (!isTaken(candidate))
            return candidate;
    }
}

fs::path urlNamed(std::string_view name, const std::optional<std::string>& ext,
                  const fs::path& directory) {
    const std::string extension = ext.value_or(std::string());
    for (long long n = 1;; ++n) {
        std::string candidateName(name);
        if (n >= 2)
            candidateName += " " + std::to_string(n);
        fs::path candidate = directory / withExtension(candidateName, extension);
        if (!isTaken(candidate))
            return candidate;
    }
}

} // namespace kelvane::OutputNaming
