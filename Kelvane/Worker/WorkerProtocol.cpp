#include "Worker/WorkerProtocol.h"

#include <QList>

namespace kelvane::WorkerProtocol {
namespace {

// Keeps the separators of a path readable; everything else that could break a line or a
// field is escaped.
const QByteArray unescapedPathBytes = "/.-_~()";

QByteArray encoded(const QByteArray& bytes) {
    return bytes.toPercentEncoding(unescapedPathBytes);
}

std::optional<std::uint64_t> number(const QByteArray& field) {
    bool ok = false;
    const auto value = field.toULongLong(&ok);
    return ok ? std::optional<std::uint64_t>(value) : std::nullopt;
}

} // namespace

QByteArray jobLine(const Job& job) {
    QByteArray line = "job " + QByteArray::number(job.cpuSeconds) + " " +
                      QByteArray::number(job.memoryBytes) + " " +
                      QByteArray::fromStdString(std::string(job.recipe.rawValue())) + " " +
                      encoded(job.options.toJSON());
    for (const auto& input : job.inputs)
        line += " " + encoded(QByteArray::fromStdString(input.native()));
    return line + "\n";
}

std::optional<Job> parseJob(const QByteArray& line) {
    const QList<QByteArray> fields = line.split(' ');
    if (fields.size() < 6 || fields[0] != "job")
        return std::nullopt;
    const auto cpuSeconds = number(fields[1]);
    const auto memoryBytes = number(fields[2]);
    const auto recipe = Recipe::fromRawValue(fields[3].toStdString());
    const auto options = ConversionOptions::fromJSON(QByteArray::fromPercentEncoding(fields[4]));
    if (!cpuSeconds || !memoryBytes || !recipe || !options)
        return std::nullopt;
    Job job{*cpuSeconds, *memoryBytes, *recipe, *options, {}};
    for (qsizetype index = 5; index < fields.size(); ++index)
        job.inputs.emplace_back(QByteArray::fromPercentEncoding(fields[index]).toStdString());
    return job;
}

QByteArray acceptedLine() {
    return "accepted\n";
}

QByteArray progressLine(double fraction) {
    return "progress " + QByteArray::number(fraction, 'g', 6) + "\n";
}

QByteArray outputLine(const std::filesystem::path& output) {
    const QByteArray bytes = QByteArray::fromStdString(output.native());
    return "output " + encoded(bytes) + "\n";
}

QByteArray errorLine(const QString& sentence) {
    QString flat = sentence;
    flat.replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\r'), QLatin1Char(' '));
    return "error " + flat.toUtf8() + "\n";
}

QByteArray doneLine() {
    return "done\n";
}

std::optional<Message> parse(const QByteArray& line) {
    const qsizetype space = line.indexOf(' ');
    const QByteArray word = space < 0 ? line : line.left(space);
    const QByteArray rest = space < 0 ? QByteArray() : line.mid(space + 1);
    if (word == "progress") {
        bool ok = false;
        const double fraction = rest.toDouble(&ok);
        if (!ok || !(fraction >= 0.0 && fraction <= 1.0))
            return std::nullopt;
        return Message{Message::Kind::progress, fraction, {}, {}};
    }
    if (word == "output" && !rest.isEmpty())
        return Message{
            Message::Kind::output, 0, QByteArray::fromPercentEncoding(rest).toStdString(), {}};
    if (word == "error")
        return Message{Message::Kind::error, 0, {}, QString::fromUtf8(rest)};
    if (word == "accepted" && space < 0)
        return Message{Message::Kind::accepted, 0, {}, {}};
    if (word == "done" && space < 0)
        return Message{Message::Kind::done, 0, {}, {}};
    return std::nullopt;
}

} // namespace kelvane::WorkerProtocol
