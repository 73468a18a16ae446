#include "MainViews/ByteCount.h"

#include <cmath>
#include <cstdlib>

namespace kelvane::ByteCount {
namespace {

QString withUnit(double value, int decimals, const char* unit) {
    QString number = QString::number(value, 'f', decimals);
    if (number.contains(QLatin1Char('.'))) {
        while (number.endsWith(QLatin1Char('0')))
            number.chop(1);
        if (number.endsWith(QLatin1Char('.')))
            number.chop(1);
    }
    return number + QLatin1Char(' ') + QLatin1String(unit);
}

} // namespace

QString format(std::int64_t bytes) {
    if (bytes == 0)
        return QStringLiteral("Zero KB");
    const double value = static_cast<double>(bytes);
    const double magnitude = std::abs(value);
    if (magnitude < 1000)
        return bytes == 1 ? QStringLiteral("1 byte") : QStringLiteral("%1 bytes").arg(bytes);
    // Rounding can carry a value into the next unit: 999,600 bytes reads "1 MB".
    if (std::round(magnitude / 1e3) < 1000)
        return withUnit(value / 1e3, 0, "KB");
    if (std::round(magnitude / 1e5) < 10000)
        return withUnit(value / 1e6, 1, "MB");
    if (std::round(magnitude / 1e7) < 100000)
        return withUnit(value / 1e9, 2, "GB");
    return withUnit(value / 1e12, 2, "TB");
}

} // namespace kelvane::ByteCount
