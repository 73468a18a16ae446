#include "options/ConversionOptions.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace kelvane {
namespace {

QJsonObject objectOf(const QByteArray& json) {
    return QJsonDocument::fromJson(json).object();
}

QByteArray jsonOf(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

ConversionOptions customised() {
    ConversionOptions options;
    options.quality = 0.6;
    options.limitDimension = true;
    options.maxDimension = 1024;
    options.targetMB = 0.25;
    options.gifFPS = 15;
    options.gifWidth = 320;
    options.gifMaxSeconds = 30;
    options.keepMetadata = false;
    options.pdfPageSize = PageSize::a4;
    options.pdfImageDPI = 300;
    return options;
}

TEST(ConversionOptions, StoredFormHasExactlyTheTenFieldsWithJsonTypes) {
    const QJsonObject stored = objectOf(ConversionOptions().toJSON());
    EXPECT_EQ(stored.size(), 10);
    EXPECT_DOUBLE_EQ(stored["quality"].toDouble(), 0.85);
    EXPECT_TRUE(stored["limitDimension"].isBool());
    EXPECT_EQ(stored["maxDimension"].toInt(), 2048);
    EXPECT_DOUBLE_EQ(stored["targetMB"].toDouble(), 1.0);
    EXPECT_EQ(stored["gifFPS"].toInt(), 12);
    EXPECT_EQ(stored["gifWidth"].toInt(), 480);
    EXPECT_EQ(stored["gifMaxSeconds"].toInt(), 15);
    EXPECT_EQ(stored["keepMetadata"].toBool(), true);
    EXPECT_EQ(stored["pdfPageSize"].toString(), "US Letter");
    EXPECT_EQ(stored["pdfImageDPI"].toInt(), 144);
    EXPECT_FALSE(ConversionOptions().toJSON().contains('\n'));
}

TEST(ConversionOptions, RoundTripsEveryFieldAndOneChangeTouchesOnlyItsKey) {
    const ConversionOptions options = customised();
    EXPECT_EQ(ConversionOptions::fromJSON(options.toJSON()), options);
    EXPECT_EQ(objectOf(options.toJSON())["pdfPageSize"].toString(), "A4");

    ConversionOptions a4;
    a4.pdfPageSize = PageSize::a4;
    EXPECT_NE(a4, ConversionOptions()); // equality looks at the page size too
    ConversionOptions faster;
    faster.gifFPS = 15;
    QJsonObject changed = objectOf(faster.toJSON());
    EXPECT_EQ(changed["gifFPS"].toInt(), 15);
    changed["gifFPS"] = 12;
    EXPECT_EQ(changed, objectOf(ConversionOptions().toJSON()));
}

TEST(ConversionOptions, RestoreIsWholeOrNothingButToleratesUnknownKeysAndDecimals) {
    const QJsonObject good = objectOf(customised().toJSON());
    auto without = [&](const char* key) {
        QJsonObject broken = good;
        broken.remove(key);
        return jsonOf(broken);
    };
    auto with = [&](const char* key, const QJsonValue& value) {
        QJsonObject broken = good;
        broken[key] = value;
        return jsonOf(broken);
    };
    const std::pair<const char*, QByteArray> damaged[] = {
        {"no data", QByteArray()},
        {"not JSON", "{quality: 0.5"},
        {"an array", "[1, 2]"},
        {"a string", "\"options\""},
        {"missing pdfImageDPI", without("pdfImageDPI")},
        {"missing quality", without("quality")},
        {"page size not exact", with("pdfPageSize", "Letter")},
        {"page size lower case", with("pdfPageSize", "a4")},
        {"quality as text", with("quality", "0.5")},
        {"flag as number", with("keepMetadata", 1)},
        {"integer with a fraction", with("gifFPS", 12.5)},
        {"integer out of range", with("maxDimension", 1e12)},
        {"null value", with("targetMB", QJsonValue::Null)},
    };
    for (const auto& [why, json] : damaged) {
        EXPECT_FALSE(ConversionOptions::fromJSON(json)) << why;
        EXPECT_EQ(ConversionOptions::restored(json), ConversionOptions()) << why;
    }

    // Unknown keys, and whole numbers written as decimals, are accepted.
    QJsonObject stored = objectOf(customised().toJSON());
    stored["futureSetting"] = "on";
    EXPECT_EQ(ConversionOptions::restored(jsonOf(stored)), customised());

    const QByteArray decimals =
        QByteArray(customised().toJSON()).replace("\"gifFPS\":15", "\"gifFPS\":15.0");
    ASSERT_NE(decimals, customised().toJSON());
    EXPECT_EQ(ConversionOptions::restored(decimals), customised());
}

TEST(PageSize, RawValuesAreTheLabelsAndSizesAreInPoints) {
    EXPECT_EQ(PageSize::fromRawValue("US Letter"), PageSize::letter);
    EXPECT_EQ(PageSize::fromRawValue("A4"), PageSize::a4);
    EXPECT_FALSE(PageSize::fromRawValue("Letter"));
    EXPECT_DOUBLE_EQ(PageSize(PageSize::letter).widthInPoints(), 612);
    EXPECT_DOUBLE_EQ(PageSize(PageSize::letter).heightInPoints(), 792);
    EXPECT_NEAR(PageSize(PageSize::a4).widthInPoints() / 72 * 25.4, 210.0, 0.01);
    EXPECT_NEAR(PageSize(PageSize::a4).heightInPoints() / 72 * 25.4, 297.0, 0.01);
}

} // namespace
} // namespace kelvane
