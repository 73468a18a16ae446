#include "options/ConversionOptions.h"

#include <cstdint>
#include <cstdlib>

// Stored options come from a settings file anyone can edit. Whatever decodes must survive
// its own round trip unchanged; anything else must fall back to the defaults.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto decoded = kelvane::ConversionOptions::fromJSON(json);
    if (!decoded) {
        if (!(kelvane::ConversionOptions::restored(json) == kelvane::ConversionOptions{}))
            std::abort();
        return 0;
    }
    const auto again = kelvane::ConversionOptions::fromJSON(decoded->toJSON());
    if (!again || !(*again == *decoded))
        std::abort();
    return 0;
}
