#include "archives/ArchiveTools.h"

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

// <base>/kelvane-unzip-fuzz-<pid>/box/input.zip: the archive expands inside box, and
// nothing may ever appear beside box.
const fs::path& fuzzRoot() {
    static const fs::path root = [] {
        const fs::path shm = "/dev/shm";
        const fs::path base = fs::is_directory(shm) ? shm : fs::temp_directory_path();
        const fs::path path = base / ("kelvane-unzip-fuzz-" + std::to_string(::getpid()));
        fs::create_directories(path / "box");
        return path;
    }();
    return root;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fs::path box = fuzzRoot() / "box";
    const fs::path archive = box / "input.zip";
    std::ofstream(archive, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));

    kelvane::ArchiveTools::ExpansionLimits limits;
    limits.maxRatio = 200;
    limits.ratioFloorBytes = 4 << 20;
    limits.maxEntries = 10'000;
    try {
        kelvane::ArchiveTools::unzip(
            archive, [](double) {}, limits);
    } catch (const std::exception&) {
    }

    for (const auto& entry : fs::directory_iterator(fuzzRoot()))
        if (entry.path() != box)
            std::abort(); // something was written outside the destination
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(box))
        if (entry.path() != archive) {
            fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ignored);
            fs::remove_all(entry.path(), ignored);
        }
    return 0;
}
