#include "Store/FolderExpansion.h"

#include "catalogue/FileKind.h"

#include <QCollator>
#include <QLocale>
#include <QRegularExpression>
#include <QString>

#include <algorithm>

namespace kelvane::FolderExpansion {
namespace {

namespace fs = std::filesystem;

bool isHidden(const fs::path& item) {
    return item.filename().string().starts_with('.');
}

bool accepts(Recipe recipe, const fs::path& item) {
    return recipe.accepts().contains(FileKind::of(item));
}

void sortNaturally(std::vector<fs::path>& files, const fs::path& folder) {
    // The C locale's collation knows nothing of numbers; natural order needs a real one.
    const QLocale system;
    QCollator collator(system.language() == QLocale::C ? QLocale(QLocale::English) : system);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::vector<std::pair<QString, fs::path>> keyed;
    keyed.reserve(files.size());
    for (fs::path& file : files)
        keyed.emplace_back(QString::fromStdString(file.lexically_relative(folder).string()),
                           std::move(file));
    std::stable_sort(keyed.begin(), keyed.end(), [&](const auto& a, const auto& b) {
        return collator.compare(a.first, b.first) < 0;
    });
    files.clear();
    for (auto& [key, file] : keyed)
        files.push_back(std::move(file));
}

} // namespace

bool expands(const fs::path& item, Recipe recipe) {
    std::error_code error;
    return !recipe.combinesInputs() && fs::is_directory(item, error) && !accepts(recipe, item);
}

bool isEarlierResult(const fs::path& item) {
    static const QRegularExpression earlierResult(
        QStringLiteral(R"(^.* \((converted|resized|clean|shrunk|pages)( [0-9]+)?\)$)"));
    const auto matches = [](const fs::path& name) {
        return earlierResult.match(QString::fromStdString(name.string())).hasMatch();
    };
    return matches(item.stem()) || matches(item.filename());
}

std::vector<fs::path> filesFor(const fs::path& folder, Recipe recipe) {
    std::vector<fs::path> files;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied,
                                           error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        const fs::path& item = entry->path();
        std::error_code ignored;
        const bool isFolder = entry->is_directory(ignored) && !entry->is_symlink(ignored);
        if (isHidden(item) || isEarlierResult(item)) {
            if (isFolder)
                entry.disable_recursion_pending();
            continue;
        }
        if (isFolder) {
            // Looked into, unless the recipe takes it whole (an RTFD document).
            if (accepts(recipe, item)) {
                entry.disable_recursion_pending();
                files.push_back(item);
            }
            continue;
        }
        if (entry->is_regular_file(ignored) && accepts(recipe, item))
            files.push_back(item);
    }
    sortNaturally(files, folder);
    return files;
}

} // namespace kelvane::FolderExpansion
