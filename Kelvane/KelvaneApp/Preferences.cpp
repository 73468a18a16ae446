#include "KelvaneApp/Preferences.h"

#include <QSettings>

namespace kelvane {
namespace {

constexpr const char* dropDockKey = "dropDockEnabled";
constexpr const char* menuBarKey = "showMenuBar";

// A switch that is missing or stored as anything but a Boolean reads as its default. The
// settings file keeps Booleans as the words true and false, so those count as Booleans too.
bool storedSwitch(const QSettings* settings, const char* key, bool fallback) {
    if (settings == nullptr)
        return fallback;
    const QVariant value = settings->value(QLatin1String(key));
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (value.typeId() == QMetaType::QString) {
        const QString word = value.toString();
        if (word == QLatin1String("true"))
            return true;
        if (word == QLatin1String("false"))
            return false;
    }
    return fallback;
}

} // namespace

Preferences::Preferences(QSettings* settings, QObject* parent)
    : QObject(parent)
    , settings_(settings)
    , dropDockEnabled_(storedSwitch(settings, dropDockKey, true))
    , showMenuBar_(storedSwitch(settings, menuBarKey, true)) {}

void Preferences::setDropDockEnabled(bool enabled) {
    if (write(dropDockKey, enabled, dropDockEnabled_))
        emit dropDockEnabledChanged();
}

void Preferences::setShowMenuBar(bool show) {
    if (write(menuBarKey, show, showMenuBar_))
        emit showMenuBarChanged();
}

// Whether the value changed; the settings are written either way so that a stored value of
// the wrong type is replaced by the one the user sees.
bool Preferences::write(const char* key, bool value, bool& field) {
    if (settings_ != nullptr)
        settings_->setValue(QLatin1String(key), value);
    if (field == value)
        return false;
    field = value;
    return true;
}

} // namespace kelvane
