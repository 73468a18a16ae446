#include "catalogue/FileKind.h"

#include "catalogue/TypeTable.h"

#include <algorithm>
#include <string>

namespace kelvane {
namespace {

constexpr std::string_view rawValues[] = {"image",    "pdf",     "video", "audio",
                                          "document", "archive", "other"};

bool isOneOf(std::string_view extension, std::initializer_list<std::string_view> list) {
    return std::find(list.begin(), list.end(), extension) != list.end();
}

FileKind kindOfDeclaredType(std::string_view type) {
    using TypeTable::conforms;
    if (conforms(type, "public.pdf"))
        return FileKind::pdf;
    if (conforms(type, "public.svg-image"))
        return FileKind::other;
    if (conforms(type, "public.image"))
        return FileKind::image;
    if (conforms(type, "public.movie") || conforms(type, "public.video"))
        return FileKind::video;
    if (conforms(type, "public.audio"))
        return FileKind::audio;
    if (conforms(type, "public.zip-archive"))
        return FileKind::archive;
    if (conforms(type, "public.text") || conforms(type, "public.rtf") ||
        conforms(type, "public.html"))
        return FileKind::document;
    return FileKind::other;
}

} // namespace

std::string lowercaseExtension(const std::filesystem::path& url) {
    // The text after the last dot of the last component: "archive.tar.gz" gives "gz", and a
    // hidden file such as ".profile" has none.
    // A folder's URL may end in a separator ("shots.png/"); its name is the component before.
    const auto name = url.has_filename() ? url.filename() : url.parent_path().filename();
    std::string extension = name.extension().string();
    if (!extension.empty())
        extension.erase(0, 1);
    std::transform(extension.begin(), extension.end(), extension.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    });
    return extension;
}

std::string_view FileKind::rawValue() const {
    return rawValues[value_];
}

std::optional<FileKind> FileKind::fromRawValue(std::string_view raw) {
    for (FileKind kind : allCases())
        if (kind.rawValue() == raw)
            return kind;
    return std::nullopt;
}

FileKind FileKind::of(const std::filesystem::path& url) {
    const std::string extension = lowercaseExtension(url);
    if (isOneOf(extension, {"webp", "avif", "heif"}))
        return image;
    if (isOneOf(extension,
                {"docx", "odt", "doc", "rtf", "rtfd", "html", "htm", "txt", "text", "md"}))
        return document;
    const auto type = TypeTable::typeFor(extension);
    if (!type || !TypeTable::conforms(*type, "public.data"))
        return other;
    return kindOfDeclaredType(*type);
}

} // namespace kelvane
