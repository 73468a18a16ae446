#pragma once

#include <QGuiApplication>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

// Shared by the document readers' fuzz targets: a QGuiApplication for fonts and text layout,
// started before the first input, and a scratch file for readers that take a path. Kept in
// memory-backed /dev/shm when it exists, so a million iterations do not wear a disk.
namespace kelvane::fuzz {

inline void startApplication() {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    static int argc = 1;
    static char name[] = "kelvane-fuzz";
    static char* argv[] = {name, nullptr};
    static QGuiApplication application(argc, argv);
}

class ScratchFile {
public:
    explicit ScratchFile(std::string_view extension) {
        const std::filesystem::path shm = "/dev/shm";
        const std::filesystem::path base =
            std::filesystem::is_directory(shm) ? shm : std::filesystem::temp_directory_path();
        path_ =
            base / ("kelvane-fuzz-" + std::to_string(::getpid()) + "." + std::string(extension));
    }
    ~ScratchFile() { std::filesystem::remove(path_); }

    const std::filesystem::path& write(const std::uint8_t* data, std::size_t size) {
        std::ofstream(path_, std::ios::binary | std::ios::trunc)
            .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
        return path_;
    }

private:
    std::filesystem::path path_;
};

// Any exception is a refusal the user sees as a sentence; only crashes, leaks, undefined
// behaviour and hangs are findings.
template <typename Read> int readAsTheUserWould(Read read) {
    try {
        read();
    } catch (const std::exception&) {
    }
    return 0;
}

} // namespace kelvane::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kelvane::fuzz::startApplication();
    return 0;
}
