#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace kelvane {

// The error of the conversion layer. `message` is the finished sentence shown under a
// failed job, typographic quotes and apostrophes included.
class ConversionError : public std::runtime_error {
public:
    explicit ConversionError(const std::string& message)
        : std::runtime_error(message) {}

    std::string message() const { return what(); }

    // Every sentence the layer produces. File names are last path components.
    static ConversionError nothingToConvert();
    static ConversionError recipeDoesNotWorkWith(std::string_view recipeTitle,
                                                 std::string_view fileName);
    static ConversionError unsupportedRecipe();
    static ConversionError couldNotWrite(std::string_view outputExtension);
    static ConversionError unreadableDocument(std::string_view fileName);
    static ConversionError couldNotCreatePDF();
    static ConversionError noReadableImages();
    static ConversionError couldNotDecode(std::string_view fileName);
    static ConversionError unreadableImage(std::string_view fileName);
    static ConversionError couldNotShrink(std::string_view fileName, std::string_view target);
    static ConversionError cannotWriteFormat(std::string_view outputExtension);
    static ConversionError couldNotSaveImage();
    static ConversionError unreadablePDF(std::string_view fileName);
    static ConversionError passwordProtectedPDF();
    static ConversionError videoHasNoFrames();
    static ConversionError couldNotCreateGIF();
    static ConversionError couldNotReadFrames();
    static ConversionError hasNoVideo(std::string_view fileName);
    static ConversionError unreadableVideo(std::string_view fileName);
    static ConversionError cannotExportWithSetting();
    static ConversionError formatNotAvailable();
    static ConversionError exportDidNotFinish();
    static ConversionError hasNoAudio(std::string_view fileName);
    static ConversionError unreadableAudio(std::string_view fileName);
    static ConversionError couldNotReadAudio();
    static ConversionError couldNotStartConverting();
    static ConversionError conversionFailed();
    static ConversionError archiverFailed(std::string_view toolName, int status);
    // A job's worker process crashed, was killed, or ran past its limits.
    static ConversionError converterStopped(std::string_view fileName);
    static ConversionError converterTookTooLong(std::string_view fileName);
};

} // namespace kelvane
