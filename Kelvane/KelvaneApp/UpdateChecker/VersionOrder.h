#pragma once

#include <QString>

#include <compare>

namespace kelvane::UpdateChecker {

// Version texts in numeric order: runs of ASCII digits compare by their value (so 1.10
// comes after 1.9, and 007 equals 7), every other character by its code point. Missing
// components are not filled in: 1.2.0 comes after 1.2.
std::weak_ordering compareVersions(const QString& left, const QString& right);

// Whether the feed's version orders strictly after the running one.
bool isNewer(const QString& feedVersion, const QString& currentVersion);

} // namespace kelvane::UpdateChecker
