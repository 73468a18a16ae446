#pragma once

#include "DropDock/DockPanel.h"

#include <QObject>

#include <memory>

class QQmlEngine;
class QQuickWindow;
class QVariantAnimation;

namespace kelvane {

class DropDock;

// The dock's panel as a Qt Quick window showing DockView over the dock's model.
class QuickDockPanel : public QObject, public DockPanel {
    Q_OBJECT

public:
    // The engine must already know the views' `store` and `appearance`.
    QuickDockPanel(QQmlEngine& engine, DropDock& dock);
    ~QuickDockPanel() override;

    void rebuild() override;
    double fittingHeight() const override;
    QRectF frame() const override;
    void place(const QRectF& frame, double opacity) override;
    void orderFront() override;
    void animate(const QRectF& target, double opacity, int ms, const QEasingCurve& easing,
                 std::function<void()> done) override;
    void orderOut() override;

    QQuickWindow* window() const { return window_.get(); }

private:
    struct Pose {
        QRectF frame;
        double opacity = 0;
    };
    void step(double t);
    void finishMove();

    std::unique_ptr<QQuickWindow> window_;
    QVariantAnimation* move_;
    Pose from_;
    Pose to_;
    std::function<void()> done_;
};

// The height the dock view in this window wants, its rows laid out first (positioners
// measure themselves only when polished, normally just before the next frame).
double fittingHeight(QQuickWindow& window);

// Lets views in the engine import the application's own QML modules.
void addViewImports(QQmlEngine& engine);

} // namespace kelvane
