#include "KelvaneApp/UpdateChecker/ReleaseFeed.h"
#include "KelvaneApp/UpdateChecker/VersionOrder.h"

#include <gtest/gtest.h>

using namespace kelvane::UpdateChecker;

namespace {

bool newer(const char* feed, const char* current) {
    return isNewer(QString::fromUtf8(feed), QString::fromUtf8(current));
}

} // namespace

TEST(VersionOrder, DigitRunsCompareByValue) {
    EXPECT_TRUE(newer("1.10", "1.9"));
    EXPECT_FALSE(newer("1.9", "1.10"));
    EXPECT_TRUE(newer("2.0", "1.12"));
    EXPECT_TRUE(newer("10.0", "9.99.99"));
    // Leading zeros do not change a number, so neither of these is newer than the other.
    EXPECT_FALSE(newer("1.07", "1.7"));
    EXPECT_FALSE(newer("1.7", "1.07"));
    // Runs longer than any machine integer still compare by value.
    EXPECT_TRUE(newer("1.100000000000000000000000000001", "1.99999999999999999999999999999"));
    EXPECT_FALSE(newer("1.099999999999999999999", "1.99999999999999999999"));
}

TEST(VersionOrder, MissingComponentsAreNotFilledIn) {
    EXPECT_TRUE(newer("1.2.0", "1.2"));
    EXPECT_FALSE(newer("1.2", "1.2.0"));
    EXPECT_FALSE(newer("1.4.2", "1.4.2"));
    EXPECT_TRUE(compareVersions(QStringLiteral("1.4.2"), QStringLiteral("1.4.2")) == 0);
}

TEST(VersionOrder, OtherCharactersCompareByCodePoint) {
    EXPECT_TRUE(newer("1.0b", "1.0a"));
    EXPECT_TRUE(newer("1.0-rc", "1.0"));
    // Digits sort before letters whatever the run's value.
    EXPECT_TRUE(newer("1.x", "1.999"));
    // A character beyond the Basic Multilingual Plane orders after U+FFFD by code point,
    // although its first UTF-16 unit is smaller.
    EXPECT_TRUE(isNewer(QStringLiteral("1.0") + QString::fromUcs4(U"\U0001F600", 1),
                        QStringLiteral("1.0\uFFFD")));
}

TEST(ReleaseFeed, DecodesVersionURLAndNotes) {
    const auto release = decodeRelease(R"({"version": "1.4.2", "url": "https://example.org/get",
        "notes": "Faster shrinking.", "published": "2026-11-01"})");
    ASSERT_TRUE(release);
    EXPECT_EQ(release->version, "1.4.2");
    EXPECT_EQ(release->url, "https://example.org/get");
    EXPECT_EQ(release->notes, QStringLiteral("Faster shrinking."));
}

TEST(ReleaseFeed, NotesNullOrAbsentGiveNone) {
    const auto withNull = decodeRelease(R"({"version": "2.0", "url": "u", "notes": null})");
    const auto without = decodeRelease(R"({"url": "u", "version": "2.0"})");
    ASSERT_TRUE(withNull);
    ASSERT_TRUE(without);
    EXPECT_FALSE(withNull->notes);
    EXPECT_FALSE(without->notes);
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
