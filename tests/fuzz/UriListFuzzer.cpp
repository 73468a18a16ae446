#include "MainViews/DropLoading.h"

#include <cstdint>
#include <cstdlib>

// A drop's "text/uri-list" comes from whatever application the user drags from. Every file
// it yields must be a local, absolute path, and no more files than URLs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray uriList(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QList<QUrl> urls = kelvane::urlsFromUriList(uriList);
    const auto files = kelvane::loadURLs(urls);
    if (files.size() > static_cast<std::size_t>(urls.size()))
        std::abort();
    for (const auto& file : files)
        if (!file.is_absolute())
            std::abort();
    return 0;
}
