#include "DropDock/X11DragSource.h"

#include "DropDock/DraggedFiles.h"
#include "DropDock/X11SelectionReader.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QScreen>
#include <QSocketNotifier>
#include <QTimer>

// Xlib's headers define macros (None, Bool, Status…) that clash with Qt's: they come last.
#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/Xfixes.h>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

namespace kelvane {
namespace {

constexpr unsigned long noWindow = 0;
// The longest the watch holds the main thread at once.
constexpr int maxBusyMs = 4;

// Raw button events always; raw motion only while the left button is held, so that an
// idle pointer costs nothing.
void selectRawEvents(Display* display, bool motion) {
    unsigned char bits[XIMaskLen(XI_LASTEVENT)] = {};
    const auto set = [&](int event) {
        bits[event >> 3] = static_cast<unsigned char>(bits[event >> 3] | (1 << (event & 7)));
    };
    set(XI_RawButtonPress);
    set(XI_RawButtonRelease);
    if (motion)
        set(XI_RawMotion);
    XIEventMask mask{XIAllMasterDevices, sizeof bits, bits};
    XISelectEvents(display, XDefaultRootWindow(display), &mask, 1);
    XFlush(display);
}

struct PointerState {
    int x = 0;
    int y = 0;
    unsigned int buttons = 0;
};

PointerState queryPointer(Display* display, Window root) {
    PointerState state;
    Window rootReturn = noWindow;
    Window child = noWindow;
    int windowX = 0;
    int windowY = 0;
    XQueryPointer(display, root, &rootReturn, &child, &state.x, &state.y, &windowX, &windowY,
                  &state.buttons);
    return state;
}

// The logical button a physical one stands for under the pointer's button map (the first
// entry maps the first button); unmapped buttons stand for themselves.
int logicalButton(const std::vector<unsigned char>& buttonMap, int physical) {
    if (physical < 1 || static_cast<std::size_t>(physical) > buttonMap.size())
        return physical;
    return buttonMap[static_cast<std::size_t>(physical - 1)];
}

double threadCpuMs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

} // namespace

struct X11DragSource::Connection {
    Display* display = nullptr;
    Window root = noWindow;
    Window requestor = noWindow; // our own window the drag's files are delivered to
    Atom dndSelection = 0;
    Atom uriList = 0;
    Atom property = 0;
    int fixesEventBase = 0;
    int inputOpcode = 0;
    // The logical button of each physical one, from the first: raw events carry physical
    // buttons, and a left-handed map makes the third the primary one.
    std::vector<unsigned char> buttonMap;
    bool leftHeld = false;
    std::unique_ptr<X11SelectionReader> reader;
    // With KELVANE_DOCK_TIMING set (bench/dock_latency.py), each drag's reading is timed.
    bool timing = qEnvironmentVariableIsSet("KELVANE_DOCK_TIMING");
    QElapsedTimer asked;

    ~Connection() {
        reader.reset();
        if (display == nullptr)
            return;
        if (requestor != noWindow)
            XDestroyWindow(display, requestor);
        XCloseDisplay(display);
    }
};

bool X11DragSource::inWaylandSession() {
    return qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
           qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland");
}

X11DragSource::X11DragSource(QObject* parent)
    : DragSource(parent)
    , x_(std::make_unique<Connection>()) {
    reason_ = open();
    if (!reason_.isEmpty()) {
        x_.reset();
        return;
    }
    auto* notifier =
        new QSocketNotifier(XConnectionNumber(x_->display), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &X11DragSource::handleEvents);
    x_->reader = std::make_unique<X11SelectionReader>(x_->display, x_->requestor, x_->property);
    connect(x_->reader.get(), &X11SelectionReader::finished, this,
            [this](const QByteArray& uriList) { contentsArrived(draggedFiles(uriList)); });
    handleEvents();
}

QString X11DragSource::open() {
    const auto fail = [](const char* reason) {
        return QString::fromUtf8(reason);
    };
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return fail(QGuiApplication::platformName().startsWith(QLatin1String("wayland"))
                        ? "Drags in other apps can’t be watched in a Wayland session."
                        : "Drags in other apps can’t be watched on this display.");
    // Through XWayland only drags between X11 apps would be seen, and a Wayland session's file
    // manager is not one of them.
    if (inWaylandSession())
        return fail("Drags in other apps can’t be watched in a Wayland session.");
    x_->display = XOpenDisplay(nullptr);
    Display* display = x_->display;
    if (display == nullptr)
        return fail("Drags in other apps can’t be watched: the X display can’t be reached.");
    int fixesError = 0;
    int inputEvent = 0;
    int inputError = 0;
    int major = 2;
    int minor = 2;
    if (XFixesQueryExtension(display, &x_->fixesEventBase, &fixesError) == 0 ||
        XQueryExtension(display, "XInputExtension", &x_->inputOpcode, &inputEvent, &inputError) ==
            0 ||
        XIQueryVersion(display, &major, &minor) != Success)
        return fail("Drags in other apps can’t be watched: this X server lacks XFixes or "
                    "XInput 2.");

    x_->root = XDefaultRootWindow(display);
    x_->requestor = XCreateSimpleWindow(display, x_->root, -10, -10, 1, 1, 0, 0, 0);
    x_->dndSelection = XInternAtom(display, "XdndSelection", False);
    x_->uriList = XInternAtom(display, "text/uri-list", False);
    x_->property = XInternAtom(display, "KELVANE_DRAGGED_FILES", False);
    XFixesSelectSelectionInput(display, x_->root, x_->dndSelection,
                               XFixesSetSelectionOwnerNotifyMask);
    selectRawEvents(display, false);
    readButtonMap();
    return {};
}

X11DragSource::~X11DragSource() = default;

bool X11DragSource::watching() const {
    return x_ != nullptr;
}

QString X11DragSource::unavailableReason() const {
    return reason_;
}

void X11DragSource::handleEvents() {
    Display* display = x_->display;
    QElapsedTimer busy;
    busy.start();
    while (XPending(display) > 0) {
        // A drag source answering at once can keep events coming: leave the rest for the
        // next turn of the event loop.
        if (busy.elapsed() >= maxBusyMs)
            return handleQueuedEvents();
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == x_->fixesEventBase + XFixesSelectionNotify) {
            const auto& notify = reinterpret_cast<const XFixesSelectionNotifyEvent&>(event);
            if (notify.subtype == XFixesSetSelectionOwnerNotify && notify.owner != noWindow)
                askForFiles(notify.selection_timestamp);
        } else if (x_->reader->handle(event)) {
            // the drag's files, or a piece of them
        } else if (event.type == MappingNotify && event.xmapping.request == MappingPointer) {
            readButtonMap();
        } else if (event.type == GenericEvent && event.xcookie.extension == x_->inputOpcode &&
                   XGetEventData(display, &event.xcookie) != 0) {
            const int button = static_cast<const XIRawEvent*>(event.xcookie.data)->detail;
            const int type = event.xcookie.evtype;
            XFreeEventData(display, &event.xcookie);
            rawEvent(type, button);
        }
    }
}

