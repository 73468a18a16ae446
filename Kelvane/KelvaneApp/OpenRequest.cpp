#include "KelvaneApp/OpenRequest.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtEndian>

#include <array>
#include <cstring>
#include <string_view>

namespace kelvane {

QByteArray OpenRequest::toMessage() const {
    QJsonArray list;
    for (const auto& file : files)
        list.append(QString::fromStdString(file.string()));
    QJsonObject object{{QStringLiteral("files"), list}, {QStringLiteral("quiet"), quiet}};
    if (recipe)
        object.insert(QStringLiteral("recipe"), QString::fromUtf8(recipe->rawValue()));
    const QByteArray body = QJsonDocument(object).toJson(QJsonDocument::Compact);
    QByteArray message(4, '\0');
    qToBigEndian(static_cast<quint32>(body.size()), message.data());
    return message + body;
}

std::optional<OpenRequest> OpenRequest::fromBody(const QByteArray& body) {
    if (body.size() > maximumBodyBytes)
        return std::nullopt;
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    if (!object.value(QStringLiteral("files")).isArray())
        return std::nullopt;
    OpenRequest request;
    for (const QJsonValue& file : object.value(QStringLiteral("files")).toArray()) {
        if (!file.isString() || !QDir::isAbsolutePath(file.toString()))
            return std::nullopt;
        request.files.emplace_back(file.toString().toStdString());
    }
    const QJsonValue recipe = object.value(QStringLiteral("recipe"));
    if (!recipe.isUndefined()) {
        request.recipe = recipe.isString() ? Recipe::fromRawValue(recipe.toString().toStdString())
                                           : std::nullopt;
        if (!request.recipe)
            return std::nullopt;
    }
    const QJsonValue quiet = object.value(QStringLiteral("quiet"));
    if (!quiet.isUndefined() && !quiet.isBool())
        return std::nullopt;
    request.quiet = quiet.toBool(false);
    return request;
}

namespace {

// Qt's own command-line options that take a value, which are not files.
bool takesValue(const char* argument) {
    static constexpr std::array options{
        "-platform",        "-platformtheme", "-plugin",      "-style",   "-display",
        "-qwindowgeometry", "-qwindowtitle",  "-qwindowicon", "-session", "-stylesheet"};
    for (const char* option : options)
        if (std::strcmp(argument, option) == 0 ||
            (argument[0] == '-' && argument[1] == '-' && std::strcmp(argument + 1, option) == 0))
            return true;
    return false;
}

constexpr std::string_view recipeOption = "--recipe=";

} // namespace

std::optional<OpenRequest> requestFromArguments(int argc, char** argv, std::string& error) {
    OpenRequest request;
    const QDir here = QDir::current();
    for (int index = 1; index < argc; ++index) {
        const std::string_view argument = argv[index];
        if (argument == "--quiet") {
            request.quiet = true;
            continue;
        }
        if (argument == "--recipe" || argument.starts_with(recipeOption)) {
            const bool separate = argument == "--recipe";
            if (separate && index + 1 == argc) {
                error = "--recipe needs a recipe, such as --recipe toJPG";
                return std::nullopt;
            }
            const std::string_view name =
                separate ? std::string_view(argv[++index]) : argument.substr(recipeOption.size());
            request.recipe = Recipe::fromRawValue(name);
            if (!request.recipe) {
                error = "unknown recipe '" + std::string(name) + "' (see 'kelvane-cli recipes')";
                return std::nullopt;
            }
            continue;
        }
        if (takesValue(argv[index])) {
            ++index;
            continue;
        }
        if (argument.size() > 1 && argument[0] == '-')
            continue; // another of Qt's switches
        request.files.emplace_back(
            here.absoluteFilePath(QString::fromLocal8Bit(argv[index])).toStdString());
    }
    return request;
}

} // namespace kelvane
