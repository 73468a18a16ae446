#include "Command.h"

#include <QJsonDocument>

#include <cstdio>

namespace kelvane::cli {

void printLine(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
}

void printLine(const QString& line) {
    printLine(line.toStdString());
}

void printJSON(const QJsonDocument& document) {
    printLine(document.toJson(QJsonDocument::Compact).toStdString());
}

} // namespace kelvane::cli
