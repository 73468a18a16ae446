#include "naming/PendingOutput.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace kelvane {
namespace {

namespace fs = std::filesystem;

// Failures of the file system reach the user as "<one of these>: <the system's reason>".
constexpr const char* couldNotCreate = "Couldn’t create a file beside the original";
constexpr const char* couldNotWrite = "Couldn’t write the result";
constexpr const char* couldNotSave = "Couldn’t save the result";

[[noreturn]] void throwErrno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// The process umask, read without changing it (umask(2) would race with other threads).
mode_t processUmask() {
    static const mode_t mask = [] {
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);)
            if (line.rfind("Umask:", 0) == 0)
                return static_cast<mode_t>(std::stoul(line.substr(6), nullptr, 8));
        return static_cast<mode_t>(022);
    }();
    return mask;
}

// The process id in the name lets whoever started this process find what it left behind
// if it died before publishing (see temporaryPrefix).
std::vector<char> templateName(const fs::path& folder, std::string_view extension) {
    std::string name = (folder / (temporaryPrefix(::getpid()) + "XXXXXX")).string();
    if (!extension.empty())
        name.append(".").append(extension);
    return {name.begin(), name.end() + 1};
}

bool isUnsupported(int error) {
    return error == EINVAL || error == ENOSYS || error == ENOTSUP || error == EOPNOTSUPP ||
           error == EPERM;
}

class FileDescriptor {
public:
    explicit FileDescriptor(int fd)
        : fd_(fd) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (fd_ >= 0)
            ::close(fd_);
    }
    int get() const { return fd_; }

private:
    int fd_;
};

void writeAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            throwErrno(couldNotWrite);
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

void copyContents(int from, int to) {
    char buffer[1 << 16];
    for (;;) {
        const ssize_t count = ::read(from, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throwErrno(couldNotWrite);
        if (count == 0)
            return;
        writeAll(to, buffer, static_cast<std::size_t>(count));
    }
}

// Last resort on file systems without hard links: create the target exclusively and copy.
bool copyToNewFile(const fs::path& source, const fs::path& target) {
    const FileDescriptor out(
        ::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666 & ~processUmask()));
    if (out.get() < 0 && errno == EEXIST)
        return false;
    if (out.get() < 0)
        throwErrno(couldNotWrite);
    try {
        const FileDescriptor in(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
        if (in.get() < 0)
            throwErrno(couldNotWrite);
        copyContents(in.get(), out.get());
    } catch (...) {
        ::unlink(target.c_str());
        throw;
    }
    ::unlink(source.c_str());
    return true;
}

// An unnamed file in `folder`, or none where the file system or kernel refuses them (some
// network and FUSE mounts) or /proc, through which it is written and published, is missing.
int openUnnamed(const fs::path& folder) {
    const int fd = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666 & ~processUmask());
    if (fd < 0)
        return -1;
    if (::access(("/proc/self/fd/" + std::to_string(fd)).c_str(), W_OK) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// Gives an unnamed file its name; fails with EEXIST rather than replacing what is there.
bool linkUnnamed(const fs::path& source, const fs::path& target) {
    if (::linkat(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), AT_SYMLINK_FOLLOW) == 0)
        return true;
    if (errno == EEXIST)
        return false;
    throwErrno(couldNotSave);
}

bool linkFile(const fs::path& source, const fs::path& target) {
    if (::link(source.c_str(), target.c_str()) == 0) {
        ::unlink(source.c_str());
        return true;
    }
    if (errno == EEXIST)
        return false;
    if (!isUnsupported(errno) && errno != EMLINK)
        throwErrno(couldNotSave);
    return copyToNewFile(source, target);
}

// Without RENAME_NOREPLACE: claim the name with an exclusive mkdir, then move the folder over
// that empty folder of ours.
bool moveFolderOverOwnClaim(const fs::path& source, const fs::path& target) {
    if (::mkdir(target.c_str(), 0700) != 0) {
        if (errno == EEXIST)
            return false;
        throwErrno(couldNotSave);
    }
    if (::rename(source.c_str(), target.c_str()) != 0) {
        const int error = errno;
        ::rmdir(target.c_str());
        throw std::system_error(error, std::generic_category(), couldNotSave);
    }
    return true;
}

} // namespace

bool PendingOutput::removeTemporary(const fs::path& path, Kind kind) noexcept {
    std::error_code error;
    if (kind == Kind::file)
        fs::remove(path, error);
    else
        fs::remove_all(path, error);
    return !error;
}

std::string temporaryPrefix(pid_t process) {
    return ".kelvane-" + std::to_string(process) + "-";
}

