#include "archives/ZipSources.h"

#include <QString>

#include <algorithm>
#include <cerrno>
#include <set>
#include <system_error>

namespace kelvane::ZipSources {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void cannotRead(const fs::path& path, int error) {
    throw std::system_error(error, std::generic_category(),
                            "Couldn’t read “" + path.filename().string() + "”");
}

struct stat statusOf(const fs::path& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        cannotRead(path, errno);
    return status;
}

bool isArchivable(const struct stat& status) {
    return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode) || S_ISLNK(status.st_mode);
}

std::vector<fs::path> sortedChildren(const fs::path& folder) {
    std::error_code error;
    std::vector<fs::path> children;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
        children.push_back(it->path());
    if (error)
        cannotRead(folder, error.value());
    std::sort(children.begin(), children.end(),
              [](const fs::path& a, const fs::path& b) { return a.filename() < b.filename(); });
    return children;
}

bool isSame(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

void addTree(const fs::path& disk, const std::string& name, const struct stat& skip,
             std::vector<Source>& sources) {
    const struct stat status = statusOf(disk);
    if (!isArchivable(status) || isSame(status, skip))
        return;
    sources.push_back({disk, name, status});
    if (!S_ISDIR(status.st_mode))
        return;
    for (const fs::path& child : sortedChildren(disk))
        addTree(child, name + "/" + child.filename().string(), skip, sources);
}

std::string numbered(const std::string& name, int number) {
    const fs::path asPath(name);
    const std::string extension = asPath.extension().string(); // ".txt", or "" for ".bashrc"
    return asPath.stem().string() + " " + std::to_string(number) + extension;
}

QString folded(const std::string& name) {
    return QString::fromStdString(name).toCaseFolded();
}

} // namespace

std::string ownName(const fs::path& item) {
    const fs::path normal = item.lexically_normal();
    return normal.has_filename() ? normal.filename().string()
                                 : normal.parent_path().filename().string();
}

std::vector<std::string> rootNames(const std::vector<fs::path>& items) {
    std::vector<std::string> names;
    std::set<QString> taken;
    for (const fs::path& item : items) {
        const std::string own = ownName(item);
        std::string name = own;
        for (int number = 2; taken.contains(folded(name)); ++number)
            name = numbered(own, number);
        taken.insert(folded(name));
        names.push_back(name);
    }
    return names;
}

std::vector<Source> collect(const std::vector<fs::path>& items,
                            const std::vector<std::string>& names, const fs::path& skip) {
    const struct stat skipped = statusOf(skip);
    std::vector<Source> sources;
    for (std::size_t index = 0; index < items.size(); ++index) {
        const fs::path item = items[index].lexically_normal();
        addTree(item.has_filename() ? item : item.parent_path(), names[index], skipped, sources);
    }
    return sources;
}

} // namespace kelvane::ZipSources
