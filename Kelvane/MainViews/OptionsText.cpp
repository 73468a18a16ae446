#include "MainViews/OptionsText.h"

namespace kelvane::OptionsText {

OptionSections sectionsFor(Recipe recipe) {
    OptionSections shown;
    switch (recipe.group()) {
    case RecipeGroup::images:
        if (recipe == Recipe::shrink) {
            shown.targetSize = true;
        } else if (recipe == Recipe::imagesToPDF) {
            shown.imagePages = true;
        } else {
            shown.quality = recipe == Recipe::toJPG || recipe == Recipe::toHEIC ||
                            recipe == Recipe::resize || recipe == Recipe::stripMetadata;
            shown.size = recipe != Recipe::stripMetadata;
            shown.sizeAlwaysOn = recipe == Recipe::resize;
            shown.details = shown.size;
        }
        break;
    case RecipeGroup::video:
        shown.animation = recipe == Recipe::videoToGIF;
        shown.settings = !shown.animation;
        break;
    case RecipeGroup::documents:
        shown.pdfPages = recipe == Recipe::pdfToPNG || recipe == Recipe::pdfToJPG;
        shown.pdfQuality = recipe == Recipe::pdfToJPG;
        shown.paper = recipe == Recipe::docToPDF;
        shown.settings = !shown.pdfPages && !shown.paper;
        break;
    case RecipeGroup::audio:
    case RecipeGroup::archives:
        shown.settings = true;
        break;
    }
    return shown;
}

QString sampleResultName(Recipe recipe) {
    switch (recipe) {
    case Recipe::resize:
        return QStringLiteral("Photo (resized).jpg");
    case Recipe::shrink:
        return QStringLiteral("Photo (shrunk).jpg");
    case Recipe::stripMetadata:
        return QStringLiteral("Photo (clean).jpg");
    case Recipe::imagesToPDF:
        return QStringLiteral("Images.pdf");
    case Recipe::pdfToPNG:
    case Recipe::pdfToJPG:
        return QStringLiteral("File (pages)");
    case Recipe::zip:
        return QStringLiteral("File.zip");
    case Recipe::unzip:
        return QStringLiteral("Archive");
    default:
        const std::string_view extension = recipe.outputExtension().value_or("");
        return QStringLiteral("File (converted).") +
               QString::fromUtf8(extension.data(), static_cast<qsizetype>(extension.size()));
    }
}

QString presetDescription(Recipe recipe) {
    switch (recipe) {
    case Recipe::toMP4:
    case Recipe::toMOV:
        return QStringLiteral("Video and audio are copied as-is when the new container supports "
                              "them, so it’s fast and lossless. Otherwise Kelvane re-encodes at "
                              "the highest quality.");
    case Recipe::video720:
    case Recipe::video1080:
        return QStringLiteral("Re-encodes with the x264 H.264 encoder, scaling to fit while "
                              "keeping the shape of the picture.");
    case Recipe::videoHEVC:
        return QStringLiteral("HEVC (H.265) usually halves the file size at the same visual "
                              "quality. Plays on most phones, TVs and computers made in recent "
                              "years.");
    case Recipe::extractAudio:
    case Recipe::toM4A:
        return QStringLiteral("AAC audio using FFmpeg’s encoder.");
    case Recipe::toWAV:
    case Recipe::toAIFF:
    case Recipe::toCAF:
        return QStringLiteral("16-bit PCM at the source sample rate, mono or stereo.");
    case Recipe::zip:
        return QStringLiteral("Several files dropped together go into one “Archive.zip”. A "
                              "single item keeps its own name.");
    case Recipe::unzip:
        return QStringLiteral("The archive is expanded into a new folder named after it.");
    default:
        if (sectionsFor(recipe).settings)
            return QStringLiteral("Text, fonts, styles, lists and images carry over. Complex "
                                  "layouts like columns may be simplified.");
        return {};
    }
}

QString whereResultsGo(Recipe recipe) {
    return QStringLiteral("Next to the original, named “") + sampleResultName(recipe) +
           QStringLiteral("”. Existing files are never replaced.");
}

QString shrinkCaption(double targetMB) {
    return QStringLiteral("Kelvane searches for the highest quality that stays under ") +
           QString::fromStdString(Recipe::formatMB(targetMB)) +
           QStringLiteral(", and scales the image down only if it has to.");
}

QString acceptLine(Recipe recipe) {
    switch (recipe.group()) {
    case RecipeGroup::images:
        return recipe.combinesInputs()
                   ? QStringLiteral("JPG, PNG, HEIC, TIFF, WebP, AVIF… all become one PDF")
                   : QStringLiteral("JPG, PNG, HEIC, TIFF, GIF, BMP, WebP, AVIF");
    case RecipeGroup::video:
        return QStringLiteral("MOV, MP4, MKV, WebM and other videos this computer plays");
    case RecipeGroup::audio:
        return QStringLiteral("MP3, M4A, WAV, AIFF, CAF, FLAC — or a video’s soundtrack");
    case RecipeGroup::documents:
        return recipe == Recipe::pdfToPNG || recipe == Recipe::pdfToJPG
                   ? QStringLiteral("PDF documents")
                   : QStringLiteral("DOCX, RTF, HTML, TXT, ODT, DOC");
    case RecipeGroup::archives:
        return recipe == Recipe::unzip ? QStringLiteral("ZIP archives")
                                       : QStringLiteral("Any files or folders");
    }
    return {};
}

} // namespace kelvane::OptionsText
