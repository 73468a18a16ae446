#pragma once

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QString>

#include <cstdint>
#include <filesystem>
#include <vector>

namespace kelvane {

// A screen as the dock places itself on it: the whole frame, and the part left free by
// panels and task bars. Coordinates are the desktop's, in points, y growing downwards.
struct DockScreen {
    QRect frame;
    QRect visible;
};

// What the dock reads from the desktop about drags in any application: the left button,
// a counter that moves whenever something new is put up for dragging, the files of that
// drag, the pointer and the screens. Lives on the main thread and reports presses and
// drag motions as signals.
class DragSource : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // Whether presses and drags in other applications can be seen at all; when not,
    // `unavailableReason` says why in one sentence.
    virtual bool watching() const = 0;
    virtual QString unavailableReason() const { return {}; }

    virtual bool leftButtonPressed() = 0;
    virtual std::int64_t changeCount() const = 0;
    // The files of the drag that made the current change count; empty when that drag
    // carries anything but files.
    virtual std::vector<std::filesystem::path> fileURLs() = 0;
    virtual QPoint pointer() = 0;
    // The primary screen first.
    virtual std::vector<DockScreen> screens() const = 0;

signals:
    void leftButtonDown();
    // The pointer moved with the left button held (over any window); also sent when the
    // files of a new drag have arrived, so that they are looked at without waiting.
    void leftButtonDragged();
};

} // namespace kelvane
