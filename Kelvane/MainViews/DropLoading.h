#pragma once

#include <QByteArray>
#include <QList>
#include <QUrl>

#include <filesystem>
#include <vector>

namespace kelvane {

// The file URLs of a drop's "text/uri-list" (RFC 2483: one URL a line, lines starting
// with '#' are comments). Web links and malformed lines are kept as URLs here and dropped
// by loadURLs.
QList<QUrl> urlsFromUriList(const QByteArray& uriList);

// The local files among dropped URLs, sorted by file name in natural order (numbers by
// value, case ignored; "Page 2" before "Page 10"), stable for equal names. Web addresses
// and anything else that is not a local file are left out.
std::vector<std::filesystem::path> loadURLs(const QList<QUrl>& urls);

} // namespace kelvane
