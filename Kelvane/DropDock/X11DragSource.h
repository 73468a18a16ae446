#pragma once

#include "DropDock/DragSource.h"

#include <memory>

namespace kelvane {

// Drags in any application of an X11 desktop, seen through a connection of its own:
// XFixes reports each new owner of the drag selection (a drag began), whose files are
// asked for at once as a "text/uri-list"; XInput2 raw events report the primary button
// (the left one, or the right one of a left-handed map) and the pointer's motion while it
// is held. Events are handled on the main thread as they
// arrive; nothing polls while no button is held.
class X11DragSource : public DragSource {
    Q_OBJECT

public:
    explicit X11DragSource(QObject* parent = nullptr);
    ~X11DragSource() override;

    bool watching() const override;
    QString unavailableReason() const override;
    bool leftButtonPressed() override;
    std::int64_t changeCount() const override;
    std::vector<std::filesystem::path> fileURLs() override;
    QPoint pointer() override;
    std::vector<DockScreen> screens() const override;

private:
    struct Connection;
    // Connects to the display and asks for the events; the reason when that fails.
    QString open();
    static bool inWaylandSession();
    void handleEvents();
    // Xlib may have read events while answering a request: handle them soon.
    void handleQueuedEvents();
    void askForFiles(unsigned long time);
    void readButtonMap();
    void rawEvent(int type, int button);
    void contentsArrived(std::vector<std::filesystem::path> files);

    std::unique_ptr<Connection> x_;
    QString reason_;
    std::int64_t count_ = 0;
    std::vector<std::filesystem::path> files_;
};

} // namespace kelvane
