#pragma once

class QQmlApplicationEngine;
class QQuickWindow;

namespace kelvane {

class Appearance;
class WindowModel;

namespace MainViews {

// Loads the main window into the engine, with `store` and `appearance` as the objects
// every view reads. Returns the window, or null when the views failed to load.
QQuickWindow* load(QQmlApplicationEngine& engine, WindowModel& store, Appearance& appearance);

} // namespace MainViews
} // namespace kelvane
