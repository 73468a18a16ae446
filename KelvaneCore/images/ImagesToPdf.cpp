#include "images/ImageOutput.h"
#include "naming/ConversionError.h"
#include "naming/OutputNaming.h"
#include "naming/PendingOutput.h"

#include <algorithm>
#include <bit>
#include <cairo-pdf.h>
#include <cairo.h>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>

namespace kelvane::ImageTools {
namespace {

using vips::VImage;

constexpr int loadCap = 4000;
constexpr double assumedDpi = 144.0;
constexpr double pointsPerInch = 72.0;
constexpr double largestPageSide = 1190.0;
constexpr double pageJpegQualityFloor = 0.8;

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

struct PageImage {
    VImage pixels;                   // 8-bit sRGB, 3 bands or 4 with alpha
    std::optional<std::string> jpeg; // the encoding the page embeds, for opaque images
    double widthPoints = 0;
    double heightPoints = 0;
};

VImage rgb8(const VImage& image) {
    const VImage eight = toSRGB8(image);
    return eight.bands() >= 3 ? eight : eight.colourspace(VIPS_INTERPRETATION_sRGB);
}

// Opaque pages show the JPEG that is embedded, so what the page shows and what the file
// holds are the same pixels.
void useJpegEncoding(PageImage& page, double quality) {
    auto jpeg = data(page.pixels, ImageType::jpeg, std::max(quality, pageJpegQualityFloor));
    if (!jpeg)
        return;
    try {
        page.pixels = rgb8(VImage::new_from_buffer(jpeg->data(), jpeg->size(), "").copy_memory());
        page.jpeg = std::move(jpeg);
    } catch (const vips::VError&) {
    }
}

void setPageSize(PageImage& page, std::optional<double> dpi) {
    const double resolution = dpi.value_or(assumedDpi);
    page.widthPoints = page.pixels.width() * pointsPerInch / resolution;
    page.heightPoints = page.pixels.height() * pointsPerInch / resolution;
    const double longer = std::max(page.widthPoints, page.heightPoints);
    if (longer > largestPageSide) {
        page.widthPoints *= largestPageSide / longer;
        page.heightPoints *= largestPageSide / longer;
    }
}

std::optional<PageImage> pageImage(const std::filesystem::path& input, double quality) {
    try {
        const Loaded loaded = load(input, loadCap);
        PageImage page{rgb8(loaded.image), std::nullopt};
        if (!hasAlpha(page.pixels))
            useJpegEncoding(page, quality);
        setPageSize(page, loaded.dpi);
        return page;
    } catch (const ConversionError&) {
        return std::nullopt; // an unreadable input yields no page
    } catch (const vips::VError&) {
        return std::nullopt;
    }
}

// Cairo's pixels are native-endian 32-bit words: alpha, red, green, blue from the top byte,
// premultiplied.
VImage cairoOrder(const VImage& rgb) {
    const VImage rgba =
        hasAlpha(rgb) ? rgb.premultiply().cast(VIPS_FORMAT_UCHAR) : rgb.bandjoin_const({255.0});
    const VImage r = rgba[0], g = rgba[1], b = rgba[2], a = rgba[3];
    if constexpr (std::endian::native == std::endian::little)
        return VImage::bandjoin({b, g, r, a});
    else
        return VImage::bandjoin({a, r, g, b});
}

Surface imageSurface(const VImage& rgb) {
    const cairo_format_t format = hasAlpha(rgb) ? CAIRO_FORMAT_ARGB32 : CAIRO_FORMAT_RGB24;
    Surface surface(cairo_image_surface_create(format, rgb.width(), rgb.height()),
                    cairo_surface_destroy);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        throw ConversionError::couldNotCreatePDF();
    std::size_t size = 0;
    const std::unique_ptr<void, decltype(&g_free)> pixels(cairoOrder(rgb).write_to_memory(&size),
                                                          g_free);
    const auto rowBytes = static_cast<std::size_t>(rgb.width()) * 4;
    const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface.get()));
    unsigned char* target = cairo_image_surface_get_data(surface.get());
    const auto* source = static_cast<const unsigned char*>(pixels.get());
    for (std::size_t row = 0; row < static_cast<std::size_t>(rgb.height()); ++row)
        std::memcpy(target + row * stride, source + row * rowBytes, rowBytes);
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

// Hands cairo its own copy of the JPEG, freed when the surface goes.
void attachJpeg(cairo_surface_t* surface, const std::string& jpeg) {
    auto* copy = static_cast<unsigned char*>(std::malloc(jpeg.size()));
    if (copy == nullptr)
        return;
    std::memcpy(copy, jpeg.data(), jpeg.size());
    if (cairo_surface_set_mime_data(surface, CAIRO_MIME_TYPE_JPEG, copy, jpeg.size(), std::free,
                                    copy) != CAIRO_STATUS_SUCCESS)
        std::free(copy);
}

void addPage(cairo_surface_t* pdf, const PageImage& page) {
    cairo_pdf_surface_set_size(pdf, page.widthPoints, page.heightPoints);
    const Surface image = imageSurface(page.pixels);
    if (page.jpeg)
        attachJpeg(image.get(), *page.jpeg);
    const Context context(cairo_create(pdf), cairo_destroy);
    cairo_scale(context.get(), page.widthPoints / page.pixels.width(),
                page.heightPoints / page.pixels.height());
    cairo_set_source_surface(context.get(), image.get(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(context.get()), CAIRO_FILTER_BEST);
    cairo_paint(context.get());
    cairo_show_page(context.get());
}

PendingOutput pendingPdf(const std::filesystem::path& folder) {
    try {
        return PendingOutput::file(folder, "pdf");
    } catch (const std::system_error&) {
        throw ConversionError::couldNotCreatePDF();
    }
}

} // namespace

std::filesystem::path imagesToPDF(const std::vector<std::filesystem::path>& inputs,
                                  const ConversionOptions& options, const Progress& progress) {
    ensureVips();
    if (inputs.empty())
        throw ConversionError::nothingToConvert();
    const std::filesystem::path folder = folderOf(inputs.front());
    PendingOutput pending = pendingPdf(folder);
    const Surface pdf(cairo_pdf_surface_create(pending.path().c_str(), 612, 792),
                      cairo_surface_destroy);
    if (cairo_surface_status(pdf.get()) != CAIRO_STATUS_SUCCESS)
        throw ConversionError::couldNotCreatePDF();
    cairo_pdf_surface_set_metadata(pdf.get(), CAIRO_PDF_METADATA_CREATOR, "Kelvane");

    int pages = 0;
    for (std::size_t index = 0; index < inputs.size(); ++index) {
        progress(static_cast<double>(index) / static_cast<double>(inputs.size()));
        if (const auto page = pageImage(inputs[index], options.quality)) {
            addPage(pdf.get(), *page);
            ++pages;
        }
    }
    cairo_surface_finish(pdf.get());
    if (pages == 0)
        throw ConversionError::noReadableImages();
    if (cairo_surface_status(pdf.get()) != CAIRO_STATUS_SUCCESS)
        throw ConversionError::couldNotCreatePDF();

    if (inputs.size() == 1)
        return pending.publish([&] { return OutputNaming::url(inputs.front(), "pdf"); });
    return pending.publish([&] { return OutputNaming::urlNamed("Images", "pdf", folder); });
}

} // namespace kelvane::ImageTools
