#include "images/ImageOutput.h"
#include "naming/ConversionError.h"
#include "naming/OutputNaming.h"
#include "naming/PendingOutput.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <mutex>
#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-image.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

namespace kelvane::ImageTools {
namespace {

using vips::VImage;

constexpr double pointsPerInch = 72.0;
constexpr double fallbackDpi = 144.0;

struct PageSet {
    std::unique_ptr<poppler::document> document;
    int count = 0;
};

// Damaged files are reported through the error sentence; poppler's own diagnostics would
// only be noise on stderr.
void silencePoppler() {
    static std::once_flag once;
    std::call_once(
        once, [] { poppler::set_debug_error_function([](const std::string&, void*) {}, nullptr); });
}

PageSet open(const std::filesystem::path& pdf) {
    silencePoppler();
    const std::string name = pdf.filename().string();
    std::unique_ptr<poppler::document> document(poppler::document::load_from_file(pdf.string()));
    if (!document)
        throw ConversionError::unreadablePDF(name);
    if (document->is_locked())
        throw ConversionError::passwordProtectedPDF();
    const int count = document->pages();
    if (count < 1)
        throw ConversionError::unreadablePDF(name);
    return {std::move(document), count};
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
std::pair<int, int> pixelSize(const poppler::page& page, double dpi) {
    const poppler::rectf box = page.page_rect(poppler::media_box);
    double width = box.width();
    double height = box.height();
    const auto orientation = page.orientation();
    if (orientation == poppler::page::landscape || orientation == poppler::page::seascape)
        std::swap(width, height);
    const double scale = dpi / pointsPerInch;
    return {static_cast<int>(scale * width), static_cast<int>(scale * height)};
}

// The renderer's 32-bit pixels as 8-bit sRGB without alpha; the paper is already white.
VImage opaqueRGB(const poppler::image& image) {
    const int width = image.width();
    const int height = image.height();
    const VImage words =
        VImage::new_from_memory(const_cast<char*>(image.const_data()),
                                static_cast<std::size_t>(image.bytes_per_row()) *
                                    static_cast<std::size_t>(height),
                                image.bytes_per_row() / 4, height, 4, VIPS_FORMAT_UCHAR)
            .crop(0, 0, width, height);
    const VImage rgb = std::endian::native == std::endian::little
                           ? VImage::bandjoin({words[2], words[1], words[0]})
                           : words.extract_band(1, VImage::option()->set("n", 3));
    return rgb.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

void configure(poppler::page_renderer& renderer) {
    renderer.set_render_hints(poppler::page_renderer::antialiasing |
                              poppler::page_renderer::text_antialiasing);
    renderer.set_paper_color(0xffffffff);
    renderer.set_image_format(poppler::image::format_argb32);
}

// False when the page is missing or cannot be drawn; it is then skipped.
bool renderPage(const poppler::document& document, int index, double dpi,
                const poppler::page_renderer& renderer, ImageType type, double quality,
                const std::filesystem::path& file) {
    const std::unique_ptr<poppler::page> page(document.create_page(index));
    if (!page)
        return false;
    const auto [width, height] = pixelSize(*page, dpi);
    if (width < 1 || height < 1)
        return false;
    const poppler::image image = renderer.render_page(page.get(), dpi, dpi, 0, 0, width, height);
    if (!image.is_valid() || image.format() != poppler::image::format_argb32)
        return false;
    write(opaqueRGB(image), type, quality, false, file);
    return true;
}

} // namespace

std::filesystem::path pdfPages(const std::filesystem::path& pdf, bool png,
                               const ConversionOptions& options, const Progress& progress) {
    ensureVips();
    const PageSet pages = open(pdf);
    PendingOutput folder = PendingOutput::folder(folderOf(pdf));

    const double dpi = options.pdfImageDPI > 0 ? options.pdfImageDPI : fallbackDpi;
    const ImageType type = png ? ImageType::png : ImageType::jpeg;
    const int digits = digitsFor(pages.count);
    const std::string base = pdf.stem().string();
    poppler::page_renderer renderer;
    configure(renderer);
    int written = 0;
    for (int number = 1; number <= pages.count; ++number) {
        progress(static_cast<double>(number - 1) / pages.count);
        const auto file =
            folder.path() / pageFileName(base, number, digits, preferredExtension(type));
        if (renderPage(*pages.document, number - 1, dpi, renderer, type, options.quality, file))
            ++written;
    }
    // A folder without a single page would only look like a result.
    if (written == 0)
        throw ConversionError::unreadablePDF(pdf.filename().string());
    return folder.publish([&] { return OutputNaming::url(pdf, std::string(), "pages"); });
}

} // namespace kelvane::ImageTools
