#include "archives/UnzipCheck.h"

#include "archives/ArchiveErrors.h"

#include <algorithm>
#include <sys/statvfs.h>
#include <vector>

namespace kelvane::UnzipCheck {
namespace {

namespace fs = std::filesystem;

// One component, and the whole relative path, as long as Linux file systems take them.
constexpr std::size_t longestComponent = 255;
constexpr std::size_t longestPath = 4000;

std::vector<std::string_view> components(std::string_view path) {
    std::vector<std::string_view> parts;
    while (!path.empty()) {
        const std::size_t slash = std::min(path.find('/'), path.size());
        if (const std::string_view part = path.substr(0, slash); !part.empty() && part != ".")
            parts.push_back(part);
        path.remove_prefix(std::min(slash + 1, path.size()));
    }
    return parts;
}

// A path inside the archive, to be written relative to the destination folder.
void checkPath(std::string_view path, std::string_view shownName, std::string_view archiveName) {
    if (path.empty())
        throw ArchiveErrors::unreadableName(archiveName);
    if (path.front() == '/')
        throw ArchiveErrors::leavesFolder(archiveName, shownName);
    if (path.size() > longestPath)
        throw ArchiveErrors::nameTooLong(archiveName);
    for (const std::string_view part : components(path)) {
        if (part == "..")
            throw ArchiveErrors::leavesFolder(archiveName, shownName);
        if (part.size() > longestComponent)
            throw ArchiveErrors::nameTooLong(archiveName);
    }
}

// A link's target read from the folder that holds the link, without touching the disk.
bool staysInside(std::string_view linkPath, std::string_view target) {
    if (target.empty() || target.front() == '/')
        return false;
    auto depth = static_cast<std::ptrdiff_t>(components(linkPath).size()) - 1;
    for (const std::string_view part : components(target)) {
        depth += part == ".." ? -1 : 1;
        if (depth < 0)
            return false;
    }
    return true;
}

std::int64_t freeBytes(const fs::path& folder) {
    struct statvfs space {};
    if (::statvfs(folder.c_str(), &space) != 0)
        return INT64_MAX; // unknown: the ratio bound still holds
    return static_cast<std::int64_t>(space.f_bavail) * static_cast<std::int64_t>(space.f_frsize);
}

fs::path folderOf(const fs::path& archive) {
    return archive.has_parent_path() ? archive.parent_path() : fs::path(".");
}

} // namespace

LibArchive::Reader openReader(const fs::path& archive) {
    LibArchive::Reader reader(archive_read_new());
    archive_read_support_format_zip(reader.get());
    if (archive_read_open_filename(reader.get(), archive.c_str(), 1 << 16) < ARCHIVE_WARN)
        throw ArchiveErrors::readFailed(archive.filename().string(), reader.get());
    return reader;
}

bool isSkipped(archive_entry* entry) {
    const auto type = archive_entry_filetype(entry);
    if (type != AE_IFREG && type != AE_IFDIR && type != AE_IFLNK)
        return true;
    const char* name = LibArchive::pathname(entry);
    if (name == nullptr)
        return false; // refused by checkEntry
    const std::vector<std::string_view> parts = components(name);
    return !parts.empty() && (parts.front() == "__MACOSX" || parts.back().starts_with("._"));
}

void checkEntry(archive_entry* entry, std::string_view archiveName) {
    const char* name = LibArchive::pathname(entry);
    if (name == nullptr)
        throw ArchiveErrors::unreadableName(archiveName);
    checkPath(name, name, archiveName);
    if (const char* hardlink = archive_entry_hardlink(entry))
        checkPath(hardlink, name, archiveName);
    if (archive_entry_filetype(entry) == AE_IFLNK) {
        const char* target = archive_entry_symlink_utf8(entry);
        if (target == nullptr)
            target = archive_entry_symlink(entry);
        if (target == nullptr || !staysInside(name, target))
            throw ArchiveErrors::linkLeavesFolder(archiveName, name);
    }
    if (archive_entry_is_encrypted(entry))
        throw ArchiveErrors::encrypted(archiveName);
}

Plan inspect(const fs::path& archive, const ArchiveTools::ExpansionLimits& limits) {
    const std::string archiveName = archive.filename().string();
    const LibArchive::Reader reader = openReader(archive);
    Plan plan;
    std::int64_t entries = 0;
    archive_entry* entry = nullptr;
    for (int status; (status = archive_read_next_header(reader.get(), &entry)) != ARCHIVE_EOF;) {
        if (status < ARCHIVE_WARN)
            throw ArchiveErrors::readFailed(archiveName, reader.get());
        if (++entries > limits.maxEntries)
            throw ArchiveErrors::tooManyItems(archiveName, limits.maxEntries);
        if (isSkipped(entry))
            continue;
        checkEntry(entry, archiveName);
        if (archive_entry_size_is_set(entry))
            plan.declaredBytes += std::max<std::int64_t>(archive_entry_size(entry), 0);
    }

    std::error_code error;
    const auto archiveBytes = static_cast<std::int64_t>(fs::file_size(archive, error));
    plan.ratioBoundBytes =
        std::max(limits.ratioFloorBytes, (error ? 0 : archiveBytes) * limits.maxRatio);
    const std::int64_t available = freeBytes(folderOf(archive));
    const std::int64_t spaceBound = available - limits.reservedBytes;
    if (plan.declaredBytes > plan.ratioBoundBytes)
        throw ArchiveErrors::expandsTooFar(archiveName, limits.maxRatio);
    if (plan.declaredBytes > spaceBound)
        throw ArchiveErrors::notEnoughSpace(archiveName, plan.declaredBytes, spaceBound);
    plan.budgetBytes = std::min(plan.ratioBoundBytes, spaceBound);
    return plan;
}

void checkLinkStaysInside(const fs::path& root, const fs::path& link, std::string_view archiveName,
                          std::string_view entryName) {
    std::error_code error;
    const fs::path resolved = fs::weakly_canonical(link, error);
    const fs::path relative = resolved.lexically_relative(root);
    if (error || relative.empty() || *relative.begin() == "..")
        throw ArchiveErrors::linkLeavesFolder(archiveName, entryName);
}

} // namespace kelvane::UnzipCheck
