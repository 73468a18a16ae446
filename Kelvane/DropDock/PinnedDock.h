#pragma once

#include <QList>
#include <QObject>
#include <QRect>
#include <QTimer>
#include <QUrl>

#include <memory>

class QQmlEngine;
class QQuickWindow;

namespace kelvane {

class DropDock;

// The dock kept open where drags in other applications can't be watched: a slim tab at
// the right edge of the screen, an ordinary drop target. A drag of files entering it
// widens it to the whole dock with the recipes that fit them; it narrows again when the
// drag leaves, or a while after the files were dropped on a recipe.
class PinnedDock : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool expanded READ expanded NOTIFY expandedChanged)

public:
    static constexpr int tabWidth = 14;
    static constexpr int tabHeight = 120;

    PinnedDock(QQmlEngine& engine, DropDock& dock, QObject* parent = nullptr);
    ~PinnedDock() override;

    void show();
    void hide();
    bool expanded() const { return expanded_; }
    QQuickWindow* window() const { return window_.get(); }

    // A drag entered the tab: whether it carries files the dock has recipes for.
    Q_INVOKABLE bool dragEntered(const QList<QUrl>& urls);
    Q_INVOKABLE void collapse();

signals:
    void expandedChanged();

private:
    // The free area of the primary screen.
    static QRect freeArea();
    void setExpanded(bool expanded);

    DropDock& dock_;
    std::unique_ptr<QQuickWindow> window_;
    QTimer afterDrop_;
    bool expanded_ = false;
};

} // namespace kelvane
