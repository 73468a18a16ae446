#pragma once

#include <QObject>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

class QTimer;

namespace kelvane {

// The dock's timers, behind an interface so that its timing can be driven by tests.
class DockClock {
public:
    // A scheduled task; 0 is none.
    using Task = std::uint64_t;

    virtual ~DockClock() = default;
    virtual Task after(int ms, std::function<void()> work) = 0;
    virtual Task every(int ms, std::function<void()> work) = 0;
    // Cancelling a task that already ran, or none, is harmless.
    virtual void cancel(Task task) = 0;
};

// Timers of the main thread's event loop.
class QtDockClock : public DockClock {
public:
    QtDockClock();
    ~QtDockClock() override;

    Task after(int ms, std::function<void()> work) override;
    Task every(int ms, std::function<void()> work) override;
    void cancel(Task task) override;

private:
    Task schedule(int ms, bool repeating, std::function<void()> work);

    std::map<Task, std::unique_ptr<QTimer, void (*)(QTimer*)>> timers_;
    Task next_ = 1;
};

} // namespace kelvane
