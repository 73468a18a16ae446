#pragma once

#include "naming/ConversionError.h"

#include <cstdint>
#include <string_view>

struct archive;

// The sentences of the archive tools. File names are last path components; entry names
// are shown as the archive spells them, shortened when very long.
namespace kelvane::ArchiveErrors {

// libarchive's own message, trimmed, or "<tool> failed (<status>)." when it gave none.
ConversionError toolFailed(std::string_view tool, archive* a, int status);
// A failure while reading an archive: libarchive's message, trimmed, or when it gave none
// (it gives none for some headers that lie), the sentence that the archive is damaged.
ConversionError readFailed(std::string_view archiveName, archive* reader);

ConversionError changedWhileZipping(std::string_view fileName);
ConversionError leavesFolder(std::string_view archiveName, std::string_view entryName);
ConversionError linkLeavesFolder(std::string_view archiveName, std::string_view entryName);
ConversionError encrypted(std::string_view archiveName);
ConversionError nameTooLong(std::string_view archiveName);
ConversionError unreadableName(std::string_view archiveName);
ConversionError tooManyItems(std::string_view archiveName, std::int64_t maxEntries);
ConversionError expandsTooFar(std::string_view archiveName, std::int64_t maxRatio);
ConversionError notEnoughSpace(std::string_view archiveName, std::int64_t neededBytes,
                               std::int64_t freeBytes);

} // namespace kelvane::ArchiveErrors
