#include "ReleaseFeed.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

namespace kelvane::UpdateChecker {

namespace {

std::optional<QString> requiredText(const QJsonObject& object, const QString& key) {
    const QJsonValue value = object.value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

} // namespace

std::optional<Release> decodeRelease(const QByteArray& body) {
    if (body.size() > maximumFeedBytes)
        return std::nullopt;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();

    auto version = requiredText(object, QStringLiteral("version"));
    auto url = requiredText(object, QStringLiteral("url"));
    if (!version || !url)
        return std::nullopt;

    const QJsonValue notes = object.value(QStringLiteral("notes"));
    if (!notes.isUndefined() && !notes.isNull() && !notes.isString())
        return std::nullopt;
    Release release{std::move(*version), std::move(*url), std::nullopt};
    if (notes.isString())
        release.notes = notes.toString();
    return release;
}

} // namespace kelvane::UpdateChecker
