#pragma once

#include "documents/ZipPartStream.h"
#include "libarchive/LibArchive.h"

#include <QBuffer>
#include <QByteArray>
#include <QIODevice>

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

// The parts of a ZIP-based document (DOCX, ODT). Opening keeps only an index of names and
// expanded sizes; a part is inflated when asked for, so entries nobody reads are never held.
// Limits refuse archives built to exhaust memory: the total expanded size may not pass
// `maxExpandedBytes`, nor `maxRatio` times the archive's own size once past
// `ratioFloorBytes`. The sizes the archive declares are checked at open, and no part may
// inflate past its declared size while being read. A part read whole may not pass
// `maxPartBytes`; only parts parsed as they inflate may be larger.
class ZipContainer {
public:
    static constexpr std::int64_t maxExpandedBytes = 512ll << 20;
    static constexpr std::int64_t maxPartBytes = 64ll << 20;
    static constexpr std::int64_t ratioFloorBytes = 4ll << 20;
    static constexpr std::int64_t maxRatio = 200;

    // Throws std::runtime_error when the file is not a readable ZIP or breaks a limit.
    static ZipContainer open(const std::filesystem::path& archive);

    // The bytes of the part at `name` ("word/styles.xml"), or none. Throws
    // std::runtime_error when the entry is damaged, inflates past its limit or is larger
    // than `maxPartBytes`.
    std::optional<QByteArray> part(std::string_view name) const;
    // The first `count` bytes of the part at `name` (all of a shorter one), or none.
    std::optional<QByteArray> head(std::string_view name, qsizetype count) const;
    // Whether the part at `name` exists and may be read whole with `part`.
    bool fitsWhole(std::string_view name) const;
    // The part at `name` inflated as it is read, for parts too large to hold whole; none
    // when there is no such part.
    std::unique_ptr<ZipPartStream> stream(std::string_view name) const;
    bool contains(std::string_view name) const;

    // Resolves a relationship target such as "../media/image1.png" against the folder of
    // `fromPart`; none when the target climbs out of the archive or is absolute elsewhere.
    static std::optional<std::string> resolve(std::string_view fromPart, std::string_view target);

private:
    struct Entry {
        std::int64_t size; // expanded; -1 when the archive does not declare it
        int index;         // in the archive's order
    };

    // The part, or its first `headBytes` when not negative, read with the cursor below.
    std::optional<QByteArray> read(std::string_view name, qsizetype headBytes) const;
    // The archive positioned at the data of `name`, or none when there is no such part.
    LibArchive::Reader entry(std::string_view name) const;
    // How many bytes the part at `name` may inflate to.
    std::int64_t boundOf(const Entry& entry) const;

    std::filesystem::path file_;
    std::map<std::string, Entry, std::less<>> entries_;
    // Parts read whole go on from where the last one was found, so that reading the parts in
    // the archive's order (the pictures of a document, mostly) does not start over each time.
    mutable LibArchive::Reader cursor_;
    mutable int cursorIndex_ = -1;
    // What is left of the expansion limit for the parts of undeclared size.
    std::int64_t undeclaredBudget_ = 0;
};

// Builds a ZIP in memory with Deflate and UTF-8 names, for DOCX and ODT output.
class ZipBuilder {
public:
    // OpenDocument wants its "mimetype" entry stored as is, so that the type can be read at a
    // fixed offset without inflating anything.
    enum class Compression { deflate, store };

    // Builds the archive in memory, for `finish` to return.
    ZipBuilder();
    // Writes the archive into `output` as it is built, so that large entries such as pictures
    // never pile up in memory.
    explicit ZipBuilder(QIODevice& output);
    ~ZipBuilder();
    ZipBuilder(const ZipBuilder&) = delete;
    ZipBuilder& operator=(const ZipBuilder&) = delete;

    void add(std::string_view name, const QByteArray& bytes,
             Compression compression = Compression::deflate);
    // Writes the archive's directory, and returns the archive when it was built in memory.
    // Throws std::runtime_error when libarchive or the output fails.
    QByteArray finish();

private:
    void open(QIODevice& output);

    QByteArray memory_;
    QBuffer memoryOutput_;
    ::archive* archive_;
};

} // namespace kelvane
