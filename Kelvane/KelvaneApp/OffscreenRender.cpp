#include "KelvaneApp/OffscreenRender.h"

#include "MainViews/Appearance.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include <cmath>
#include <memory>

namespace kelvane::OffscreenRender {
namespace {

const QUrl frameView(QStringLiteral("qrc:/Kelvane/MainViews/ThemedWindow.qml"));

template <typename T>
std::unique_ptr<T> create(QQmlEngine& engine, const QUrl& url, const QVariantMap& properties) {
    QQmlComponent component(&engine, url);
    std::unique_ptr<QObject> made(component.createWithInitialProperties(properties));
    if (made == nullptr)
        qWarning("%s", qPrintable(component.errorString()));
    auto* typed = qobject_cast<T*>(made.get());
    if (typed != nullptr)
        made.release();
    return std::unique_ptr<T>(typed);
}

int whole(qreal length) {
    return static_cast<int>(std::ceil(length));
}

} // namespace

QImage render(QQmlEngine& engine, const QUrl& view, Appearance& appearance, bool dark,
              std::optional<int> width, const QVariantMap& properties) {
    appearance.force(dark);
    auto frame = create<QQuickWindow>(engine, frameView, {{QStringLiteral("visible"), false}});
    if (frame == nullptr)
        return {};
    auto content = create<QQuickItem>(engine, view, properties);
    if (content == nullptr)
        return {};
    content->setParentItem(frame->contentItem());
    content->setWidth(width ? *width : content->implicitWidth());
    content->setHeight(content->implicitHeight());
    frame->resize(whole(content->width()), whole(content->height()));
    // A window never shown is rendered by a frame made just for this picture.
    QImage picture = frame->grabWindow();
    content.reset();
    return picture;
}

} // namespace kelvane::OffscreenRender
