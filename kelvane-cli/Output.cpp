#include "Command.h"

#include <QJsonDocument>

#include <cstdio>

namespace kelvane::cli {

// Each line goes out whole at once: a script reading a pipe gets every result even if
// something ends the process abnormally afterwards.
void printLine(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

void printLine(const QString& line) {
    printLine(line.toStdString());
}

void printJSON(const QJsonDocument& document) {
    printLine(document.toJson(QJsonDocument::Compact).toStdString());
}

} // namespace kelvane::cli
