#pragma once

#include "catalogue/FileKind.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class Recipe;

// The five families the sidebar lists recipes under.
class RecipeGroup {
public:
    enum Value : std::uint8_t { images, video, audio, documents, archives };

    constexpr RecipeGroup(Value value)
        : value_(value) {}
    constexpr operator Value() const { return value_; }

    static constexpr std::array<RecipeGroup, 5> allCases() {
        return {images, video, audio, documents, archives};
    }

    // The raw value is also the title shown ("Images", "Video", …).
    std::string_view rawValue() const;
    std::string_view id() const { return rawValue(); }
    std::string_view title() const { return rawValue(); }
    std::string_view symbol() const;
    static std::optional<RecipeGroup> fromRawValue(std::string_view raw);

    // This group's recipes in catalogue order.
    std::vector<Recipe> recipes() const;

private:
    Value value_;
};

// One thing the user can do to a set of files. Everything about a recipe is fixed here;
// nothing is configured at run time.
class Recipe {
public:
    enum Value : std::uint8_t {
        toJPG,
        toPNG,
        toHEIC,
        toTIFF,
        toGIF,
        toBMP,
        resize,
        shrink,
        stripMetadata,
        imagesToPDF,
        toMP4,
        toMOV,
        video720,
        video1080,
        videoHEVC,
        videoToGIF,
        extractAudio,
        toM4A,
        toWAV,
        toAIFF,
        toCAF,
        docToPDF,
        docToDOCX,
        docToRTF,
        docToHTML,
        docToTXT,
        docToODT,
        pdfToPNG,
        pdfToJPG,
        zip,
        unzip,
    };
    static constexpr std::size_t count = 31;

    constexpr Recipe(Value value)
        : value_(value) {}
    constexpr operator Value() const { return value_; }

    static const std::array<Recipe, count>& allCases();

    // The case name ("toJPG", "videoHEVC"): how a recipe is stored and exchanged.
    std::string_view rawValue() const;
    std::string_view id() const { return rawValue(); }
    // Exact, case-sensitive match of a case name.
    static std::optional<Recipe> fromRawValue(std::string_view raw);

    std::string_view title() const;
    std::string_view subtitle() const;
    // A symbol name; the interface maps it to a glyph.
    std::string_view symbol() const;
    RecipeGroup group() const;
    FileKindSet accepts() const;
    // Lower case without a dot; none where the result keeps the input's format or is a folder.
    std::optional<std::string_view> outputExtension() const;
    // True when all inputs of one run become one output.
    bool combinesInputs() const;
    // The short label of dock tiles and job rows; only "Shrink to Size" uses the target.
    std::string dockTitle(double targetMB) const;

    // Whether this recipe is worth offering for one file: it accepts the file's kind and
    // would not merely rewrite it in the format it already has.
    bool fits(const std::filesystem::path& url) const;
    // The recipes of a kind's own groups, in display order, before any file rules them out
    // ("Compress to Zip", which takes anything, is not among them).
    static std::vector<Recipe> offeredFor(FileKind kind);
    // The fitting recipes for a whole set of files, in display order.
    static std::vector<Recipe> suggestions(const std::vector<std::filesystem::path>& urls);

    // A size in decimal megabytes as a short label: "500 KB", "2 MB", "2.5 MB".
    static std::string formatMB(double megabytes);

private:
    Value value_;
};

} // namespace kelvane
