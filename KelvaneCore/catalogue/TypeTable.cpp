#include "catalogue/TypeTable.h"

#include <algorithm>
#include <array>
#include <unordered_map>

namespace kelvane::TypeTable {
namespace {

struct TypeDeclaration {
    std::string_view identifier;
    std::array<std::string_view, 2> parents;
};

// Every type names its parents; conformance walks them up to "public.data".
constexpr TypeDeclaration declarations[] = {
    {"public.data", {}},
    {"public.content", {"public.data"}},
    {"public.archive", {"public.data"}},

    {"public.image", {"public.content"}},
    {"public.jpeg", {"public.image"}},
    {"public.png", {"public.image"}},
    {"com.compuserve.gif", {"public.image"}},
    {"public.tiff", {"public.image"}},
    {"com.microsoft.bmp", {"public.image"}},
    {"public.heif-standard", {"public.image"}},
    {"public.heic", {"public.heif-standard"}},
    {"public.heif", {"public.heif-standard"}},
    {"public.avif", {"public.heif-standard"}},
    {"org.webmproject.webp", {"public.image"}},
    {"public.jpeg-2000", {"public.image"}},
    {"com.microsoft.ico", {"public.image"}},
    {"com.truevision.tga-image", {"public.image"}},
    {"com.adobe.photoshop-image", {"public.image"}},
    {"public.pbm", {"public.image"}},
    {"public.svg-image", {"public.image", "public.xml"}},

    {"public.audiovisual-content", {"public.content"}},
    {"public.movie", {"public.audiovisual-content"}},
    {"public.video", {"public.movie"}},
    {"public.mpeg-4", {"public.movie"}},
    {"com.apple.m4v-video", {"public.mpeg-4"}},
    {"com.apple.quicktime-movie", {"public.movie"}},
    {"org.matroska.mkv", {"public.movie"}},
    {"org.webmproject.webm", {"public.movie"}},
    {"public.avi", {"public.movie"}},
    {"public.mpeg", {"public.movie"}},
    {"public.mpeg-2-transport-stream", {"public.movie"}},
    {"public.3gpp", {"public.movie"}},
    {"com.microsoft.windows-media-wmv", {"public.movie"}},
    {"com.adobe.flash.video", {"public.movie"}},
    {"org.xiph.ogv", {"public.movie"}},

    {"public.audio", {"public.audiovisual-content"}},
    {"com.apple.m4a-audio", {"public.audio"}},
    {"public.mp3", {"public.audio"}},
    {"public.aac-audio", {"public.audio"}},
    {"com.microsoft.waveform-audio", {"public.audio"}},
    {"public.aiff-audio", {"public.audio"}},
    {"com.apple.coreaudio-format", {"public.audio"}},
    {"org.xiph.flac", {"public.audio"}},
    {"org.xiph.ogg-audio", {"public.audio"}},
    {"org.xiph.opus", {"public.audio"}},
    {"com.microsoft.windows-media-wma", {"public.audio"}},

    {"public.text", {"public.content"}},
    {"public.plain-text", {"public.text"}},
    {"public.log", {"public.plain-text"}},
    {"public.comma-separated-values-text", {"public.plain-text"}},
    {"public.tab-separated-values-text", {"public.plain-text"}},
    {"public.json", {"public.text"}},
    {"public.xml", {"public.text"}},
    {"public.yaml", {"public.text"}},
    {"public.source-code", {"public.plain-text"}},
    {"public.script", {"public.source-code"}},
    {"public.rtf", {"public.text"}},
    {"public.html", {"public.text"}},
    {"public.css", {"public.text"}},

    {"public.pdf", {"public.content"}},
    {"public.zip-archive", {"public.archive"}},
    {"org.gnu.gnu-zip-archive", {"public.archive"}},
    {"public.tar-archive", {"public.archive"}},
    {"org.7-zip.7-zip-archive", {"public.archive"}},
    {"com.rarlab.rar-archive", {"public.archive"}},
    {"public.bzip2-archive", {"public.archive"}},
    {"org.tukaani.xz-archive", {"public.archive"}},
};

struct ExtensionDeclaration {
    std::string_view extension;
    std::string_view identifier;
};

constexpr ExtensionDeclaration extensions[] = {
    {"jpg", "public.jpeg"},
    {"jpeg", "public.jpeg"},
    {"jpe", "public.jpeg"},
    {"jfif", "public.jpeg"},
    {"png", "public.png"},
    {"gif", "com.compuserve.gif"},
    {"tif", "public.tiff"},
    {"tiff", "public.tiff"},
    {"bmp", "com.microsoft.bmp"},
    {"heic", "public.heic"},
    {"heics", "public.heic"},
    {"heif", "public.heif"},
    {"hif", "public.heif"},
    {"avif", "public.avif"},
    {"webp", "org.webmproject.webp"},
    {"jp2", "public.jpeg-2000"},
    {"j2k", "public.jpeg-2000"},
    {"ico", "com.microsoft.ico"},
    {"tga", "com.truevision.tga-image"},
    {"psd", "com.adobe.photoshop-image"},
    {"pbm", "public.pbm"},
    {"pgm", "public.pbm"},
    {"ppm", "public.pbm"},
    {"pnm", "public.pbm"},
    {"svg", "public.svg-image"},
    {"svgz", "public.svg-image"},

    {"mp4", "public.mpeg-4"},
    {"m4v", "com.apple.m4v-video"},
    {"mov", "com.apple.quicktime-movie"},
    {"qt", "com.apple.quicktime-movie"},
    {"mkv", "org.matroska.mkv"},
    {"webm", "org.webmproject.webm"},
    {"avi", "public.avi"},
    {"mpg", "public.mpeg"},
    {"mpeg", "public.mpeg"},
    {"m2v", "public.mpeg"},
    {"ts", "public.mpeg-2-transport-stream"},
    {"mts", "public.mpeg-2-transport-stream"},
    {"m2ts", "public.mpeg-2-transport-stream"},
    {"3gp", "public.3gpp"},
    {"wmv", "com.microsoft.windows-media-wmv"},
    {"flv", "com.adobe.flash.video"},
    {"ogv", "org.xiph.ogv"},

    {"m4a", "com.apple.m4a-audio"},
    {"mp3", "public.mp3"},
    {"aac", "public.aac-audio"},
    {"wav", "com.microsoft.waveform-audio"},
    {"wave", "com.microsoft.waveform-audio"},
    {"aif", "public.aiff-audio"},
    {"aiff", "public.aiff-audio"},
    {"aifc", "public.aiff-audio"},
    {"caf", "com.apple.coreaudio-format"},
    {"flac", "org.xiph.flac"},
    {"ogg", "org.xiph.ogg-audio"},
    {"oga", "org.xiph.ogg-audio"},
    {"opus", "org.xiph.opus"},
    {"wma", "com.microsoft.windows-media-wma"},

    {"txt", "public.plain-text"},
    {"text", "public.plain-text"},
    {"log", "public.log"},
    {"csv", "public.comma-separated-values-text"},
    {"tsv", "public.tab-separated-values-text"},
    {"json", "public.json"},
    {"xml", "public.xml"},
    {"yaml", "public.yaml"},
    {"yml", "public.yaml"},
    {"css", "public.css"},
    {"rtf", "public.rtf"},
    {"html", "public.html"},
    {"htm", "public.html"},
    {"xhtml", "public.html"},
    {"c", "public.source-code"},
    {"h", "public.source-code"},
    {"cc", "public.source-code"},
    {"cpp", "public.source-code"},
    {"cxx", "public.source-code"},
    {"hpp", "public.source-code"},
    {"hh", "public.source-code"},
    {"m", "public.source-code"},
    {"mm", "public.source-code"},
    {"swift", "public.source-code"},
    {"java", "public.source-code"},
    {"kt", "public.source-code"},
    {"rs", "public.source-code"},
    {"go", "public.source-code"},
    {"cs", "public.source-code"},
    {"js", "public.script"},
    {"py", "public.script"},
    {"rb", "public.script"},
    {"pl", "public.script"},
    {"php", "public.script"},
    {"sh", "public.script"},
    {"ini", "public.plain-text"},
    {"conf", "public.plain-text"},
    {"tex", "public.plain-text"},
    {"srt", "public.plain-text"},

    {"pdf", "public.pdf"},
    {"zip", "public.zip-archive"},
    {"gz", "org.gnu.gnu-zip-archive"},
    {"tgz", "org.gnu.gnu-zip-archive"},
    {"tar", "public.tar-archive"},
    {"7z", "org.7-zip.7-zip-archive"},
    {"rar", "com.rarlab.rar-archive"},
    {"bz2", "public.bzip2-archive"},
    {"xz", "org.tukaani.xz-archive"},
};

const TypeDeclaration* declaration(std::string_view identifier) {
    auto found = std::find_if(std::begin(declarations), std::end(declarations),
                              [&](const auto& type) { return type.identifier == identifier; });
    return found == std::end(declarations) ? nullptr : found;
}

} // namespace

std::optional<std::string_view> typeFor(std::string_view extension) {
    static const auto byExtension = [] {
        std::unordered_map<std::string_view, std::string_view> map;
        for (const auto& entry : extensions)
            map.emplace(entry.extension, entry.identifier);
        return map;
    }();
    if (auto found = byExtension.find(extension); found != byExtension.end())
        return found->second;
    return std::nullopt;
}

std::vector<std::string_view> declaredExtensions() {
    std::vector<std::string_view> all;
    for (const auto& entry : extensions)
        all.push_back(entry.extension);
    return all;
}

bool conforms(std::string_view type, std::string_view ancestor) {
    if (type == ancestor)
        return true;
    const TypeDeclaration* declared = declaration(type);
    if (declared == nullptr)
        return false;
    return std::any_of(declared->parents.begin(), declared->parents.end(),
                       [&](auto parent) { return !parent.empty() && conforms(parent, ancestor); });
}

} // namespace kelvane::TypeTable
