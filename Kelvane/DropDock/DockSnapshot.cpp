#include "DropDock/DockSnapshot.h"

#include "DropDock/DockModel.h"
#include "DropDock/QuickDockPanel.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>

#include <memory>

namespace kelvane {

QImage renderDockView(QQmlEngine& engine, DockModel& model, std::optional<Recipe> highlight,
                      bool dark) {
    addViewImports(engine);
    QQmlComponent component(&engine,
                            QUrl(QStringLiteral("qrc:/Kelvane/DropDock/DockSnapshot.qml")));
    const QString hot = highlight ? QString::fromUtf8(highlight->rawValue()) : QString();
    std::unique_ptr<QObject> made(component.createWithInitialProperties({
        {QStringLiteral("dockModel"), QVariant::fromValue(&model)},
        {QStringLiteral("highlight"), hot},
        {QStringLiteral("dark"), dark},
    }));
    auto* window = qobject_cast<QQuickWindow*>(made.get());
    if (window == nullptr) {
        qWarning("%s", qPrintable(component.errorString()));
        return {};
    }
    return window->grabWindow();
}

} // namespace kelvane
