#pragma once

#include <QJsonArray>

#include <filesystem>
#include <string>
#include <vector>

namespace kelvane::fixtures {

struct CommandRun {
    int status;         // the exit status, or -1 when the command did not exit normally
    std::string output; // standard output and standard error together
};

// Runs `program` with `arguments` (no shell) and waits up to ten minutes.
CommandRun runCommand(const std::string& program, const std::vector<std::string>& arguments);

// Runs a python3 script with `arguments`; the scripts below build hostile archives.
CommandRun runPython(const std::string& script, const std::vector<std::string>& arguments);

// Every entry of a ZIP as python's zipfile reads it: an object per entry with "name",
// "utf8" (the name flag), "mode" (POSIX bits from the external attributes), "method"
// (0 stored, 8 deflated), "size", "mtime" (seconds, local time as the DOS date holds it),
// and "link" (the target, for links). Empty when zipfile refuses the archive.
QJsonArray zipEntries(const std::filesystem::path& zip);

// Paths under `folder`, relative, '/'-separated, folders ending in '/', sorted; links are
// listed, not followed.
std::vector<std::string> treeOf(const std::filesystem::path& folder);

// An entry for the libarchive writer below.
struct EntrySpec {
    std::string name;
    std::string contents;
    enum class Type { file, folder } type = Type::file;
};

// Writes a ZIP with libarchive; with a passphrase, every file is encrypted.
void writeZip(const std::filesystem::path& zip, const std::vector<EntrySpec>& entries,
              const std::string& passphrase = {});

} // namespace kelvane::fixtures
