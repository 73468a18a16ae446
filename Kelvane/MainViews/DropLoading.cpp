#include "MainViews/DropLoading.h"

#include <QCollator>
#include <QLocale>

#include <algorithm>

namespace kelvane {

QList<QUrl> urlsFromUriList(const QByteArray& uriList) {
    QList<QUrl> urls;
    for (QByteArray line : uriList.split('\n')) {
        line = line.trimmed();
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        const QUrl url = QUrl::fromEncoded(line, QUrl::StrictMode);
        if (url.isValid())
            urls << url;
    }
    return urls;
}

std::vector<std::filesystem::path> loadURLs(const QList<QUrl>& urls) {
    std::vector<std::filesystem::path> files;
    // "file:file:///x" is a local file URL too, but its path is relative: nothing a drop
    // could mean, so only absolute paths count.
    for (const QUrl& url : urls)
        if (url.isLocalFile() && url.toLocalFile().startsWith(QLatin1Char('/')))
            files.emplace_back(url.toLocalFile().toStdString());

    // The C locale's collation knows nothing of numbers; natural order needs a real one.
    const QLocale system;
    QCollator collator(system.language() == QLocale::C ? QLocale(QLocale::English) : system);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(files.begin(), files.end(), [&](const auto& a, const auto& b) {
        return collator.compare(QString::fromStdString(a.filename().string()),
                                QString::fromStdString(b.filename().string())) < 0;
    });
    return files;
}

} // namespace kelvane
