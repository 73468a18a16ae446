#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <locale.h>
#include <memory>
#include <string>

// RAII handles and small helpers shared by every user of libarchive in the core.
namespace kelvane::LibArchive {

struct ReaderDeleter {
    void operator()(archive* a) const { archive_read_free(a); }
};
struct WriterDeleter {
    void operator()(archive* a) const { archive_write_free(a); }
};
struct EntryDeleter {
    void operator()(archive_entry* e) const { archive_entry_free(e); }
};
using Reader = std::unique_ptr<archive, ReaderDeleter>;
using Writer = std::unique_ptr<archive, WriterDeleter>;
using Entry = std::unique_ptr<archive_entry, EntryDeleter>;

// libarchive's own description of the last failure, trimmed; empty when it has none.
std::string errorText(archive* a);

// An entry's path as UTF-8, falling back to the raw bytes when the name cannot be
// converted (names of archives written without the UTF-8 flag); null when there is none.
const char* pathname(archive_entry* entry);

// libarchive converts names through the current locale's codeset, and in a non-UTF-8
// locale (the "C" locale of a bare environment) names outside ASCII come back as null or
// fail to write. While one of these lives, the calling thread alone uses a UTF-8 character
// type; the process-wide locale is never touched, so other jobs are not disturbed.
class Utf8Names {
public:
    Utf8Names();
    ~Utf8Names();
    Utf8Names(const Utf8Names&) = delete;
    Utf8Names& operator=(const Utf8Names&) = delete;

private:
    locale_t own_ = nullptr;
    locale_t previous_ = nullptr;
};

} // namespace kelvane::LibArchive
