#pragma once

#include <QByteArray>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

struct archive;

namespace kelvane {

// The parts of a ZIP-based document (DOCX, ODT), read whole into memory with limits that
// refuse archives built to exhaust memory: the total expanded size may not pass
// `maxExpandedBytes`, nor `maxRatio` times the archive's own size once past
// `ratioFloorBytes`.
class ZipContainer {
public:
    static constexpr std::int64_t maxExpandedBytes = 512ll << 20;
    static constexpr std::int64_t ratioFloorBytes = 4ll << 20;
    static constexpr std::int64_t maxRatio = 200;

    // Throws std::runtime_error when the file is not a readable ZIP or breaks a limit.
    static ZipContainer open(const std::filesystem::path& archive);

    // The bytes of the part at `name` ("word/document.xml"), or none.
    std::optional<QByteArray> part(std::string_view name) const;
    bool contains(std::string_view name) const;

    // Resolves a relationship target such as "../media/image1.png" against the folder of
    // `fromPart`; none when the target climbs out of the archive or is absolute elsewhere.
    static std::optional<std::string> resolve(std::string_view fromPart, std::string_view target);

private:
    std::map<std::string, QByteArray, std::less<>> parts_;
};

// Builds a ZIP in memory with Deflate and UTF-8 names, for DOCX and ODT output.
class ZipBuilder {
public:
    // OpenDocument wants its "mimetype" entry stored as is, so that the type can be read at a
    // fixed offset without inflating anything.
    enum class Compression { deflate, store };

    ZipBuilder();
    ~ZipBuilder();
    ZipBuilder(const ZipBuilder&) = delete;
    ZipBuilder& operator=(const ZipBuilder&) = delete;

    void add(std::string_view name, const QByteArray& bytes,
             Compression compression = Compression::deflate);
    // The finished archive. Throws std::runtime_error when libarchive fails.
    QByteArray finish();

private:
    ::archive* archive_;
    QByteArray output_;
};

} // namespace kelvane
