#pragma once

#include <QFile>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <vector>

namespace kelvane::cli {

inline std::filesystem::path localPath(const QString& argument) {
    return std::filesystem::path(QFile::encodeName(argument).toStdString());
}

inline std::vector<std::filesystem::path> localPaths(const QStringList& arguments) {
    std::vector<std::filesystem::path> paths;
    for (const QString& argument : arguments)
        paths.push_back(localPath(argument));
    return paths;
}

inline QString text(std::string_view value) {
    return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
}

} // namespace kelvane::cli
