#include "documents/ZipContainer.h"

#include "libarchive/LibArchive.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <vector>

namespace kelvane {
namespace {

[[noreturn]] void fail(archive* a, const char* what) {
    const std::string reason = LibArchive::errorText(a);
    throw std::runtime_error(std::string(what) + (reason.empty() ? "" : ": " + reason));
}

std::int64_t expansionLimit(std::int64_t archiveBytes) {
    const std::int64_t byRatio =
        std::max(archiveBytes * ZipContainer::maxRatio, ZipContainer::ratioFloorBytes);
    return std::min(byRatio, ZipContainer::maxExpandedBytes);
}

constexpr std::size_t headPiece = 16 * 1024;

// The entry's data, refused past `bound` bytes; or only its first `headBytes` when given, which
// do without what is damaged after them (the check of the whole entry comes at its end):
// `cutShort` then tells that the archive can be read no further.
QByteArray readEntry(archive* a, std::int64_t bound, std::int64_t headBytes, bool& cutShort) {
    QByteArray data;
    char buffer[1 << 16];
    for (;;) {
        if (headBytes >= 0 && data.size() >= headBytes)
            return data.left(static_cast<qsizetype>(headBytes));
        // A head is read a little at a time, so that its first bytes come before any check.
        const std::size_t want = headBytes >= 0 ? headPiece : sizeof buffer;
        const la_ssize_t count = archive_read_data(a, buffer, want);
        if (count < 0 && headBytes >= 0 && !data.isEmpty()) {
            cutShort = true;
            return data.left(static_cast<qsizetype>(headBytes));
        }
        if (count < 0)
            fail(a, "damaged entry");
        if (count == 0)
            return data;
        bound -= count;
        if (bound < 0)
            throw std::runtime_error("archive expands beyond the limit");
        data.append(buffer, static_cast<qsizetype>(count));
    }
}

LibArchive::Reader openArchive(const std::filesystem::path& file) {
    LibArchive::Reader reader(archive_read_new());
    archive_read_support_format_zip(reader.get());
    if (archive_read_open_filename(reader.get(), file.c_str(), 1 << 16) != ARCHIVE_OK)
        fail(reader.get(), "not a ZIP archive");
    return reader;
}

// The name of the next regular file in the archive, or null at its end.
const char* nextPart(archive* a, archive_entry*& entry) {
    for (int status; (status = archive_read_next_header(a, &entry)) != ARCHIVE_EOF;) {
        if (status < ARCHIVE_WARN)
            fail(a, "damaged archive");
        if (archive_entry_filetype(entry) != AE_IFREG)
            continue;
        if (const char* name = LibArchive::pathname(entry))
            return name;
    }
    return nullptr;
}

std::vector<std::string> pathComponents(std::string_view path) {
    std::vector<std::string> components;
    std::size_t start = 0;
    while (start <= path.size()) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        components.emplace_back(path.substr(start, end - start));
        start = end + 1;
    }
    return components;
}

} // namespace

ZipContainer ZipContainer::open(const std::filesystem::path& file) {
    std::error_code error;
    const auto archiveBytes = static_cast<std::int64_t>(std::filesystem::file_size(file, error));
    if (error)
        throw std::runtime_error("unreadable file");

    const LibArchive::Reader reader = openArchive(file);
    ZipContainer container;
    container.file_ = file;
    std::int64_t budget = expansionLimit(archiveBytes);
    archive_entry* entry = nullptr;
    for (int index = 0; const char* name = nextPart(reader.get(), entry); ++index) {
        if (archive_entry_is_encrypted(entry))
            throw std::runtime_error("encrypted entry");
        std::int64_t size = -1;
        if (archive_entry_size_is_set(entry)) {
            size = archive_entry_size(entry);
            budget -= size;
            if (size < 0 || budget < 0)
                throw std::runtime_error("archive expands beyond the limit");
        }
        // The first of duplicate names is the one read.
        container.entries_.try_emplace(name, Entry{size, index});
    }
    if (container.entries_.empty())
        throw std::runtime_error("empty archive");
    container.undeclaredBudget_ = budget;
    return container;
}

LibArchive::Reader ZipContainer::entry(std::string_view name) const {
    if (!contains(name))
        return nullptr;
    LibArchive::Reader reader = openArchive(file_);
    archive_entry* entry = nullptr;
    while (const char* found = nextPart(reader.get(), entry)) {
        if (found == name)
            return reader;
    }
    throw std::runtime_error("archive changed while being read");
}

std::int64_t ZipContainer::boundOf(const Entry& entry) const {
    return entry.size < 0 ? undeclaredBudget_ : entry.size;
}

std::optional<QByteArray> ZipContainer::part(std::string_view name) const {
    return read(name, -1);
}

std::optional<QByteArray> ZipContainer::head(std::string_view name, qsizetype count) const {
    return read(name, count);
}

