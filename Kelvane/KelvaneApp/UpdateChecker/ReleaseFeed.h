#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace kelvane::UpdateChecker {

// The release feed: one JSON object naming the newest version and its download page.
struct Release {
    QString version;
    QString url;
    std::optional<QString> notes;
};

// Feeds larger than this are no feed (an error page, or something worse).
inline constexpr qsizetype maximumFeedBytes = 1024 * 1024;

// The release a feed's body describes, or nothing when the body is not one: not a JSON
// object, "version" or "url" missing or not text, "notes" neither text nor null, or larger
// than maximumFeedBytes. Other keys are ignored.
std::optional<Release> decodeRelease(const QByteArray& body);

} // namespace kelvane::UpdateChecker
