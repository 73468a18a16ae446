#pragma once

#include "DropDock/DockClock.h"
#include "DropDock/DockPanel.h"
#include "DropDock/DragSource.h"
#include "fixtures/WaitUntil.h"

#include <QCoreApplication>
#include <QQuickItem>

#include <map>
#include <memory>

namespace kelvane::testing {

// A desktop whose presses, drags and drag contents the test makes up.
class FakeDragSource : public DragSource {
public:
    bool watching() const override { return true; }
    bool leftButtonPressed() override { return pressed; }
    std::int64_t changeCount() const override { return count; }
    std::vector<std::filesystem::path> fileURLs() override {
        ++reads;
        return files;
    }
    QPoint pointer() override { return at; }
    std::vector<DockScreen> screens() const override { return desktop; }

    void press() {
        pressed = true;
        emit leftButtonDown();
    }
    void drag() { emit leftButtonDragged(); }
    // Something new is put up for dragging.
    void offer(std::vector<std::filesystem::path> dragged) {
        files = std::move(dragged);
        ++count;
    }

    bool pressed = false;
    std::int64_t count = 7;
    std::vector<std::filesystem::path> files;
    int reads = 0;
    QPoint at{100, 100};
    std::vector<DockScreen> desktop{{QRect(0, 0, 1920, 1080), QRect(0, 30, 1920, 1050)}};
};

// Time that moves only when the test says so.
class FakeClock : public DockClock {
public:
    Task after(int ms, std::function<void()> work) override { return add(ms, 0, std::move(work)); }
    Task every(int ms, std::function<void()> work) override { return add(ms, ms, std::move(work)); }
    void cancel(Task task) override { tasks_.erase(task); }

    void advance(int ms) {
        const long end = now + ms;
        for (;;) {
            auto due = tasks_.end();
            for (auto it = tasks_.begin(); it != tasks_.end(); ++it)
                if (it->second.at <= end && (due == tasks_.end() || it->second.at < due->second.at))
                    due = it;
            if (due == tasks_.end())
                break;
            now = due->second.at;
            auto work = due->second.work;
            if (due->second.period > 0)
                due->second.at += due->second.period;
            else
                tasks_.erase(due);
            work();
        }
        now = end;
    }
    bool repeating() const {
        for (const auto& [task, entry] : tasks_)
            if (entry.period > 0)
                return true;
        return false;
    }

    long now = 0;

private:
    struct Entry {
        long at;
        int period;
        std::function<void()> work;
    };
    Task add(int ms, int period, std::function<void()> work) {
        tasks_.emplace(next_, Entry{now + ms, period, std::move(work)});
        return next_++;
    }
    std::map<Task, Entry> tasks_;
    Task next_ = 1;
};

// A panel that records where it is and finishes its moves on the fake clock.
class FakePanel : public DockPanel {
public:
    struct Move {
        QRectF to;
        double opacity;
        int ms;
    };

    explicit FakePanel(FakeClock& clock, double height)
        : clock_(clock)
        , height_(height) {}

    void rebuild() override { ++rebuilds; }
    double fittingHeight() const override { return height_; }
    QRectF frame() const override { return frame_; }
    void place(const QRectF& frame, double opacity) override {
        frame_ = frame;
        opacity_ = opacity;
    }
    void orderFront() override { onScreen = true; }
    void animate(const QRectF& frame, double opacity, int ms, const QEasingCurve&,
                 std::function<void()> done) override {
        moves.push_back({frame, opacity, ms});
        frame_ = frame;
        opacity_ = opacity;
        clock_.after(ms, std::move(done));
    }
    void orderOut() override { onScreen = false; }

    bool onScreen = false;
    int rebuilds = 0;
    std::vector<Move> moves;

private:
    FakeClock& clock_;
    double height_;
    QRectF frame_;
    double opacity_ = 0;
};

using fixtures::waitUntil;

// The item of this name in the visual tree under `root` (a Repeater's items are not
// QObject children of the view).
inline QQuickItem* findItem(QQuickItem* root, const QString& name) {
    if (root->objectName() == name)
        return root;
    for (QQuickItem* child : root->childItems())
        if (QQuickItem* found = findItem(child, name))
            return found;
    return nullptr;
}

} // namespace kelvane::testing
