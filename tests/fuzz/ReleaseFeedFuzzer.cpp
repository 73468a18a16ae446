#include "KelvaneApp/UpdateChecker/ReleaseFeed.h"
#include "KelvaneApp/UpdateChecker/VersionOrder.h"

#include <QList>

#include <cstdint>
#include <cstdlib>

using kelvane::UpdateChecker::compareVersions;

namespace {

// The version order must be an order whatever the texts: reflexive, antisymmetric and
// transitive, or "newer" could flip between two checks of the same feed.
void checkOrder(const QString& a, const QString& b, const QString& c) {
    if (compareVersions(a, a) != 0)
        std::abort();
    if (compareVersions(a, b) != (0 <=> compareVersions(b, a)))
        std::abort();
    const auto ab = compareVersions(a, b);
    const auto bc = compareVersions(b, c);
    if (ab <= 0 && bc <= 0 && compareVersions(a, c) > 0)
        std::abort();
    if (ab == 0 && bc == 0 && compareVersions(a, c) != 0)
        std::abort();
}

} // namespace

// The feed comes from the network. Its body is decoded whole; then the same bytes, split
// at line breaks, are read as three version texts for the order's laws.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray body(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    if (const auto release = kelvane::UpdateChecker::decodeRelease(body)) {
        if (body.size() > kelvane::UpdateChecker::maximumFeedBytes)
            std::abort();
        checkOrder(release->version, release->url, release->notes.value_or(QString()));
    }
    const QList<QByteArray> lines = body.split('\n');
    const auto line = [&](qsizetype i) {
        return i < lines.size() ? QString::fromUtf8(lines[i]) : QString();
    };
    checkOrder(line(0), line(1), line(2));
    checkOrder(line(2), line(0), line(1));
    return 0;
}
