#include "images/ImageOutput.h"
#include "naming/ConversionError.h"
#include "naming/OutputNaming.h"
#include "naming/PendingOutput.h"

#include <GlobalParams.h>
#include <PDFDoc.h>
#include <SplashOutputDev.h>
#include <algorithm>
#include <goo/GooString.h>
#include <memory>
#include <mutex>
#include <splash/SplashBitmap.h>

// Pages are drawn through poppler's own renderer rather than its cpp or glib wrappers: those
// always draw the crop box, and a page is rendered here as its whole media box.
namespace kelvane::ImageTools {
namespace {

using vips::VImage;

constexpr double pointsPerInch = 72.0;
constexpr double fallbackDpi = 144.0;

// Damaged files are reported through the error sentence; poppler's own diagnostics would
// only be noise on stderr.
void ignorePopplerError(ErrorCategory, Goffset, const char*) {}

void startPoppler() {
    static std::once_flag once;
    std::call_once(once, [] {
        if (!globalParams)
            globalParams = std::make_unique<GlobalParams>();
        setErrorCallback(ignorePopplerError);
    });
}

std::unique_ptr<PDFDoc> open(const std::filesystem::path& pdf) {
    startPoppler();
    const std::string name = pdf.filename().string();
    auto document = std::make_unique<PDFDoc>(std::make_unique<GooString>(pdf.string()));
    if (!document->isOk() && document->getErrorCode() == errEncrypted)
        throw ConversionError::passwordProtectedPDF();
    if (!document->isOk() || document->getNumPages() < 1)
        throw ConversionError::unreadablePDF(name);
    return document;
}

int digitsFor(int count) {
    return std::max(2, static_cast<int>(std::to_string(count).size()));
}

// "Report – page 007.png"
std::string pageFileName(const std::string& base, int page, int digits,
                         std::string_view extension) {
    std::string number = std::to_string(page);
    number.insert(
        0, static_cast<std::size_t>(std::max(0, digits - static_cast<int>(number.size()))), '0');
    return base + " \u2013 page " + number + "." + std::string(extension);
}

// Pixel size of the media box at `dpi`, turned for pages rotated a quarter turn.
std::pair<int, int> pixelSize(PDFDoc& document, int page, double dpi) {
    double width = document.getPageMediaWidth(page);
    double height = document.getPageMediaHeight(page);
    if (document.getPageRotate(page) % 180 != 0)
        std::swap(width, height);
    const double scale = dpi / pointsPerInch;
    return {static_cast<int>(scale * width), static_cast<int>(scale * height)};
}

// The renderer's rows are padded to whole words; the pixels themselves are 8-bit RGB.
VImage opaqueRGB(SplashBitmap& bitmap) {
    const int width = bitmap.getWidth();
    const int height = bitmap.getHeight();
    const int rowBytes = bitmap.getRowSize();
    return VImage::new_from_memory(bitmap.getDataPtr(),
                                   static_cast<std::size_t>(rowBytes) *
                                       static_cast<std::size_t>(height),
                                   rowBytes / 3, height, 3, VIPS_FORMAT_UCHAR)
        .crop(0, 0, width, height)
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

// False when the page cannot be drawn; it is then skipped.
bool renderPage(PDFDoc& document, int page, double dpi, SplashOutputDev& renderer, ImageType type,
                double quality, const std::filesystem::path& file) {
    if (document.getPage(page) == nullptr)
        return false;
    const auto [width, height] = pixelSize(document, page, dpi);
    if (width < 1 || height < 1)
        return false;
    // The whole media box, not clipped to the crop box, upright, cut to the truncated size.
    document.displayPageSlice(&renderer, page, dpi, dpi, 0, true, false, false, 0, 0, width,
                              height);
    SplashBitmap* bitmap = renderer.getBitmap();
    if (bitmap == nullptr || bitmap->getMode() != splashModeRGB8 || bitmap->getWidth() != width ||
        bitmap->getHeight() != height)
        return false;
    write(opaqueRGB(*bitmap), type, quality, false, file);
    return true;
}

} // namespace

std::filesystem::path pdfPages(const std::filesystem::path& pdf, bool png,
                               const ConversionOptions& options, const Progress& progress) {
    ensureVips();
    const std::unique_ptr<PDFDoc> document = open(pdf);
    const int count = document->getNumPages();
    PendingOutput folder = PendingOutput::folder(folderOf(pdf));

    const double dpi = options.pdfImageDPI > 0 ? options.pdfImageDPI : fallbackDpi;
    const ImageType type = png ? ImageType::png : ImageType::jpeg;
    const int digits = digitsFor(count);
    const std::string base = pdf.stem().string();
    SplashColor paper = {255, 255, 255};
    SplashOutputDev renderer(splashModeRGB8, 4, false, paper);
    renderer.setFontAntialias(true);
    renderer.setVectorAntialias(true);
    renderer.startDoc(document.get());
    int written = 0;
    for (int number = 1; number <= count; ++number) {
        progress(static_cast<double>(number - 1) / count);
        const auto file =
            folder.path() / pageFileName(base, number, digits, preferredExtension(type));
        if (renderPage(*document, number, dpi, renderer, type, options.quality, file))
            ++written;
    }
    // A folder without a single page would only look like a result.
    if (written == 0)
        throw ConversionError::unreadablePDF(pdf.filename().string());
    return folder.publish([&] { return OutputNaming::url(pdf, std::string(), "pages"); });
}

} // namespace kelvane::ImageTools
