#pragma once

#include <QString>
#include <QStringList>

#include <filesystem>
#include <string_view>
#include <vector>

namespace kelvane::cli {

// Keeps the command line's own bytes. Qt decodes arguments as UTF-8, and a name in another
// encoding (a Latin-1 folder) would not survive the way back; paths are taken from these.
void rememberRawArguments(int argc, char** argv);

// The paths the file arguments name, byte for byte as given, in their order.
std::vector<std::filesystem::path> localPaths(const QStringList& arguments);

inline QString text(std::string_view value) {
    return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
}

} // namespace kelvane::cli
