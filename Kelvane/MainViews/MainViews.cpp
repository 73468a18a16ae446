#include "MainViews/MainViews.h"

#include "MainViews/Appearance.h"
#include "MainViews/Symbols.h"
#include "MainViews/WindowModel.h"

#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickStyle>
#include <QQuickWindow>

namespace kelvane::MainViews {

QQuickWindow* load(QQmlApplicationEngine& engine, WindowModel& store, Appearance& appearance) {
    // Fusion draws its controls from the palette the root view sets, so both appearances
    // come out designed rather than half system-coloured.
    static const bool styled = [] {
        QQuickStyle::setStyle(QStringLiteral("Fusion"));
        return true;
    }();
    Q_UNUSED(styled);
    Symbols::fontFamily();
    engine.rootContext()->setContextProperty(QStringLiteral("store"), &store);
    engine.rootContext()->setContextProperty(QStringLiteral("appearance"), &appearance);
    engine.load(QUrl(QStringLiteral("qrc:/Kelvane/MainViews/RootView.qml")));
    if (engine.rootObjects().isEmpty())
        return nullptr;
    return qobject_cast<QQuickWindow*>(engine.rootObjects().front());
}

} // namespace kelvane::MainViews
