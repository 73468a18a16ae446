#pragma once

#include <QImage>
#include <QUrl>
#include <QVariantMap>

#include <optional>

class QQmlEngine;

namespace kelvane {

class Appearance;

namespace OffscreenRender {

// Draws one QML view off-screen, never shown, in a themed window over the window colour,
// with the shared appearance forced to light or dark (it stays forced). The view takes its
// fitting size, or the given width and the height that fits it. The view is created in the
// engine's root context with these initial properties. A null image when it cannot be made.
QImage render(QQmlEngine& engine, const QUrl& view, Appearance& appearance, bool dark,
              std::optional<int> width = std::nullopt, const QVariantMap& properties = {});

} // namespace OffscreenRender
} // namespace kelvane
