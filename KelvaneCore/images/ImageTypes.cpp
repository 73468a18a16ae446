#include "images/ImageTools.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace kelvane::ImageTools {
namespace {

std::string lowercase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

std::string extensionOf(const std::filesystem::path& file) {
    const std::string extension = file.extension().string();
    return lowercase(extension.empty() ? extension : extension.substr(1));
}

} // namespace

ImageType typeForExtension(std::string_view extension) {
    const std::string lower = lowercase(extension);
    if (lower == "jpg" || lower == "jpeg")
        return ImageType::jpeg;
    if (lower == "heic" || lower == "heif")
        return ImageType::heic;
    if (lower == "tif" || lower == "tiff")
        return ImageType::tiff;
    if (lower == "gif")
        return ImageType::gif;
    if (lower == "bmp")
        return ImageType::bmp;
    return ImageType::png;
}

std::string_view preferredExtension(ImageType type) {
    switch (type) {
    case ImageType::jpeg:
        return "jpg";
    case ImageType::heic:
        return "heic";
    case ImageType::tiff:
        return "tiff";
    case ImageType::gif:
        return "gif";
    case ImageType::bmp:
        return "bmp";
    case ImageType::png:
        break;
    }
    return "png";
}

Format sameFormat(const std::filesystem::path& input) {
    static constexpr std::array<std::string_view, 9> writable = {
        "jpg", "jpeg", "png", "heic", "heif", "tif", "tiff", "gif", "bmp"};
    const std::string extension = extensionOf(input);
    if (std::find(writable.begin(), writable.end(), extension) == writable.end())
        return {ImageType::png, "png"};
    return {typeForExtension(extension), extension};
}

} // namespace kelvane::ImageTools
