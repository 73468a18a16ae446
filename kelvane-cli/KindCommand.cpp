#include "Command.h"
#include "Paths.h"
#include "catalogue/FileKind.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace kelvane::cli {
namespace {

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        "Prints the kind of each file, decided by its name's extension alone.");
    parser.addOption({"json", "Print the kinds as JSON."});
    parser.addPositionalArgument("files", "Files or folders; they need not exist.", "FILE…");
}

int run(const QCommandLineParser& parser) {
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty())
        throw UsageError("kind needs at least one FILE");
    QJsonArray kinds;
    const std::vector<std::filesystem::path> paths = localPaths(files);
    for (qsizetype index = 0; index < files.size(); ++index) {
        const QString& file = files[index];
        const QString kind = text(FileKind::of(paths[static_cast<std::size_t>(index)]).rawValue());
        if (parser.isSet("json"))
            kinds.append(QJsonObject{{"file", file}, {"kind", kind}});
        else
            printLine(QStringLiteral("%1\t%2").arg(kind, file));
    }
    if (parser.isSet("json"))
        printJSON(QJsonDocument(kinds));
    return success;
}

} // namespace

const Command& kindCommand() {
    static const Command command{"kind", "Print the kind of each file", describe, run};
    return command;
}

} // namespace kelvane::cli
