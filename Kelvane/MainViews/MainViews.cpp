#include "MainViews/MainViews.h"

#include "KelvaneApp/Preferences.h"
#include "MainViews/Appearance.h"
#include "MainViews/Symbols.h"
#include "MainViews/WindowModel.h"

#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickStyle>
#include <QQuickWindow>

namespace kelvane::MainViews {

void share(QQmlApplicationEngine& engine, WindowModel& store, Appearance& appearance,
           Preferences* preferences) {
    // Fusion draws its controls from the palette ThemedWindow sets, so both appearances
    // come out designed rather than half system-coloured.
    static const bool styled = [] {
        QQuickStyle::setStyle(QStringLiteral("Fusion"));
        return true;
    }();
    Q_UNUSED(styled);
    static Preferences inMemory;
    Symbols::fontFamily();
    // The view modules live in the resources under their URI's path.
    engine.addImportPath(QStringLiteral("qrc:/"));
    engine.rootContext()->setContextProperty(QStringLiteral("store"), &store);
    engine.rootContext()->setContextProperty(QStringLiteral("appearance"), &appearance);
    engine.rootContext()->setContextProperty(QStringLiteral("preferences"),
                                             preferences != nullptr ? preferences : &inMemory);
}

QQuickWindow* load(QQmlApplicationEngine& engine, WindowModel& store, Appearance& appearance,
                   Preferences* preferences) {
    share(engine, store, appearance, preferences);
    engine.load(QUrl(QStringLiteral("qrc:/Kelvane/MainViews/RootView.qml")));
    if (engine.rootObjects().isEmpty())
        return nullptr;
    return qobject_cast<QQuickWindow*>(engine.rootObjects().front());
}

} // namespace kelvane::MainViews