std::optional<QByteArray> ZipContainer::read(std::string_view name, qsizetype headBytes) const {
    const auto found = entries_.find(name);
    if (found == entries_.end())
        return std::nullopt;
    if (found->second.size > maxPartBytes)
        throw std::runtime_error("part too large to read: " + std::string(name));
    // The part is looked for by name: the file may have changed since it was opened.
    const auto findFrom = [&](bool start) {
        if (start) {
            cursor_ = openArchive(file_);
            cursorIndex_ = -1;
        }
        archive_entry* entry = nullptr;
        while (const char* at = nextPart(cursor_.get(), entry)) {
            ++cursorIndex_;
            if (at == name)
                return true;
        }
        return false;
    };
    const bool fromStart = !cursor_ || found->second.index <= cursorIndex_;
    if (!findFrom(fromStart) && (fromStart || !findFrom(true))) {
        cursor_ = nullptr;
        throw std::runtime_error("archive changed while being read");
    }
    try {
        bool cutShort = false;
        QByteArray data = readEntry(cursor_.get(), std::min(boundOf(found->second), maxPartBytes),
                                    headBytes, cutShort);
        if (cutShort)
            cursor_ = nullptr;
        return data;
    } catch (const std::runtime_error&) {
        cursor_ = nullptr;
        throw;
    }
}

bool ZipContainer::fitsWhole(std::string_view name) const {
    const auto found = entries_.find(name);
    return found != entries_.end() && found->second.size <= maxPartBytes;
}

std::unique_ptr<ZipPartStream> ZipContainer::stream(std::string_view name) const {
    LibArchive::Reader reader = entry(name);
    if (!reader)
        return nullptr;
    return std::make_unique<ZipPartStream>(std::move(reader), boundOf(entries_.find(name)->second));
}

bool ZipContainer::contains(std::string_view name) const {
    return entries_.find(name) != entries_.end();
}

std::optional<std::string> ZipContainer::resolve(std::string_view fromPart,
                                                 std::string_view target) {
    if (target.empty() || target.find("://") != std::string_view::npos)
        return std::nullopt;
    std::vector<std::string> resolved;
    if (target.front() == '/') {
        target.remove_prefix(1);
    } else {
        resolved = pathComponents(fromPart);
        resolved.pop_back(); // the part's own file name
    }
    for (const std::string& component : pathComponents(target)) {
        if (component.empty() || component == ".")
            continue;
        if (component == "..") {
            if (resolved.empty())
                return std::nullopt;
            resolved.pop_back();
            continue;
        }
        resolved.push_back(component);
    }
    std::string path;
    for (const std::string& component : resolved)
        path += (path.empty() ? "" : "/") + component;
    return path.empty() ? std::nullopt : std::optional(path);
}

ZipBuilder::ZipBuilder()
    : memoryOutput_(&memory_)
    , archive_(archive_write_new()) {
    memoryOutput_.open(QIODevice::WriteOnly);
    open(memoryOutput_);
}

ZipBuilder::ZipBuilder(QIODevice& output)
    : archive_(archive_write_new()) {
    open(output);
}

void ZipBuilder::open(QIODevice& output) {
    archive_write_set_format_zip(archive_);
    // libarchive pads the last block with zeros by default; a ZIP must end at its
    // end-of-central-directory record or strict readers refuse it.
    archive_write_set_bytes_in_last_block(archive_, 1);
    archive_write_set_options(archive_, "zip:compression=deflate,hdrcharset=UTF-8");
    const auto append = [](archive*, void* device, const void* buffer, size_t length) {
        return static_cast<la_ssize_t>(static_cast<QIODevice*>(device)->write(
            static_cast<const char*>(buffer), static_cast<qint64>(length)));
    };
    if (archive_write_open(archive_, &output, nullptr, append, nullptr) != ARCHIVE_OK)
        fail(archive_, "cannot start the archive");
}

ZipBuilder::~ZipBuilder() {
    archive_write_free(archive_);
}

void ZipBuilder::add(std::string_view name, const QByteArray& bytes, Compression compression) {
    // The zip writer keeps its compression until told otherwise, so a stored entry sets it
    // for its own header only. (Format options are frozen once the archive is open; these
    // two calls are not.)
    const bool store = compression == Compression::store;
    if (store && archive_write_zip_set_compression_store(archive_) != ARCHIVE_OK)
        fail(archive_, "cannot store an entry");
    const LibArchive::Entry entry(archive_entry_new());
    archive_entry_set_pathname_utf8(entry.get(), std::string(name).c_str());
    archive_entry_set_size(entry.get(), bytes.size());
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), 0644);
    archive_entry_set_mtime(entry.get(), 315532800, 0); // 1980-01-01, the ZIP epoch
    if (archive_write_header(archive_, entry.get()) != ARCHIVE_OK)
        fail(archive_, "cannot add an entry");
    if (archive_write_data(archive_, bytes.constData(), static_cast<size_t>(bytes.size())) !=
        bytes.size())
        fail(archive_, "cannot write an entry");
    if (store && archive_write_zip_set_compression_deflate(archive_) != ARCHIVE_OK)
        fail(archive_, "cannot compress the entries after a stored one");
}

QByteArray ZipBuilder::finish() {
    if (archive_write_close(archive_) != ARCHIVE_OK)
        fail(archive_, "cannot finish the archive");
    memoryOutput_.close();
    return std::move(memory_);
}

} // namespace kelvane
