#include "Command.h"
#include "Paths.h"

#include <QGuiApplication>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace kelvane::cli {
namespace {

const std::array<const Command*, 4> commands = {&recipesCommand(), &kindCommand(),
                                                &suggestCommand(), &convertCommand()};

QString overallHelp() {
    QString help = QStringLiteral(
        "Usage: kelvane-cli COMMAND [options] [FILE…]\n\n"
        "Converts files offline with Kelvane's recipes. Results are written beside the\n"
        "originals under new names and never replace a file.\n\nCommands:\n");
    for (const Command* command : commands)
        help += QStringLiteral("  %1 %2\n")
                    .arg(QLatin1String(command->name), -9)
                    .arg(QLatin1String(command->summary));
    help += QStringLiteral("\nRun 'kelvane-cli COMMAND --help' for a command's options.\n"
                           "Exit status: 0 all done, 1 some input failed, 2 usage error.\n");
    return help;
}

const Command* commandNamed(const QString& name) {
    for (const Command* command : commands)
        if (name == QLatin1String(command->name))
            return command;
    return nullptr;
}

// Qt's own warnings (about the session, fonts, …) mean nothing to someone converting files.
void keepOnlySeriousMessages(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "kelvane-cli: %s\n", message.toUtf8().constData());
}

void printError(const QString& message) {
    std::fprintf(stderr, "kelvane-cli: %s\n", message.toUtf8().constData());
}

QString commandHelp(const QCommandLineParser& parser, const Command& command) {
    QString help = parser.helpText();
    // Qt names the executable by its full path; name the command instead.
    const qsizetype lineEnd = help.indexOf('\n');
    const QString usage = help.left(lineEnd).section(' ', 2);
    return QStringLiteral("Usage: kelvane-cli %1 %2").arg(QLatin1String(command.name), usage) +
           help.mid(lineEnd);
}

int runCommand(const Command& command, QStringList arguments) {
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addHelpOption();
    command.describe(parser);
    if (!parser.parse(arguments)) {
        printError(QStringLiteral("%1: %2").arg(QLatin1String(command.name), parser.errorText()));
        return usageError;
    }
    if (parser.isSet("help")) {
        printLine(commandHelp(parser, command).trimmed());
        return success;
    }
    try {
        return command.run(parser);
    } catch (const UsageError& error) {
        printError(QStringLiteral("%1: %2").arg(QLatin1String(command.name),
                                                QString::fromStdString(error.what())));
        return usageError;
    }
}

} // namespace
} // namespace kelvane::cli

int main(int argc, char* argv[]) {
    using namespace kelvane::cli;
    // Document layout needs fonts, hence a GUI application; it never shows a window.
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    qInstallMessageHandler(keepOnlySeriousMessages);
    QGuiApplication application(argc, argv);
    rememberRawArguments(argc, argv);
    QCoreApplication::setApplicationName("kelvane-cli");
    QCoreApplication::setApplicationVersion(KELVANE_VERSION);

    QStringList arguments = QCoreApplication::arguments();
    const QString first = arguments.value(1);
    if (first.isEmpty() || first == "--help" || first == "-h" || first == "help") {
        printLine(overallHelp().trimmed());
        return first.isEmpty() ? usageError : success;
    }
    if (first == "--version") {
        printLine(QStringLiteral("kelvane-cli %1").arg(KELVANE_VERSION));
        return success;
    }
    const Command* command = commandNamed(first);
    if (command == nullptr) {
        printError(QStringLiteral("unknown command '%1' (try --help)").arg(first));
        return usageError;
    }
    arguments.removeAt(1);
    return runCommand(*command, arguments);
}
