#include "options/ConversionOptions.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <cmath>
#include <limits>

namespace kelvane {
namespace {

struct PageSizeRow {
    std::string_view rawValue;
    double width;
    double height;
};

constexpr PageSizeRow pageSizes[] = {{"US Letter", 612, 792}, {"A4", 595.28, 841.89}};

// Strict readers: the key must be there with exactly the expected JSON type.
std::optional<double> readDouble(const QJsonObject& object, const char* key) {
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isDouble())
        return std::nullopt;
    return value.toDouble();
}

std::optional<int> readInt(const QJsonObject& object, const char* key) {
    const auto number = readDouble(object, key);
    if (!number || std::trunc(*number) != *number || *number < std::numeric_limits<int>::min() ||
        *number > std::numeric_limits<int>::max())
        return std::nullopt;
    return static_cast<int>(*number);
}

std::optional<bool> readBool(const QJsonObject& object, const char* key) {
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isBool())
        return std::nullopt;
    return value.toBool();
}

std::optional<PageSize> readPageSize(const QJsonObject& object, const char* key) {
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isString())
        return std::nullopt;
    return PageSize::fromRawValue(value.toString().toStdString());
}

} // namespace

std::string_view PageSize::rawValue() const {
    return pageSizes[value_].rawValue;
}

std::optional<PageSize> PageSize::fromRawValue(std::string_view raw) {
    for (PageSize size : allCases())
        if (size.rawValue() == raw)
            return size;
    return std::nullopt;
}

double PageSize::widthInPoints() const {
    return pageSizes[value_].width;
}

double PageSize::heightInPoints() const {
    return pageSizes[value_].height;
}

QByteArray ConversionOptions::toJSON() const {
    const QJsonObject object{
        {"quality", quality},
        {"limitDimension", limitDimension},
        {"maxDimension", maxDimension},
        {"targetMB", targetMB},
        {"gifFPS", gifFPS},
        {"gifWidth", gifWidth},
        {"gifMaxSeconds", gifMaxSeconds},
        {"keepMetadata", keepMetadata},
        {"pdfPageSize", QString::fromUtf8(pdfPageSize.rawValue())},
        {"pdfImageDPI", pdfImageDPI},
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<ConversionOptions> ConversionOptions::fromJSON(const QByteArray& json) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();

    const auto quality = readDouble(object, "quality");
    const auto limitDimension = readBool(object, "limitDimension");
    const auto maxDimension = readInt(object, "maxDimension");
    const auto targetMB = readDouble(object, "targetMB");
    const auto gifFPS = readInt(object, "gifFPS");
    const auto gifWidth = readInt(object, "gifWidth");
    const auto gifMaxSeconds = readInt(object, "gifMaxSeconds");
    const auto keepMetadata = readBool(object, "keepMetadata");
    const auto pdfPageSize = readPageSize(object, "pdfPageSize");
    const auto pdfImageDPI = readInt(object, "pdfImageDPI");
    if (!quality || !limitDimension || !maxDimension || !targetMB || !gifFPS || !gifWidth ||
        !gifMaxSeconds || !keepMetadata || !pdfPageSize || !pdfImageDPI)
        return std::nullopt;

    return ConversionOptions{*quality,  *limitDimension, *maxDimension, *targetMB,    *gifFPS,
                             *gifWidth, *gifMaxSeconds,  *keepMetadata, *pdfPageSize, *pdfImageDPI};
}

ConversionOptions ConversionOptions::restored(const QByteArray& json) {
    return fromJSON(json).value_or(ConversionOptions{});
}

} // namespace kelvane
