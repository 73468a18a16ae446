#include "DropDock/DraggedFiles.h"
#include "MainViews/DropLoading.h"

#include <cstdint>
#include <cstdlib>

// A drop's or a drag's "text/uri-list" comes from whatever application the user drags
// from. Every file either parser yields must be a local, absolute path, and no more files
// than lines.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray uriList(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QList<QUrl> urls = kelvane::urlsFromUriList(uriList);
    const auto files = kelvane::loadURLs(urls);
    if (files.size() > static_cast<std::size_t>(urls.size()))
        std::abort();
    for (const auto& file : files)
        if (!file.is_absolute())
            std::abort();

    const auto dragged = kelvane::draggedFiles(uriList);
    if (dragged.size() > static_cast<std::size_t>(uriList.count('\n') + 1))
        std::abort();
    for (const auto& file : dragged)
        if (!file.is_absolute() || file.native().find('\0') != std::string::npos)
            std::abort();
    return 0;
}
