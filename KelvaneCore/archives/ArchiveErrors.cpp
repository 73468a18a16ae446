#include "archives/ArchiveErrors.h"

#include "libarchive/LibArchive.h"

#include <cstdio>
#include <string>

namespace kelvane::ArchiveErrors {
namespace {

std::string quoted(std::string_view name) {
    // Hostile archives carry names of thousands of characters; a sentence needs the start.
    constexpr std::size_t longest = 80;
    std::string shown(name.substr(0, longest));
    if (name.size() > longest) {
        while (!shown.empty() && (static_cast<unsigned char>(shown.back()) & 0xC0) == 0x80)
            shown.pop_back(); // never cut a UTF-8 sequence in half
        if (!shown.empty() && static_cast<unsigned char>(shown.back()) >= 0xC0)
            shown.pop_back();
        shown += "…";
    }
    return "“" + shown + "”";
}

std::string notExpanded(std::string_view archiveName) {
    return quoted(archiveName) + " wasn’t expanded: ";
}

// Decimal units, as every size shown to the user: "850 MB", "12.3 GB".
std::string sizeLabel(std::int64_t bytes) {
    char label[32];
    const double megabytes = static_cast<double>(bytes) / 1e6;
    if (megabytes < 1000)
        std::snprintf(label, sizeof label, "%.0f MB", megabytes);
    else
        std::snprintf(label, sizeof label, "%.1f GB", megabytes / 1000);
    return label;
}

// The library's texts are phrases ("Damaged Zip archive"); shown alone they end as a
// sentence does.
std::string asSentence(std::string reason) {
    if (const char last = reason.back(); last != '.' && last != '?' && last != '!')
        reason += '.';
    return reason;
}

} // namespace

ConversionError toolFailed(std::string_view tool, archive* a, int status) {
    const std::string reason = LibArchive::errorText(a);
    if (reason.empty())
        return ConversionError::archiverFailed(tool, status);
    return ConversionError(asSentence(reason));
}

ConversionError readFailed(std::string_view archiveName, archive* reader) {
    const std::string reason = LibArchive::errorText(reader);
    if (reason.empty())
        return ConversionError(quoted(archiveName) + " is damaged and can’t be expanded.");
    return ConversionError(asSentence(reason));
}

ConversionError changedWhileZipping(std::string_view fileName) {
    return ConversionError(quoted(fileName) + " changed while it was being zipped.");
}

ConversionError leavesFolder(std::string_view archiveName, std::string_view entryName) {
    return ConversionError(notExpanded(archiveName) + quoted(entryName) +
                           " would land outside the folder it expands into.");
}

ConversionError linkLeavesFolder(std::string_view archiveName, std::string_view entryName) {
    return ConversionError(notExpanded(archiveName) + "the link " + quoted(entryName) +
                           " points outside the folder it expands into.");
}

ConversionError encrypted(std::string_view archiveName) {
    return ConversionError(quoted(archiveName) +
                           " is protected by a password. Encrypted archives can’t be expanded.");
}

ConversionError nameTooLong(std::string_view archiveName) {
    return ConversionError(notExpanded(archiveName) +
                           "it holds a name too long for this computer’s files.");
}

ConversionError unreadableName(std::string_view archiveName) {
    return ConversionError(notExpanded(archiveName) + "it holds an item without a usable name.");
}

ConversionError tooManyItems(std::string_view archiveName, std::int64_t maxEntries) {
    return ConversionError(notExpanded(archiveName) + "it holds more than " +
                           std::to_string(maxEntries) + " items.");
}

ConversionError expandsTooFar(std::string_view archiveName, std::int64_t maxRatio) {
    return ConversionError(notExpanded(archiveName) + "it would grow to more than " +
                           std::to_string(maxRatio) + " times its own size.");
}

ConversionError notEnoughSpace(std::string_view archiveName, std::int64_t neededBytes,
                               std::int64_t freeBytes) {
    return ConversionError("There isn’t enough free space to expand " + quoted(archiveName) +
                           ": it needs " + sizeLabel(neededBytes) + " and " +
                           sizeLabel(std::max<std::int64_t>(freeBytes, 0)) + " is free.");
}

} // namespace kelvane::ArchiveErrors
