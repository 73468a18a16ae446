#include "documents/pictures/PictureToolsModule.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

extern "C" {
#include <libwmf/api.h>
#include <libwmf/gd.h>
#include <libwmf/ipa.h>
}

namespace kelvane::PictureDrawing {
namespace {

constexpr double pixelsPerInch = 150;

struct ApiDeleter {
    void operator()(wmfAPI* api) const {
        wmf_mem_close(api);
        wmf_api_destroy(api);
    }
};
using Api = std::unique_ptr<wmfAPI, ApiDeleter>;

// libwmf hands the PNG it writes over in pieces.
int appendTo(void* context, char* buffer, int length) {
    if (length > 0)
        static_cast<QByteArray*>(context)->append(buffer, length);
    return length;
}

// libwmf's pixel device fills an ellipse as a chord running from 0° round to 360°, which
// covers nothing, so a filled ellipse came out white. Its polygons fill as they should: the
// ellipse is drawn as the polygon of its outline, with the same pen and brush.
void drawEllipseAsPolygon(wmfAPI* api, wmfDrawArc_t* ellipse) {
    constexpr int corners = 120;
    constexpr double step = 2 * M_PI / corners;
    const double centreX = (double(ellipse->TL.x) + ellipse->BR.x) / 2;
    const double centreY = (double(ellipse->TL.y) + ellipse->BR.y) / 2;
    const double radiusX = std::abs(double(ellipse->BR.x) - ellipse->TL.x) / 2;
    const double radiusY = std::abs(double(ellipse->BR.y) - ellipse->TL.y) / 2;
    std::array<wmfD_Coord, corners> outline{};
    for (int corner = 0; corner < corners; ++corner) {
        outline[static_cast<std::size_t>(corner)] = {
            static_cast<float>(centreX + radiusX * std::cos(corner * step)),
            static_cast<float>(centreY + radiusY * std::sin(corner * step))};
    }
    wmfPolyLine_t polygon{ellipse->dc, outline.data(), corners};
    static_cast<wmfFunctionReference*>(api->function_reference)->draw_polygon(api, &polygon);
}

} // namespace

QByteArray drawWindowsMetafile(const QByteArray& bytes, int maxSide) {
    wmfAPI_Options options{};
    options.function = wmf_gd_function;
    wmfAPI* created = nullptr;
    const unsigned long flags =
        WMF_OPT_FUNCTION | WMF_OPT_IGNORE_NONFATAL | WMF_OPT_NO_ERROR | WMF_OPT_NO_DEBUG;
    if (wmf_api_create(&created, flags, &options) != wmf_E_None || created == nullptr)
        return {};
    // libwmf reads the bytes in place and never writes them.
    QByteArray copy = bytes;
    if (wmf_mem_open(created, reinterpret_cast<unsigned char*>(copy.data()), copy.size()) !=
        wmf_E_None) {
        wmf_api_destroy(created);
        return {};
    }
    const Api api(created);
    static_cast<wmfFunctionReference*>(created->function_reference)->draw_ellipse =
        drawEllipseAsPolygon;
    // Drawn into a PNG in memory: libwmf then frees its own canvas.
    QByteArray png;
    wmf_gd_t* device = WMF_GD_GetData(api.get());
    device->type = wmf_gd_png;
    device->flags |= WMF_GD_OUTPUT_MEMORY | WMF_GD_OWN_BUFFER;
    device->sink.context = &png;
    device->sink.function = appendTo;
    wmfD_Rect box{};
    unsigned int width = 0;
    unsigned int height = 0;
    if (wmf_scan(api.get(), 0, &box) != wmf_E_None ||
        wmf_display_size(api.get(), &width, &height, pixelsPerInch, pixelsPerInch) != wmf_E_None ||
        width == 0 || height == 0)
        return {};
    const double scale = std::min(1.0, maxSide / static_cast<double>(std::max(width, height)));
    device->bbox = box;
    device->width = std::max(1u, static_cast<unsigned int>(std::lround(width * scale)));
    device->height = std::max(1u, static_cast<unsigned int>(std::lround(height * scale)));
    if (wmf_play(api.get(), 0, &box) != wmf_E_None)
        return {};
    return png;
}

} // namespace kelvane::PictureDrawing
