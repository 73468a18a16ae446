#include "KelvaneApp/UpdateChecker/ReleaseFeed.h"
#include "KelvaneApp/UpdateChecker/VersionOrder.h"

#include <gtest/gtest.h>
#include <tuple>

using namespace kelvane::UpdateChecker;

namespace {

bool newer(const char* feed, const char* current) {
    return isNewer(QString::fromUtf8(feed), QString::fromUtf8(current));
}

} // namespace

// Digit runs compare by value (leading zeros and any length alike), missing components are not
// filled in, and other characters compare by code point, after digits.
TEST(VersionOrder, DigitRunsByValueOtherCharactersByCodePoint) {
    const std::tuple<const char*, const char*, bool> table[] = {
        {"1.10", "1.9", true},
        {"1.9", "1.10", false},
        {"2.0", "1.12", true},
        {"10.0", "9.99.99", true},
        {"1.07", "1.7", false},
        {"1.7", "1.07", false},
        {"1.100000000000000000000000000001", "1.99999999999999999999999999999", true},
        {"1.099999999999999999999", "1.99999999999999999999", false},
        {"1.2.0", "1.2", true},
        {"1.2", "1.2.0", false},
        {"1.4.2", "1.4.2", false},
        {"1.0b", "1.0a", true},
        {"1.0-rc", "1.0", true},
        {"1.x", "1.999", true},
    };
    for (const auto& [feed, current, expected] : table)
        EXPECT_EQ(newer(feed, current), expected) << feed << " against " << current;
    EXPECT_TRUE(compareVersions(QStringLiteral("1.4.2"), QStringLiteral("1.4.2")) == 0);
    // A character beyond the Basic Multilingual Plane orders after U+FFFD by code point,
    // although its first UTF-16 unit is smaller.
    EXPECT_TRUE(isNewer(QStringLiteral("1.0") + QString::fromUcs4(U"\U0001F600", 1),
                        QStringLiteral("1.0\uFFFD")));
}

TEST(ReleaseFeed, DecodesVersionURLAndNotesWhichMayBeNullOrAbsent) {
    const auto release = decodeRelease(R"({"version": "1.4.2", "url": "https://example.org/get",
        "notes": "Faster shrinking.", "published": "2026-11-01"})");
    ASSERT_TRUE(release);
    EXPECT_EQ(release->version, "1.4.2");
    EXPECT_EQ(release->url, "https://example.org/get");
    EXPECT_EQ(release->notes, QStringLiteral("Faster shrinking."));
    for (const char* body : {R"({"version": "2.0", "url": "u", "notes": null})",
                             R"({"url": "u", "version": "2.0"})"}) {
        const auto noNotes = decodeRelease(body);
        ASSERT_TRUE(noNotes) << body;
        EXPECT_FALSE(noNotes->notes) << body;
    }
}

TEST(ReleaseFeed, AnythingElseIsNoRelease) {
    const char* bodies[] = {
        "",
        "<!DOCTYPE html><html><body><h1>404 Not Found</h1></body></html>",
        R"(["1.4.2", "https://example.org/"])",
        R"({"version": 1.5, "url": "https://example.org/"})",
        R"({"version": "1.5"})",
        R"({"url": "https://example.org/"})",
        R"({"version": "1.5", "url": null})",
        R"({"version": "1.5", "url": "u", "notes": ["a"]})",
        R"({"version": "1.5", "url": "u")",
        "\"1.5\"",
    };
    for (const char* body : bodies)
        EXPECT_FALSE(decodeRelease(body)) << body;
}

TEST(ReleaseFeed, BodiesPastOneMegabyteAreRefused) {
    const QByteArray feed = R"({"version": "9.0", "url": "https://example.org/"})";
    QByteArray padded = feed;
    padded.append(maximumFeedBytes - feed.size(), ' ');
    EXPECT_TRUE(decodeRelease(padded));
    padded.append(' ');
    EXPECT_FALSE(decodeRelease(padded));
}
