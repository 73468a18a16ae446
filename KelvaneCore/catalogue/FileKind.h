#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

// The coarse kind of an input, decided by its name's extension alone.
class FileKind {
public:
    enum Value : std::uint8_t { image, pdf, video, audio, document, archive, other };

    constexpr FileKind(Value value)
        : value_(value) {}
    constexpr operator Value() const { return value_; }

    static constexpr std::array<FileKind, 7> allCases() {
        return {image, pdf, video, audio, document, archive, other};
    }

    // The case name ("image", "pdf", …).
    std::string_view rawValue() const;
    // Exact, case-sensitive match of a raw value.
    static std::optional<FileKind> fromRawValue(std::string_view raw);

    // Classifies by the last extension of the last path component; the file is not opened.
    static FileKind of(const std::filesystem::path& url);

private:
    Value value_;
};

// The last extension of the path's last component, lower-cased, without its dot.
std::string lowercaseExtension(const std::filesystem::path& url);

// A set of kinds, as a recipe accepts them.
class FileKindSet {
public:
    constexpr FileKindSet(std::initializer_list<FileKind::Value> kinds) {
        for (auto kind : kinds)
            bits_ = static_cast<std::uint8_t>(bits_ | bit(kind));
    }

    static constexpr FileKindSet all() {
        return {FileKind::image,    FileKind::pdf,     FileKind::video, FileKind::audio,
                FileKind::document, FileKind::archive, FileKind::other};
    }

    constexpr bool contains(FileKind kind) const { return (bits_ & bit(kind)) != 0; }
    constexpr bool operator==(const FileKindSet&) const = default;

private:
    static constexpr std::uint8_t bit(FileKind::Value kind) {
        return static_cast<std::uint8_t>(1u << kind);
    }

    std::uint8_t bits_ = 0;
};

} // namespace kelvane
