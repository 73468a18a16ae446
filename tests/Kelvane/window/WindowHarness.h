#pragma once

#include "MainViews/Appearance.h"
#include "MainViews/WindowModel.h"
#include "Store/Store.h"
#include "fixtures/TempFolder.h"
#include "fixtures/WaitUntil.h"

#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include <functional>
#include <gtest/gtest.h>
#include <ostream>

// Readable failures for Qt's strings.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace kelvane::testing {

using fixtures::waitUntil;

// The real main window over a real store, loaded from the application's own QML under the
// offscreen platform. Tests drive it with real mouse, key and drop events.
class WindowHarness : public ::testing::Test {
protected:
    WindowHarness();
    ~WindowHarness() override;

    // The item or object with this objectName anywhere in the window; fails the test when
    // there is none.
    QQuickItem* item(const QString& name) const;
    QObject* object(const QString& name) const;
    // The queue row at this index, and a named item inside it.
    QQuickItem* row(int index) const;
    QQuickItem* inRow(int index, const QString& name) const;

    // Every object with this objectName under root, in QObject and visual children alike.
    static QList<QObject*> all(QObject* root, const QString& name);

    QString textOf(const QString& name) const;
    bool shows(const QString& name) const; // visible, taking its ancestors into account

    void click(QQuickItem* target, Qt::MouseButton button = Qt::LeftButton);
    // A drag of these URLs entering the workspace, and the drop that ends it.
    void dragOver(const QList<QUrl>& urls);
    void dragAway();
    void drop(const QList<QUrl>& urls);
    void dropFiles(const std::vector<std::filesystem::path>& files);

    bool waitForIdle() {
        return waitUntil([&] { return store.activeCount() == 0; });
    }

    fixtures::TempFolder temp;
    Store store;
    Appearance appearance;
    WindowModel model{store};
    QQmlApplicationEngine engine;
    QQuickWindow* window = nullptr;
    std::vector<std::filesystem::path> opened;
    std::vector<std::vector<std::filesystem::path>> revealed;

private:
    QPoint workspaceCentre() const;
};

} // namespace kelvane::testing
