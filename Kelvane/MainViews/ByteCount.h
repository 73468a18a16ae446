#pragma once

#include <QString>

#include <cstdint>

namespace kelvane::ByteCount {

// A file size in decimal units as file managers show it: "Zero KB", "984 KB", "2.4 MB",
// "1.24 GB". Kilobytes are whole, megabytes carry one decimal and gigabytes two, without
// trailing zeros.
QString format(std::int64_t bytes);

} // namespace kelvane::ByteCount
