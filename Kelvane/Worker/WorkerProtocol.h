#pragma once

#include "catalogue/Recipe.h"
#include "options/ConversionOptions.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

// How the job runner and a worker process talk. The worker is started with a socket as its
// standard input and output and serves one job after another until the socket closes. A job
// is one line:
//
//   job <cpu seconds> <memory bytes> <recipe> <options JSON> <input>…
//
// (fields separated by single spaces, the JSON and the inputs percent-encoded), and then
// writes one message per line, in this order:
//
//   accepted                       the job was read; a worker gone before this never had it
//   progress <fraction 0…1>        any number of times
//   output <path, percent-encoded> once per result, in input order
//   error <sentence>               instead of outputs when the conversion failed
//   done                           last; a worker that ends without it has crashed
//
// and then waits for its next job.
//
// Paths are percent-encoded so that any byte of a file name survives the line format;
// sentences have their line breaks replaced by spaces.
namespace kelvane::WorkerProtocol {

struct Job {
    std::uint64_t cpuSeconds = 0;
    std::uint64_t memoryBytes = 0;
    Recipe recipe = Recipe::toJPG;
    ConversionOptions options;
    std::vector<std::filesystem::path> inputs;
};

QByteArray jobLine(const Job& job);
// One line without its line feed; none when it is not a complete job.
std::optional<Job> parseJob(const QByteArray& line);

struct Message {
    enum class Kind { accepted, progress, output, error, done };
    Kind kind;
    double fraction = 0;
    std::filesystem::path output;
    QString sentence;
};

QByteArray acceptedLine();
QByteArray progressLine(double fraction);
QByteArray outputLine(const std::filesystem::path& output);
QByteArray errorLine(const QString& sentence);
QByteArray doneLine();

// One line without its line feed; none when the line is not a message.
std::optional<Message> parse(const QByteArray& line);

} // namespace kelvane::WorkerProtocol
