#include "DropDock/DockClock.h"

#include <QTimer>

namespace kelvane {
namespace {

// A timer may be cancelled from its own timeout: let the event loop delete it.
void deleteLater(QTimer* timer) {
    timer->stop();
    timer->deleteLater();
}

} // namespace

QtDockClock::QtDockClock() = default;
QtDockClock::~QtDockClock() = default;

DockClock::Task QtDockClock::after(int ms, std::function<void()> work) {
    return schedule(ms, false, std::move(work));
}

DockClock::Task QtDockClock::every(int ms, std::function<void()> work) {
    return schedule(ms, true, std::move(work));
}

DockClock::Task QtDockClock::schedule(int ms, bool repeating, std::function<void()> work) {
    const Task task = next_++;
    auto* timer = new QTimer;
    timer->setTimerType(Qt::PreciseTimer);
    timer->setSingleShot(!repeating);
    QObject::connect(timer, &QTimer::timeout, [this, task, repeating, work = std::move(work)] {
        if (!repeating)
            timers_.erase(task);
        work();
    });
    timers_.emplace(task, std::unique_ptr<QTimer, void (*)(QTimer*)>(timer, &deleteLater));
    timer->start(ms);
    return task;
}

void QtDockClock::cancel(Task task) {
    timers_.erase(task);
}

} // namespace kelvane
