#include "Paths.h"

#include <QFile>

namespace kelvane::cli {
namespace {

std::vector<QByteArray>& rawArguments() {
    static std::vector<QByteArray> arguments;
    return arguments;
}

} // namespace

void rememberRawArguments(int argc, char** argv) {
    for (int index = 1; index < argc; ++index)
        rawArguments().emplace_back(argv[index]);
}

// The file arguments come in the order they were given, among options and their values:
// each is matched to the next raw argument that decodes to it, so two names that differ
// only in bytes that are not UTF-8 keep their own bytes.
std::vector<std::filesystem::path> localPaths(const QStringList& arguments) {
    const std::vector<QByteArray>& raw = rawArguments();
    std::vector<std::filesystem::path> paths;
    std::size_t next = 0;
    for (const QString& argument : arguments) {
        std::size_t index = next;
        while (index < raw.size() && QFile::decodeName(raw[index]) != argument)
            ++index;
        const QByteArray bytes = index < raw.size() ? raw[index] : QFile::encodeName(argument);
        if (index < raw.size())
            next = index + 1;
        paths.emplace_back(bytes.toStdString());
    }
    return paths;
}

} // namespace kelvane::cli
