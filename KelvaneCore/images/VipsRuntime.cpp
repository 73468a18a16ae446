#include "images/ImageCodec.h"

#include <mutex>
#include <stdexcept>

namespace kelvane::ImageTools {
namespace {

// libvips reports damaged input through GLib warnings as well as through its errors; the
// errors are what Kelvane shows, so the warnings would only be noise on stderr.
void ignoreMessage(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

void startVips() {
    if (VIPS_INIT("kelvane") != 0)
        throw std::runtime_error("libvips could not start");
    // Jobs never reuse each other's results, and a cached 24-megapixel decode is memory
    // another job could use.
    vips_cache_set_max(0);
    vips_cache_set_max_mem(0);
    g_log_set_handler("VIPS",
                      static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_MESSAGE),
                      ignoreMessage, nullptr);
}

} // namespace

void ensureVips() {
    static std::once_flag once;
    std::call_once(once, startVips);
}

} // namespace kelvane::ImageTools
