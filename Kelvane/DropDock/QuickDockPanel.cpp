#include "DropDock/QuickDockPanel.h"

#include "DropDock/DropDock.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalBlocker>
#include <QVariantAnimation>

namespace kelvane {

namespace {

void layOut(QQuickItem* item) {
    for (QQuickItem* child : item->childItems())
        layOut(child);
    item->ensurePolished();
}

} // namespace

double fittingHeight(QQuickWindow& window) {
    layOut(window.contentItem());
    return window.property("fittingHeight").toDouble();
}

void addViewImports(QQmlEngine& engine) {
    const QString root = QStringLiteral("qrc:/");
    if (!engine.importPathList().contains(root))
        engine.addImportPath(root);
}

QuickDockPanel::QuickDockPanel(QQmlEngine& engine, DropDock& dock)
    : move_(new QVariantAnimation(this)) {
    addViewImports(engine);
    QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/Kelvane/DropDock/DockWindow.qml")));
    QObject* made = component.createWithInitialProperties(
        {{QStringLiteral("dock"), QVariant::fromValue(&dock)}});
    window_.reset(qobject_cast<QQuickWindow*>(made));
    if (!window_) {
        qWarning("%s", qPrintable(component.errorString()));
        delete made;
    }
    move_->setStartValue(0.0);
    move_->setEndValue(1.0);
    connect(move_, &QVariantAnimation::finished, this, &QuickDockPanel::finishMove);
    connect(move_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& t) { step(t.toDouble()); });
}

QuickDockPanel::~QuickDockPanel() = default;

void QuickDockPanel::rebuild() {
    if (window_)
        QMetaObject::invokeMethod(window_.get(), "rebuild");
}

double QuickDockPanel::fittingHeight() const {
    return window_ ? kelvane::fittingHeight(*window_) : 0;
}

QRectF QuickDockPanel::frame() const {
    return window_ ? QRectF(window_->geometry()) : QRectF();
}

void QuickDockPanel::place(const QRectF& frame, double opacity) {
    if (!window_)
        return;
    window_->setGeometry(frame.toRect());
    window_->setOpacity(opacity);
}

void QuickDockPanel::orderFront() {
    if (!window_)
        return;
    window_->show();
    window_->raise();
}

// A move that is cut short by a new one still reports its end first.
void QuickDockPanel::animate(const QRectF& target, double opacity, int ms,
                             const QEasingCurve& easing, std::function<void()> done) {
    if (!window_)
        return;
    if (move_->state() == QAbstractAnimation::Running) {
        QSignalBlocker quiet(move_);
        move_->stop();
        finishMove();
    }
    from_ = {frame(), window_->opacity()};
    to_ = {target, opacity};
    done_ = std::move(done);
    move_->setDuration(ms);
    move_->setEasingCurve(easing);
    move_->start();
}

void QuickDockPanel::step(double t) {
    const QRectF& a = from_.frame;
    const QRectF& b = to_.frame;
    window_->setGeometry(
        QRectF(a.topLeft() + (b.topLeft() - a.topLeft()) * t, a.size() + (b.size() - a.size()) * t)
            .toRect());
    window_->setOpacity(from_.opacity + (to_.opacity - from_.opacity) * t);
}

void QuickDockPanel::finishMove() {
    if (auto done = std::exchange(done_, nullptr))
        done();
}

void QuickDockPanel::orderOut() {
    if (window_)
        window_->hide();
}

} // namespace kelvane
