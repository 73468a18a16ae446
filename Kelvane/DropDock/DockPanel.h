#pragma once

#include <QEasingCurve>
#include <QRectF>

#include <functional>

namespace kelvane {

// The floating window the dock shows its view in. The controller decides where it goes
// and when; a panel only places, animates and removes itself.
class DockPanel {
public:
    virtual ~DockPanel() = default;

    // Gives the panel a fresh view of the dock's model (no tile hovered).
    virtual void rebuild() = 0;
    // The height the view wants at the dock's width; 0 when it has none.
    virtual double fittingHeight() const = 0;
    virtual QRectF frame() const = 0;
    // Moves the panel at once, without showing it.
    virtual void place(const QRectF& frame, double opacity) = 0;
    // Shows the panel above other windows without taking the focus.
    virtual void orderFront() = 0;
    // Moves and fades the panel to `target` over `ms`; `done` runs when the move ends, even when a
    // later move cut it short.
    virtual void animate(const QRectF& target, double opacity, int ms, const QEasingCurve& easing,
                         std::function<void()> done) = 0;
    virtual void orderOut() = 0;
};

} // namespace kelvane
