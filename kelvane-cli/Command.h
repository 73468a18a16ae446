#pragma once

#include <QCommandLineParser>
#include <QStringList>

#include <stdexcept>
#include <string>

namespace kelvane::cli {

enum ExitStatus : int { success = 0, someInputFailed = 1, usageError = 2 };

// A mistake in the command line; its message names the bad flag or value.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// One subcommand: `recipes`, `kind`, `suggest`, `convert`.
struct Command {
    const char* name;
    const char* summary;
    void (*describe)(QCommandLineParser& parser);
    int (*run)(const QCommandLineParser& parser);
};

const Command& recipesCommand();
const Command& kindCommand();
const Command& suggestCommand();
const Command& convertCommand();

// For `convert` (through worker processes): starts the first worker right away, preparing
// the tools of the recipe named on the command line, before the arguments are read.
void startConvertWorker(int argc, char* argv[]);

// Prints a UTF-8 line to standard output.
void printLine(const QString& line);
void printLine(const std::string& line);
// Prints a JSON document (array or object) on one line.
void printJSON(const class QJsonDocument& document);

} // namespace kelvane::cli
