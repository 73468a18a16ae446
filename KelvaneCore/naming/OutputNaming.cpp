#include "naming/OutputNaming.h"

#include <sys/stat.h>

namespace kelvane::OutputNaming {
namespace {

namespace fs = std::filesystem;

// The longest file name Linux file systems take, in bytes.
constexpr std::size_t longestName = 255;

// Files, folders and links even when they dangle are taken, so a result is never written
// through a link someone left there. A name that cannot be looked at for another reason
// than being missing (too long, in a folder we may not search) is not taken either: the
// write that follows fails with its own reason instead of the count running for ever.
bool isTaken(const fs::path& candidate) {
    struct stat status {};
    return ::lstat(candidate.c_str(), &status) == 0;
}

// `base` cut so that it and `tail` fit in one file name, never inside a UTF-8 sequence.
std::string fitting(std::string base, std::size_t tailBytes) {
    if (base.size() + tailBytes <= longestName)
        return base;
    std::size_t cut = tailBytes < longestName ? longestName - tailBytes : 0;
    while (cut > 0 && (static_cast<unsigned char>(base[cut]) & 0xC0) == 0x80)
        --cut;
    base.resize(cut);
    return base;
}

std::string withExtension(std::string name, std::string_view extension) {
    if (!extension.empty())
        name.append(".").append(extension);
    return name;
}

// The first candidate that is not taken.
template <typename NameFor> fs::path firstFree(const fs::path& folder, NameFor nameFor) {
    for (long long n = 1;; ++n) {
        fs::path candidate = folder / nameFor(n);
        if (!isTaken(candidate))
            return candidate;
    }
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

    return firstFree(folder, [&](long long n) {
        std::string tail = " (" + std::string(suffixWord);
        if (n >= 2)
            tail += " " + std::to_string(n);
        tail = withExtension(tail + ")", extension);
        return fitting(base, tail.size()) + tail;
    });
}

fs::path urlNamed(std::string_view name, const std::optional<std::string>& ext,
                  const fs::path& directory) {
    const std::string extension = ext.value_or(std::string());
    return firstFree(directory, [&](long long n) {
        const std::string tail =
            withExtension(n >= 2 ? " " + std::to_string(n) : std::string(), extension);
        return fitting(std::string(name), tail.size()) + tail;
    });
}

} // namespace kelvane::OutputNaming
