#pragma once

class QQmlApplicationEngine;
class QQuickWindow;

namespace kelvane {

class Appearance;
class Preferences;
class WindowModel;

namespace MainViews {

// Makes `store`, `appearance` and `preferences` the objects every view of this engine
// reads, and lets other view modules import this one. Without preferences, views read
// switches kept in memory at their defaults.
void share(QQmlApplicationEngine& engine, WindowModel& store, Appearance& appearance,
           Preferences* preferences = nullptr);

// Shares the objects as above and loads the main window into the engine. Returns the
// window, or null when the views failed to load.
QQuickWindow* load(QQmlApplicationEngine& engine, WindowModel& store, Appearance& appearance,
                   Preferences* preferences = nullptr);

} // namespace MainViews
} // namespace kelvane
