#include "DropDock/DropDock.h"

#include "Store/Store.h"

#include <QCoreApplication>
#include <QThread>

#include <algorithm>

namespace kelvane {
namespace {

constexpr double panelDefaultHeight = 400;
// The dock never comes closer than this to the top and bottom of the free area together.
constexpr double verticalMargin = 40;

void assertMainThread() {
    Q_ASSERT(QThread::currentThread() == QCoreApplication::instance()->thread());
}

} // namespace

DropDock::DropDock(Parts parts, QObject* parent)
    : QObject(parent)
    , parts_(std::move(parts))
    , model_(parts_.store)
    , baseline_(parts_.source.changeCount()) {}

DropDock::~DropDock() {
    parts_.clock.cancel(poll_);
    parts_.clock.cancel(hideWork_);
}

QEasingCurve DropDock::easeOut() {
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(QPointF(0, 0), QPointF(0.58, 1), QPointF(1, 1));
    return curve;
}

QEasingCurve DropDock::easeIn() {
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(QPointF(0.42, 0), QPointF(1, 1), QPointF(1, 1));
    return curve;
}

void DropDock::start() {
    if (started_)
        return;
    started_ = true;
    connect(&parts_.source, &DragSource::leftButtonDown, this, &DropDock::mouseDown);
    connect(&parts_.source, &DragSource::leftButtonDragged, this, &DropDock::mouseDragged);
}

void DropDock::mouseDown() {
    assertMainThread();
    baseline_ = parts_.source.changeCount();
    sawMouseDown_ = true;
}

void DropDock::mouseDragged() {
    assertMainThread();
    if (!sawMouseDown_) { // the press came before the source could see it
        baseline_ = parts_.source.changeCount();
        sawMouseDown_ = true;
    }
    startPolling();
    tick();
}

void DropDock::startPolling() {
    if (poll_ == 0)
        poll_ = parts_.clock.every(pollMs, [this] { tick(); });
}

void DropDock::stopPolling() {
    parts_.clock.cancel(poll_);
    poll_ = 0;
}

void DropDock::tick() {
    if (!parts_.source.leftButtonPressed()) {
        stopPolling();
        sawMouseDown_ = false;
        if (visible_)
            scheduleHide(model_.choosing() ? hideWhileChoosingMs : hideAfterAcceptMs);
        return;
    }
    // A shown dock is never refilled, by this drag or a later one.
    if (!parts_.enabled() || visible_)
        return;
    const std::int64_t count = parts_.source.changeCount();
    if (count == baseline_)
        return;
    baseline_ = count; // each drag is read once
    auto urls = parts_.source.fileURLs();
    if (!urls.empty())
        show(std::move(urls));
}

void DropDock::show(std::vector<std::filesystem::path> urls, std::optional<DockScreen> screen) {
    assertMainThread();
    parts_.clock.cancel(hideWork_);
    hideWork_ = 0;
    model_.fill(std::move(urls));
    if (model_.recipes().empty())
        return;
    DockPanel& panel = makePanel();
    if (!screen)
        screen = screenUnderPointer();
    if (!screen)
        return;

    const QRectF free = screen->visible;
    const double fitting = panel.fittingHeight();
    const double height =
        std::min(fitting > 0 ? fitting : panelDefaultHeight, free.height() - verticalMargin);
    const QRectF frame(free.right() - width - edgeInset, free.center().y() - height / 2, width,
                       height);
    panel.place(frame.translated(slideDistance, 0), 0);
    panel.orderFront();
    setVisible(true);
    panel.animate(frame, 1, slideInMs, easeOut(), [] {});
}

void DropDock::hide(bool animated) {
    assertMainThread();
    if (!panel_ || !visible_)
        return;
    setVisible(false);
    if (!animated) {
        panel_->orderOut();
        return;
    }
    panel_->animate(panel_->frame().translated(slideDistance, 0), 0, slideOutMs, easeIn(), [this] {
        // A show that began during the slide keeps the panel.
        if (!visible_)
            panel_->orderOut();
    });
}

void DropDock::accept(Recipe recipe) {
    assertMainThread();
    model_.setPhase({recipe});
    parts_.store.add(model_.urls(), recipe, true);
    scheduleHide(hideAfterAcceptMs);
}

void DropDock::accept(const QString& recipe) {
    if (const auto found = Recipe::fromRawValue(recipe.toStdString()))
        accept(*found);
}

void DropDock::scheduleHide(int ms) {
    parts_.clock.cancel(hideWork_);
    hideWork_ = parts_.clock.after(ms, [this] { hide(true); });
}

DockPanel& DropDock::makePanel() {
    if (!panel_)
        panel_ = parts_.makePanel();
    panel_->rebuild();
    return *panel_;
}

std::optional<DockScreen> DropDock::screenUnderPointer() const {
    const auto screens = parts_.source.screens();
    if (screens.empty())
        return std::nullopt;
    const QPoint pointer = parts_.source.pointer();
    const auto under = std::find_if(screens.begin(), screens.end(), [&](const DockScreen& screen) {
        return screen.frame.contains(pointer);
    });
    return under != screens.end() ? *under : screens.front();
}

void DropDock::setVisible(bool visible) {
    if (visible_ == visible)
        return;
    visible_ = visible;
    emit visibleChanged();
}

QImage DropDock::renderSnapshot(std::vector<std::filesystem::path> urls, bool dark) {
    model_.fill(std::move(urls));
    std::optional<Recipe> highlight;
    if (model_.recipes().size() >= 2)
        highlight = model_.recipes()[1];
    return parts_.render ? parts_.render(model_, highlight, dark) : QImage();
}

} // namespace kelvane
