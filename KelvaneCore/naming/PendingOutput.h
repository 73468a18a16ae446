#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace kelvane {

// Asked for a free destination each time publishing finds the previous one taken; an
// OutputNaming call that tests existence again gives the next free name.
using FreeName = std::function<std::filesystem::path()>;

// A result under construction that becomes the result only when published, under a name
// that nobody else holds at that instant. Publishing never replaces anything, even when
// another process creates the chosen name between naming and publishing. A pending output
// that is never published is removed when it goes out of scope, so a failure leaves nothing
// behind.
//
// A file is an unnamed file in the destination folder (O_TMPFILE), written through its
// /proc/self/fd path and linked to its name when published: a process killed before that
// leaves nothing at all. Where the folder's file system refuses unnamed files, and for
// folders, it is a hidden entry named with temporaryPrefix, which removeAbandoned clears
// once its process is gone.
class PendingOutput {
public:
    // A new empty file in `folder`. Its path() may have no extension (an unnamed file), so
    // writers must be told their format rather than guess it from the name. Throws
    // std::system_error.
    static PendingOutput file(const std::filesystem::path& folder, std::string_view extension);
    // A new empty hidden file in `folder` with a name of its own (temporaryPrefix, then the
    // extension): what file() falls back to where unnamed files are refused. A killed
    // process leaves it until removeAbandoned runs.
    static PendingOutput namedFile(const std::filesystem::path& folder, std::string_view extension);
    // A new empty folder in `folder`. Throws std::system_error.
    static PendingOutput folder(const std::filesystem::path& folder);

    PendingOutput(PendingOutput&& other) noexcept;
    PendingOutput& operator=(PendingOutput&&) = delete;
    PendingOutput(const PendingOutput&) = delete;
    PendingOutput& operator=(const PendingOutput&) = delete;
    ~PendingOutput();

    // Where to write until publishing.
    const std::filesystem::path& path() const { return path_; }

    // Moves the result to the first free name `freeName` gives and returns that name.
    // Throws std::system_error when the folder refuses the move for another reason; the
    // temporary output is then still removed on destruction.
    std::filesystem::path publish(const FreeName& freeName);

    // Removes the temporary output now (also done on destruction).
    void discard() noexcept;

private:
    enum class Kind { file, folder };
    PendingOutput(std::filesystem::path path, Kind kind)
        : path_(std::move(path))
        , kind_(kind) {}

    // True when nothing is left at `path`.
    static bool removeTemporary(const std::filesystem::path& path, Kind kind) noexcept;
    // True when published at `target`, false when the name was taken.
    bool tryPublishAt(const std::filesystem::path& target);

    std::filesystem::path path_;
    Kind kind_;
    int unnamed_ = -1; // the descriptor of an unnamed file
    bool settled_ = false;
};

// How the temporary outputs of a process begin: ".kelvane-<pid>-". A process that watched
// another die removes the entries with this prefix from the folders it was writing into.
std::string temporaryPrefix(pid_t process);

// Removes the entries of `folder` named with temporaryPrefix whose process is gone: what a
// killed run left. Entries of running processes are left alone.
void removeAbandoned(const std::filesystem::path& folder);

// Writes `bytes` as a new file at the first free name `freeName` gives; returns that name.
std::filesystem::path publishBytes(std::string_view bytes, const std::filesystem::path& folder,
                                   std::string_view extension, const FreeName& freeName);

} // namespace kelvane