void X11DragSource::handleQueuedEvents() {
    if (XQLength(x_->display) > 0)
        QTimer::singleShot(0, this, [this] {
            if (x_)
                handleEvents();
        });
}

// Sources refuse requests stamped CurrentTime, and stop answering once the pointer is over
// a drop target: ask at once, with the time the drag took the selection.
void X11DragSource::askForFiles(unsigned long time) {
    x_->asked.start();
    x_->reader->read(x_->dndSelection, x_->uriList, time);
}

void X11DragSource::readButtonMap() {
    unsigned char map[256] = {};
    const int count = XGetPointerMapping(x_->display, map, sizeof map);
    x_->buttonMap.assign(map, map + std::clamp(count, 0, static_cast<int>(sizeof map)));
}

void X11DragSource::rawEvent(int type, int button) {
    constexpr int primaryButton = 1;
    if (type == XI_RawMotion) {
        if (x_->leftHeld)
            emit leftButtonDragged();
        return;
    }
    if (logicalButton(x_->buttonMap, button) != primaryButton)
        return;
    x_->leftHeld = type == XI_RawButtonPress;
    selectRawEvents(x_->display, x_->leftHeld);
    if (x_->leftHeld)
        emit leftButtonDown();
}

void X11DragSource::contentsArrived(std::vector<std::filesystem::path> files) {
    files_ = std::move(files);
    ++count_;
    const qint64 readNs = x_->asked.nsecsElapsed();
    const double cpuBefore = threadCpuMs();
    if (x_->leftHeld)
        emit leftButtonDragged(); // the dock shows before this returns
    if (!x_->timing)
        return;
    // Other programs share the processor: the handling's own processor time says more than
    // the clock.
    std::printf("drag of %zu files: read in %.1f ms, handled in %.1f ms (%.1f ms of processor)\n",
                files_.size(), static_cast<double>(readNs) / 1e6,
                static_cast<double>(x_->asked.nsecsElapsed() - readNs) / 1e6,
                threadCpuMs() - cpuBefore);
    std::fflush(stdout);
}

bool X11DragSource::leftButtonPressed() {
    if (!x_)
        return false;
    const PointerState state = queryPointer(x_->display, x_->root);
    handleQueuedEvents();
    return (state.buttons & Button1Mask) != 0;
}

std::int64_t X11DragSource::changeCount() const {
    return count_;
}

std::vector<std::filesystem::path> X11DragSource::fileURLs() {
    return files_;
}

QPoint X11DragSource::pointer() {
    if (!x_)
        return {};
    const PointerState state = queryPointer(x_->display, x_->root);
    handleQueuedEvents();
    // The X server counts device pixels; the dock places itself in Qt's points.
    const qreal ratio = qApp->devicePixelRatio();
    return {qRound(state.x / ratio), qRound(state.y / ratio)};
}

std::vector<DockScreen> X11DragSource::screens() const {
    std::vector<DockScreen> screens;
    for (const QScreen* screen : QGuiApplication::screens())
        screens.push_back({screen->geometry(), screen->availableGeometry()});
    return screens;
}

} // namespace kelvane
