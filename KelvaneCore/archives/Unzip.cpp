#include "archives/ArchiveErrors.h"
#include "archives/ArchiveTools.h"
#include "archives/UnzipCheck.h"
#include "libarchive/LibArchive.h"
#include "naming/OutputNaming.h"
#include "naming/PendingOutput.h"

#include <cerrno>
#include <exception>
#include <sched.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace kelvane::ArchiveTools {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view toolName = "unzip";

// Paths stay relative to the destination, so the secure-extraction checks apply to every
// component the archive names and to nothing above it (an absolute prefix would be refused
// outright, and a link among its parents would be taken for an attack). Times are restored;
// permissions are, less what the umask removes, and never set-user-ID; runs of zeros become
// holes again.
constexpr int extractFlags = ARCHIVE_EXTRACT_SECURE_NODOTDOT | ARCHIVE_EXTRACT_SECURE_SYMLINKS |
                             ARCHIVE_EXTRACT_SECURE_NOABSOLUTEPATHS | ARCHIVE_EXTRACT_TIME |
                             ARCHIVE_EXTRACT_SPARSE;

void check(archive* a, int status) {
    if (status < ARCHIVE_WARN)
        throw ArchiveErrors::toolFailed(toolName, a, status);
}

// Runs `work` on a thread of its own whose working directory is `folder`. The thread stops
// sharing its file-system context first, so the process's working directory (and the other
// jobs relying on it) never moves.
template <typename Work> void inOwnWorkingDirectory(const fs::path& folder, Work&& work) {
    std::exception_ptr failure;
    std::thread worker([&] {
        try {
            if (::unshare(CLONE_FS) != 0 || ::chdir(folder.c_str()) != 0)
                throw std::system_error(errno, std::generic_category(),
                                        "Couldn’t prepare the folder to expand into");
            work();
        } catch (...) {
            failure = std::current_exception();
        }
    });
    worker.join();
    if (failure)
        std::rethrow_exception(failure);
}

class Expansion {
public:
    Expansion(const fs::path& archive, const UnzipCheck::Plan& plan, const ExpansionLimits& limits,
              const Progress& progress)
        : archiveName_(archive.filename().string())
        , plan_(plan)
        , limits_(limits)
        , progress_(progress)
        , reader_(UnzipCheck::openReader(archive))
        , disk_(archive_write_disk_new()) {
        check(disk_.get(), archive_write_disk_set_options(disk_.get(), extractFlags));
    }

    // Writes every entry under the working directory; returns the links written.
    std::vector<std::string> run() {
        std::vector<std::string> links;
        archive_entry* entry = nullptr;
        for (int status;
             (status = archive_read_next_header(reader_.get(), &entry)) != ARCHIVE_EOF;) {
            checkRead(status);
            if (UnzipCheck::isSkipped(entry))
                continue;
            UnzipCheck::checkEntry(entry, archiveName_);
            if (archive_entry_filetype(entry) == AE_IFLNK)
                links.emplace_back(LibArchive::pathname(entry));
            check(disk_.get(), archive_write_header(disk_.get(), entry));
            if (archive_entry_filetype(entry) == AE_IFREG) // sizes may be unknown until read
                copyData();
            check(disk_.get(), archive_write_finish_entry(disk_.get()));
        }
        // Folder times are set here, after their contents were written.
        check(disk_.get(), archive_write_close(disk_.get()));
        return links;
    }

private:
    void checkRead(int status) const {
        if (status < ARCHIVE_WARN)
            throw ArchiveErrors::readFailed(archiveName_, reader_.get());
    }

    void copyData() {
        const void* block = nullptr;
        std::size_t size = 0;
        la_int64_t offset = 0;
        for (int status; (status = archive_read_data_block(reader_.get(), &block, &size,
                                                           &offset)) != ARCHIVE_EOF;) {
            checkRead(status);
            written_ += static_cast<std::int64_t>(size);
            if (written_ > plan_.budgetBytes)
                throw overBudget();
            if (archive_write_data_block(disk_.get(), block, size, offset) < ARCHIVE_WARN)
                check(disk_.get(), ARCHIVE_FATAL);
            if (progress_ && plan_.declaredBytes > 0)
                progress_(std::min(1.0, static_cast<double>(written_) /
                                            static_cast<double>(plan_.declaredBytes)));
        }
    }

    // The headers lied about the sizes: say which bound the real data broke.
    ConversionError overBudget() const {
        if (written_ > plan_.ratioBoundBytes)
            return ArchiveErrors::expandsTooFar(archiveName_, limits_.maxRatio);
        return ArchiveErrors::notEnoughSpace(archiveName_, written_, plan_.budgetBytes);
    }

    std::string archiveName_;
    UnzipCheck::Plan plan_;
    const ExpansionLimits& limits_;
    const Progress& progress_;
    LibArchive::Reader reader_;
    LibArchive::Writer disk_;
    std::int64_t written_ = 0;
};

} // namespace

fs::path unzip(const fs::path& given, const Progress& progress, const ExpansionLimits& limits) {
    // Opened again from another working directory below.
    const fs::path archive = fs::absolute(given);
    const fs::path folder = archive.has_parent_path() ? archive.parent_path() : fs::path(".");
    const std::string archiveName = archive.filename().string();
    const LibArchive::Utf8Names utf8Names;
    const UnzipCheck::Plan plan = UnzipCheck::inspect(archive, limits);

    PendingOutput pending = PendingOutput::folder(folder);
    const fs::path root = fs::canonical(pending.path());
    inOwnWorkingDirectory(root, [&] {
        // The locale choice is per thread: this one needs its own.
        const LibArchive::Utf8Names threadNames;
        Expansion expansion(archive, plan, limits, progress);
        for (const std::string& link : expansion.run())
            UnzipCheck::checkLinkStaysInside(root, root / link, archiveName, link);
    });
    const std::string base = archive.stem().string();
    return pending.publish([&] { return OutputNaming::urlNamed(base, std::nullopt, folder); });
}

} // namespace kelvane::ArchiveTools
