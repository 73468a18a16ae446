#include "MainViews/JobText.h"

#include "MainViews/ByteCount.h"

#include <cmath>

namespace kelvane::JobText {
namespace {

std::string_view symbolOf(FileKind kind) {
    switch (kind) {
    case FileKind::image:
        return "photo";
    case FileKind::pdf:
        return "doc.richtext";
    case FileKind::video:
        return "film";
    case FileKind::audio:
        return "music.note";
    case FileKind::document:
        return "doc.text";
    case FileKind::archive:
        return "archivebox";
    case FileKind::other:
        break;
    }
    return "doc";
}

} // namespace

QString sizeLine(std::int64_t inputBytes, std::int64_t outputBytes) {
    if (inputBytes < 1 || outputBytes < 1)
        return ByteCount::format(outputBytes);
    QString line =
        ByteCount::format(inputBytes) + QStringLiteral(" → ") + ByteCount::format(outputBytes);
    const double change =
        static_cast<double>(outputBytes - inputBytes) / static_cast<double>(inputBytes) * 100.0;
    const auto rounded = static_cast<long long>(std::llround(change));
    if (rounded != 0)
        line += QStringLiteral(" (%1%2%)").arg(rounded > 0 ? "+" : "").arg(rounded);
    return line;
}

QString percent(double progress) {
    return QString::number(std::llround(progress * 100.0)) + QLatin1Char('%');
}

QString doneLabel(const Job& job) {
    return job.outputName().value_or(QStringLiteral("Done"));
}

QString failureLabel(const Job& job) {
    return job.message.value_or(QStringLiteral("Something went wrong."));
}

std::string_view fileTypeSymbol(const Job& job) {
    if (job.recipe.combinesInputs()) {
        const auto extension = job.recipe.outputExtension();
        return symbolOf(FileKind::of(std::string("result.") + std::string(extension.value_or(""))));
    }
    if (job.inputs.empty())
        return symbolOf(FileKind::other);
    return symbolOf(FileKind::of(job.inputs.front()));
}

} // namespace kelvane::JobText
