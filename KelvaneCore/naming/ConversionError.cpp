#include "naming/ConversionError.h"

#include <algorithm>
#include <cctype>

namespace kelvane {
namespace {

std::string quoted(std::string_view fileName) {
    return "“" + std::string(fileName) + "”";
}

std::string uppercase(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return upper;
}

} // namespace

ConversionError ConversionError::nothingToConvert() {
    return ConversionError("Nothing to convert.");
}

ConversionError ConversionError::recipeDoesNotWorkWith(std::string_view recipeTitle,
                                                       std::string_view fileName) {
    return ConversionError(std::string(recipeTitle) + " doesn’t work with " + quoted(fileName) +
                           ".");
}

ConversionError ConversionError::unsupportedRecipe() {
    return ConversionError("Unsupported recipe.");
}

ConversionError ConversionError::couldNotWrite(std::string_view outputExtension) {
    return ConversionError("Couldn’t write " + uppercase(outputExtension) + ".");
}

ConversionError ConversionError::unreadableDocument(std::string_view fileName) {
    return ConversionError(quoted(fileName) + " couldn’t be read as a document.");
}

ConversionError ConversionError::couldNotCreatePDF() {
    return ConversionError("Couldn’t create the PDF.");
}

ConversionError ConversionError::noReadableImages() {
    return ConversionError("None of the dropped files could be read as images.");
}

ConversionError ConversionError::couldNotDecode(std::string_view fileName) {
    return ConversionError("Couldn’t decode " + quoted(fileName) + ".");
}

ConversionError ConversionError::unreadableImage(std::string_view fileName) {
    return ConversionError(quoted(fileName) + " isn’t an image this computer can read.");
}

ConversionError ConversionError::couldNotShrink(std::string_view fileName,
                                                std::string_view target) {
    return ConversionError("Couldn’t get " + quoted(fileName) + " under " + std::string(target) +
                           ".");
}

ConversionError ConversionError::cannotWriteFormat(std::string_view outputExtension) {
    const std::string format = outputExtension.empty() ? "that format" : uppercase(outputExtension);
    return ConversionError("This computer can’t write " + format + ".");
}

ConversionError ConversionError::couldNotSaveImage() {
    return ConversionError("Couldn’t save the image.");
}

ConversionError ConversionError::unreadablePDF(std::string_view fileName) {
    return ConversionError(quoted(fileName) + " couldn’t be opened as a PDF.");
}

ConversionError ConversionError::passwordProtectedPDF() {
    return ConversionError("This PDF is password protected.");
}

ConversionError ConversionError::videoHasNoFrames() {
    return ConversionError("This video has no frames.");
}

ConversionError ConversionError::couldNotCreateGIF() {
    return ConversionError("Couldn’t create the GIF.");
}

ConversionError ConversionError::couldNotReadFrames() {
    return ConversionError("Couldn’t read frames from the video.");
}

ConversionError ConversionError::hasNoVideo(std::string_view fileName) {
    return ConversionError(quoted(fileName) + " has no video.");
}

ConversionError ConversionError::unreadableVideo(std::string_view fileName) {
    return ConversionError(quoted(fileName) + " isn’t a video this computer can read.");
}

ConversionError ConversionError::cannotExportWithSetting() {
    return ConversionError("This computer can’t export with that setting.");
}

ConversionError ConversionError::formatNotAvailable() {
    return ConversionError("That format isn’t available for this file.");
}

ConversionError ConversionError::exportDidNotFinish() {
    return ConversionError("The export didn’t finish.");
}

ConversionError ConversionError::hasNoAudio(std::string_view fileName) {
    return ConversionError(quoted(fileName) + " has no audio.");
}

ConversionError ConversionError::unreadableAudio(std::string_view fileName) {
    return ConversionError(quoted(fileName) + " isn’t audio this computer can read.");
}

ConversionError ConversionError::couldNotReadAudio() {
    return ConversionError("Couldn’t read the audio.");
}

ConversionError ConversionError::couldNotStartConverting() {
    return ConversionError("Couldn’t start converting.");
}

ConversionError ConversionError::conversionFailed() {
    return ConversionError("Conversion failed.");
}

ConversionError ConversionError::archiverFailed(std::string_view toolName, int status) {
    return ConversionError(std::string(toolName) + " failed (" + std::to_string(status) + ").");
}

ConversionError ConversionError::converterStopped(std::string_view fileName) {
    return ConversionError(quoted(fileName) + " stopped the converter unexpectedly.");
}

ConversionError ConversionError::converterTookTooLong(std::string_view fileName) {
    return ConversionError(quoted(fileName) + " took too long to convert and was stopped.");
}

} // namespace kelvane
