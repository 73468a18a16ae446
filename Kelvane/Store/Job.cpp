#include "Store/Job.h"

namespace kelvane {
namespace {

QString nameOf(const std::filesystem::path& path) {
    return QString::fromStdString(path.filename().string());
}

} // namespace

QString Job::title() const {
    if (inputs.size() == 1)
        return nameOf(inputs.front());
    return QStringLiteral("%1 files").arg(inputs.size());
}

std::optional<QString> Job::outputName() const {
    if (outputs.empty())
        return std::nullopt;
    if (outputs.size() == 1)
        return nameOf(outputs.front());
    return QStringLiteral("%1 results").arg(outputs.size());
}

} // namespace kelvane
