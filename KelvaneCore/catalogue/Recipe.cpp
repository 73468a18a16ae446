#include "catalogue/Recipe.h"

#include <cmath>
#include <cstdio>
#include <utility>

namespace kelvane {
namespace {

constexpr FileKindSet imageKinds{FileKind::image};
constexpr FileKindSet videoKinds{FileKind::video};
constexpr FileKindSet soundKinds{FileKind::audio, FileKind::video};
constexpr FileKindSet documentKinds{FileKind::document};
constexpr FileKindSet pdfKinds{FileKind::pdf};
constexpr FileKindSet archiveKinds{FileKind::archive};

struct RecipeRow {
    std::string_view rawValue;
    std::string_view title;
    std::string_view symbol;
    RecipeGroup::Value group;
    FileKindSet accepts;
    std::string_view outputExtension; // empty: none
    bool combinesInputs;
    std::string_view dockTitle;
    std::string_view subtitle;
};

using G = RecipeGroup;

// In the order of Recipe::Value.
constexpr RecipeRow catalogue[Recipe::count] = {
    {"toJPG", "Convert to JPG", "photo", G::images, imageKinds, "jpg", false, "→ JPG",
     "Small, universal photos. Transparency becomes white."},
    {"toPNG", "Convert to PNG", "photo", G::images, imageKinds, "png", false, "→ PNG",
     "Lossless, keeps transparency."},
    {"toHEIC", "Convert to HEIC", "photo", G::images, imageKinds, "heic", false, "→ HEIC",
     "Apple’s efficient photo format, about half the size of JPG."},
    {"toTIFF", "Convert to TIFF", "photo", G::images, imageKinds, "tiff", false, "→ TIFF",
     "Lossless, for print and editing apps."},
    {"toGIF", "Convert to GIF", "photo.stack", G::images, imageKinds, "gif", false, "→ GIF",
     "A still GIF from the first frame."},
    {"toBMP", "Convert to BMP", "photo", G::images, imageKinds, "bmp", false, "→ BMP",
     "Uncompressed bitmap for older software."},
    {"resize", "Resize", "arrow.down.right.and.arrow.up.left", G::images, imageKinds, "", false,
     "Resize", "Scale down so the longest side fits, same format."},
    {"shrink", "Shrink to Size", "scalemass", G::images, imageKinds, "jpg", false, "Shrink to ",
     "Finds the best quality that fits under a file size."},
    {"stripMetadata", "Strip Metadata", "eye.slash", G::images, imageKinds, "", false,
     "Strip metadata", "Removes camera, location and other hidden details."},
    {"imagesToPDF", "Images to PDF", "doc.on.doc", G::images, imageKinds, "pdf", true,
     "Images → PDF", "All dropped images become pages of one PDF."},

    {"toMP4", "Convert to MP4", "film", G::video, videoKinds, "mp4", false, "→ MP4",
     "Rewraps without re-encoding whenever possible."},
    {"toMOV", "Convert to MOV", "film", G::video, videoKinds, "mov", false, "→ MOV",
     "QuickTime movie, rewrapped when possible."},
    {"video720", "Compress to 720p", "rectangle.compress.vertical", G::video, videoKinds, "mp4",
     false, "→ 720p", "H.264 at up to 1280×720. Great for sharing."},
    {"video1080", "Compress to 1080p", "rectangle.compress.vertical", G::video, videoKinds, "mp4",
     false, "→ 1080p", "H.264 at up to 1920×1080."},
    {"videoHEVC", "Re-encode as HEVC", "sparkles.tv", G::video, videoKinds, "mp4", false, "→ HEVC",
     "Smaller files at the same quality with H.265."},
    {"videoToGIF", "Video to GIF", "livephoto", G::video, videoKinds, "gif", false, "→ GIF",
     "An animated GIF with your frame rate and width."},
    {"extractAudio", "Extract Audio", "waveform.badge.plus", G::video, videoKinds, "m4a", false,
     "→ M4A", "Pulls the soundtrack out as AAC audio."},

    {"toM4A", "Convert to M4A", "music.note", G::audio, soundKinds, "m4a", false, "→ M4A",
     "AAC audio, small and widely supported."},
    {"toWAV", "Convert to WAV", "music.note", G::audio, soundKinds, "wav", false, "→ WAV",
     "Uncompressed 16-bit PCM."},
    {"toAIFF", "Convert to AIFF", "music.note", G::audio, soundKinds, "aiff", false, "→ AIFF",
     "Uncompressed, the classic Mac audio format."},
    {"toCAF", "Convert to CAF", "music.note", G::audio, soundKinds, "caf", false, "→ CAF",
     "Core Audio Format, uncompressed."},

    {"docToPDF", "Document to PDF", "doc.richtext", G::documents, documentKinds, "pdf", false,
     "→ PDF", "Lays out pages at Letter or A4 size."},
    {"docToDOCX", "Convert to Word", "doc.text", G::documents, documentKinds, "docx", false,
     "→ DOCX", "Opens in Word, Pages and Google Docs."},
    {"docToRTF", "Convert to RTF", "doc.text", G::documents, documentKinds, "rtf", false, "→ RTF",
     "Rich text with fonts and styles."},
    {"docToHTML", "Convert to HTML", "chevron.left.forwardslash.chevron.right", G::documents,
     documentKinds, "html", false, "→ HTML", "A web page you can open in any browser."},
    {"docToTXT", "Convert to Plain Text", "text.alignleft", G::documents, documentKinds, "txt",
     false, "→ TXT", "Just the words, UTF-8."},
    {"docToODT", "Convert to ODT", "doc.text", G::documents, documentKinds, "odt", false, "→ ODT",
     "OpenDocument for LibreOffice."},
    {"pdfToPNG", "PDF Pages to PNG", "doc.viewfinder", G::documents, pdfKinds, "", false,
     "Pages → PNG", "Each page becomes a crisp PNG in a new folder."},
    {"pdfToJPG", "PDF Pages to JPG", "doc.viewfinder", G::documents, pdfKinds, "", false,
     "Pages → JPG", "Each page becomes a JPG in a new folder."},

    {"zip", "Compress to Zip", "archivebox", G::archives, FileKindSet::all(), "zip", true, "Zip",
     "Several items become one archive."},
    {"unzip", "Expand Zip", "archivebox.circle", G::archives, archiveKinds, "", false, "Unzip",
     "Unpacks into a new folder beside the archive."},
};

struct GroupRow {
    std::string_view rawValue;
    std::string_view symbol;
};

constexpr GroupRow groups[] = {
    {"Images", "photo.on.rectangle.angled"}, {"Video", "film.stack"},    {"Audio", "waveform"},
    {"Documents", "doc.richtext"},           {"Archives", "archivebox"},
};

template <std::size_t... Index>
constexpr std::array<Recipe, sizeof...(Index)> everyRecipe(std::index_sequence<Index...>) {
    return {Recipe(static_cast<Recipe::Value>(Index))...};
}

const RecipeRow& row(Recipe recipe) {
    return catalogue[static_cast<std::size_t>(recipe)];
}

} // namespace

std::string_view RecipeGroup::rawValue() const {
    return groups[value_].rawValue;
}

std::string_view RecipeGroup::symbol() const {
    return groups[value_].symbol;
}

std::optional<RecipeGroup> RecipeGroup::fromRawValue(std::string_view raw) {
    for (RecipeGroup group : allCases())
        if (group.rawValue() == raw)
            return group;
    return std::nullopt;
}

std::vector<Recipe> RecipeGroup::recipes() const {
    std::vector<Recipe> members;
    for (Recipe recipe : Recipe::allCases())
        if (recipe.group() == value_)
            members.push_back(recipe);
    return members;
}

const std::array<Recipe, Recipe::count>& Recipe::allCases() {
    static constexpr auto cases = everyRecipe(std::make_index_sequence<count>{});
    return cases;
}

std::string_view Recipe::rawValue() const {
    return row(*this).rawValue;
}

std::optional<Recipe> Recipe::fromRawValue(std::string_view raw) {
    for (Recipe recipe : allCases())
        if (recipe.rawValue() == raw)
            return recipe;
    return std::nullopt;
}

std::string_view Recipe::title() const {
    return row(*this).title;
}

std::string_view Recipe::subtitle() const {
    return row(*this).subtitle;
}

std::string_view Recipe::symbol() const {
    return row(*this).symbol;
}

RecipeGroup Recipe::group() const {
    return row(*this).group;
}

FileKindSet Recipe::accepts() const {
    return row(*this).accepts;
}

std::optional<std::string_view> Recipe::outputExtension() const {
    const auto extension = row(*this).outputExtension;
    return extension.empty() ? std::nullopt : std::optional(extension);
}

bool Recipe::combinesInputs() const {
    return row(*this).combinesInputs;
}

std::string Recipe::dockTitle(double targetMB) const {
    std::string title(row(*this).dockTitle);
    if (value_ == shrink)
        title += formatMB(targetMB);
    return title;
}

std::string Recipe::formatMB(double megabytes) {
    char label[64];
    if (megabytes < 1.0) // "+ 0.0" keeps a tiny negative from printing as "-0 KB"
        std::snprintf(label, sizeof label, "%.0f KB", std::round(megabytes * 1000.0) + 0.0);
    else if (megabytes == std::floor(megabytes))
        std::snprintf(label, sizeof label, "%.0f MB", megabytes);
    else
        std::snprintf(label, sizeof label, "%.1f MB", megabytes);
    return label;
}

} // namespace kelvane