namespace {

// The process id in a name of temporaryPrefix's form, or none.
std::optional<pid_t> ownerOf(const std::string& name) {
    constexpr std::string_view start = ".kelvane-";
    if (!name.starts_with(start))
        return std::nullopt;
    const std::size_t dash = name.find('-', start.size());
    if (dash == std::string::npos || dash == start.size())
        return std::nullopt;
    pid_t process = 0;
    for (std::size_t index = start.size(); index < dash; ++index) {
        if (name[index] < '0' || name[index] > '9' || process > 100'000'000)
            return std::nullopt;
        process = process * 10 + (name[index] - '0');
    }
    return process;
}

bool isGone(pid_t process) {
    return process > 0 && ::kill(process, 0) != 0 && errno == ESRCH;
}

} // namespace

void removeAbandoned(const fs::path& folder) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const auto owner = ownerOf(entry.path().filename().string());
        if (owner && isGone(*owner))
            fs::remove_all(entry.path(), error);
    }
}

PendingOutput PendingOutput::file(const fs::path& folder, std::string_view extension) {
    if (const int unnamed = openUnnamed(folder); unnamed >= 0) {
        PendingOutput pending("/proc/self/fd/" + std::to_string(unnamed), Kind::file);
        pending.unnamed_ = unnamed;
        if (::fchmod(unnamed, 0666 & ~processUmask()) != 0)
            throwErrno(couldNotCreate);
        return pending;
    }
    std::vector<char> name = templateName(folder, extension);
    const int suffixLength = extension.empty() ? 0 : static_cast<int>(extension.size() + 1);
    const FileDescriptor fd(::mkostemps(name.data(), suffixLength, O_CLOEXEC));
    if (fd.get() < 0)
        throwErrno(couldNotCreate);
    PendingOutput pending(fs::path(name.data()), Kind::file);
    if (::fchmod(fd.get(), 0666 & ~processUmask()) != 0)
        throwErrno(couldNotCreate);
    return pending;
}

PendingOutput PendingOutput::folder(const fs::path& folder) {
    std::vector<char> name = templateName(folder, {});
    if (::mkdtemp(name.data()) == nullptr)
        throwErrno(couldNotCreate);
    PendingOutput pending(fs::path(name.data()), Kind::folder);
    if (::chmod(name.data(), 0777 & ~processUmask()) != 0)
        throwErrno(couldNotCreate);
    return pending;
}

PendingOutput::PendingOutput(PendingOutput&& other) noexcept
    : path_(std::move(other.path_))
    , kind_(other.kind_)
    , unnamed_(other.unnamed_)
    , settled_(other.settled_) {
    other.settled_ = true;
    other.unnamed_ = -1;
}

PendingOutput::~PendingOutput() {
    discard();
    if (unnamed_ >= 0)
        ::close(unnamed_);
}

void PendingOutput::discard() noexcept {
    if (settled_)
        return;
    settled_ = true;
    if (unnamed_ >= 0)
        return; // an unnamed file goes with its last descriptor
    if (removeTemporary(path_, kind_))
        return;
    // The folder was made read-only while we wrote. It is ours, so for the moment it takes
    // to remove our own unfinished output we let ourselves write to it again.
    const fs::path folder = path_.parent_path();
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0 || status.st_uid != ::geteuid())
        return;
    if (::chmod(folder.c_str(), status.st_mode | S_IWUSR) != 0)
        return;
    removeTemporary(path_, kind_);
    ::chmod(folder.c_str(), status.st_mode & 07777);
}

bool PendingOutput::tryPublishAt(const fs::path& target) {
    if (unnamed_ >= 0)
        return linkUnnamed(path_, target);
    if (::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno == EEXIST)
        return false;
    if (!isUnsupported(errno))
        throwErrno(couldNotSave);
    return kind_ == Kind::file ? linkFile(path_, target) : moveFolderOverOwnClaim(path_, target);
}

fs::path PendingOutput::publish(const FreeName& freeName) {
    if (settled_)
        throw std::system_error(std::make_error_code(std::errc::invalid_argument), couldNotSave);
    fs::path previous;
    for (;;) {
        fs::path target = freeName();
        // A name source that offers the same taken name twice would loop for ever.
        if (target == previous)
            throw std::system_error(std::make_error_code(std::errc::file_exists), couldNotSave);
        if (tryPublishAt(target)) {
            settled_ = true;
            return target;
        }
        previous = std::move(target);
    }
}

fs::path publishBytes(std::string_view bytes, const fs::path& folder, std::string_view extension,
                      const FreeName& freeName) {
    PendingOutput pending = PendingOutput::file(folder, extension);
    {
        const FileDescriptor fd(::open(pending.path().c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
        if (fd.get() < 0)
            throwErrno(couldNotWrite);
        writeAll(fd.get(), bytes.data(), bytes.size());
    }
    return pending.publish(freeName);
}

} // namespace kelvane
