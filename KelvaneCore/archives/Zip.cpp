#include "archives/ArchiveErrors.h"
#include "archives/ArchiveTools.h"
#include "archives/TemporaryRoot.h"
#include "archives/ZipSources.h"
#include "libarchive/LibArchive.h"
#include "naming/OutputNaming.h"
#include "naming/PendingOutput.h"

#include <QString>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <set>
#include <system_error>
#include <unistd.h>

namespace kelvane::ArchiveTools {
namespace {

namespace fs = std::filesystem;
using ZipSources::Source;

constexpr std::string_view toolName = "zip";

[[noreturn]] void fail(archive* a, int status) {
    throw ArchiveErrors::toolFailed(toolName, a, status);
}

// ARCHIVE_WARN is a remark (a name that could not be converted, say), never a failure.
void check(archive* a, int status) {
    if (status < ARCHIVE_WARN)
        fail(a, status);
}

// Formats whose contents are compressed already: deflating them costs time and saves
// next to nothing, so they are stored as they are.
bool isAlreadyCompressed(const fs::path& file) {
    static const std::set<QString> extensions = {
        "jpg",  "jpeg", "png",  "gif",  "heic", "heif", "webp", "avif", "jp2", "mp4",
        "m4v",  "mov",  "mkv",  "webm", "avi",  "mp3",  "m4a",  "aac",  "ogg", "oga",
        "opus", "flac", "zip",  "gz",   "tgz",  "bz2",  "xz",   "zst",  "7z",  "rar",
        "docx", "xlsx", "pptx", "odt",  "ods",  "odp",  "epub", "jar",  "apk"};
    const QString extension = QString::fromStdString(file.extension().string()).mid(1).toLower();
    return extensions.contains(extension);
}

fs::path folderOf(const fs::path& item) {
    fs::path normal = item.lexically_normal();
    if (!normal.has_filename())
        normal = normal.parent_path();
    return normal.has_parent_path() ? normal.parent_path() : fs::path(".");
}

LibArchive::Writer openWriter(const fs::path& file) {
    LibArchive::Writer writer(archive_write_new());
    archive* a = writer.get();
    check(a, archive_write_set_format_zip(a));
    // A ZIP must end at its end-of-central-directory record: no padding of the last block.
    check(a, archive_write_set_bytes_per_block(a, 1 << 16));
    check(a, archive_write_set_bytes_in_last_block(a, 1));
    check(a, archive_write_set_options(a, "zip:compression=deflate,zip:hdrcharset=UTF-8"));
    check(a, archive_write_open_filename(a, file.c_str()));
    return writer;
}

std::string linkTarget(const Source& source) {
    std::string target(static_cast<std::size_t>(std::max<off_t>(source.status.st_size, 0)) + 256,
                       '\0');
    const ssize_t length = ::readlink(source.disk.c_str(), target.data(), target.size());
    if (length < 0)
        throw std::system_error(errno, std::generic_category(),
                                "Couldn’t read “" + source.disk.filename().string() + "”");
    target.resize(static_cast<std::size_t>(length));
    return target;
}

LibArchive::Entry entryFor(const Source& source) {
    LibArchive::Entry entry(archive_entry_new());
    archive_entry* e = entry.get();
    const struct stat& status = source.status;
    archive_entry_copy_pathname(e, source.name.c_str());
    archive_entry_set_filetype(e, status.st_mode & S_IFMT);
    // Permission bits only: set-user-ID and friends have no business in a shared archive.
    archive_entry_set_perm(e, status.st_mode & 0777);
    archive_entry_set_mtime(e, status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
    if (S_ISREG(status.st_mode))
        archive_entry_set_size(e, status.st_size);
    if (S_ISLNK(status.st_mode))
        archive_entry_copy_symlink(e, linkTarget(source).c_str());
    return entry;
}

class ByteProgress {
public:
    ByteProgress(const std::vector<Source>& sources, const Progress& progress)
        : progress_(progress) {
        for (const Source& source : sources)
            if (S_ISREG(source.status.st_mode))
                total_ += source.status.st_size;
    }
    void advance(std::int64_t bytes) {
        done_ += bytes;
        if (progress_ && total_ > 0)
            progress_(std::min(1.0, static_cast<double>(done_) / static_cast<double>(total_)));
    }

private:
    const Progress& progress_;
    std::int64_t total_ = 0;
    std::int64_t done_ = 0;
};

struct OpenFile {
    explicit OpenFile(const fs::path& path)
        : fd(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC)) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() {
        if (fd >= 0)
            ::close(fd);
    }
    const int fd;
};

void writeContents(archive* a, const Source& source, ByteProgress& progress) {
    const OpenFile file(source.disk);
    const int fd = file.fd;
    const auto cannotRead = [&](int error) {
        throw std::system_error(error, std::generic_category(),
                                "Couldn’t read “" + source.disk.filename().string() + "”");
    };
    if (fd < 0)
        cannotRead(errno);
    ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    std::vector<char> buffer(1 << 18);
    std::int64_t remaining = source.status.st_size;
    while (remaining > 0) {
        const ssize_t count = ::read(fd, buffer.data(),
                                     static_cast<std::size_t>(std::min<std::int64_t>(
                                         remaining, static_cast<std::int64_t>(buffer.size()))));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            cannotRead(errno);
        if (count == 0) // shrank since it was measured: the header already promised the size
            throw ArchiveErrors::changedWhileZipping(source.disk.filename().string());
        if (archive_write_data(a, buffer.data(), static_cast<std::size_t>(count)) != count)
            fail(a, ARCHIVE_FATAL);
        remaining -= count;
        progress.advance(count);
    }
}

void writeEntry(archive* a, const Source& source, ByteProgress& progress) {
    const bool regular = S_ISREG(source.status.st_mode);
    if (regular)
        check(a, isAlreadyCompressed(source.disk) ? archive_write_zip_set_compression_store(a)
                                                  : archive_write_zip_set_compression_deflate(a));
    const LibArchive::Entry entry = entryFor(source);
    check(a, archive_write_header(a, entry.get()));
    if (regular)
        writeContents(a, source, progress);
    check(a, archive_write_finish_entry(a));
}

fs::path writeArchive(const std::vector<fs::path>& items, const std::vector<std::string>& names,
                      const FreeName& freeName, const Progress& progress) {
    const LibArchive::Utf8Names utf8Names;
    PendingOutput pending = PendingOutput::file(folderOf(items.front()), "zip");
    const std::vector<Source> sources = ZipSources::collect(items, names, pending.path());
    ByteProgress bytes(sources, progress);
    {
        const LibArchive::Writer writer = openWriter(pending.path());
        for (const Source& source : sources)
            writeEntry(writer.get(), source, bytes);
        check(writer.get(), archive_write_close(writer.get()));
    }
    return pending.publish(freeName);
}

} // namespace

fs::path zip(const std::vector<fs::path>& items, const Progress& progress) {
    if (items.empty())
        throw ConversionError::nothingToConvert();
    const fs::path folder = folderOf(items.front());
    if (items.size() == 1) {
        const std::string name = ZipSources::ownName(items.front());
        return writeArchive(
            items, {name}, [&] { return OutputNaming::urlNamed(name, "zip", folder); }, progress);
    }
    // The run keeps its temporary root and the staging folder named like the archive, but
    // nothing is copied there: entries stream from where they are, under the names copies
    // would have had, so zipping 10 GB needs no 10 GB of temporary space.
    const TemporaryRoot root;
    const FreeName freeName = [&] {
        return OutputNaming::urlNamed("Archive", "zip", folder);
    };
    fs::create_directories(root.path() / freeName().stem());
    return writeArchive(items, ZipSources::rootNames(items), freeName, progress);
}

} // namespace kelvane::ArchiveTools
