#include "DropDock/X11SelectionReader.h"

// Xlib's headers define macros (None, Bool, Status…) that clash with Qt's: they come last.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <algorithm>

namespace kelvane {
namespace {

constexpr unsigned long noProperty = 0;

struct PropertyValue {
    Atom type = 0;
    int format = 0;
    QByteArray bytes; // only for 8-bit values
    bool empty = true;
    // False when more than was asked for was there; the property is then left in place.
    bool whole = false;
};

// Takes the property off the window, at most `limit` bytes of it. Taking it is what tells
// an owner sending in pieces that the next one may come.
PropertyValue takeProperty(Display* display, Window window, Atom property, qsizetype limit) {
    PropertyValue value;
    int format = 0;
    unsigned long items = 0;
    unsigned long remaining = 0;
    unsigned char* data = nullptr;
    const long longs = static_cast<long>(limit / 4 + 1);
    if (XGetWindowProperty(display, window, property, 0, longs, True, AnyPropertyType, &value.type,
                           &format, &items, &remaining, &data) != Success)
        return value;
    value.format = format;
    value.whole = remaining == 0;
    value.empty = items == 0;
    if (data != nullptr && format == 8)
        value.bytes =
            QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(items));
    if (data != nullptr)
        XFree(data);
    return value;
}

} // namespace

X11SelectionReader::X11SelectionReader(Display* display, unsigned long window,
                                       unsigned long property, QObject* parent)
    : QObject(parent)
    , display_(display)
    , window_(window)
    , property_(property)
    , incremental_(XInternAtom(display, "INCR", False)) {
    // The pieces of a long transfer are announced as new values of our property.
    XSelectInput(display, window, PropertyChangeMask);
    timeout_.setSingleShot(true);
    connect(&timeout_, &QTimer::timeout, this, [this] { finish({}); });
}

void X11SelectionReader::read(unsigned long selection, unsigned long target, unsigned long time) {
    contents_.clear();
    time_ = time;
    step_ = Step::awaitingAnswer;
    started_.start();
    XConvertSelection(display_, selection, target, property_, window_, time);
    XFlush(display_);
    timeout_.start(answerTimeoutMs);
}

bool X11SelectionReader::handle(const XEvent& event) {
    if (event.type == SelectionNotify && event.xselection.requestor == window_) {
        // An answer to an earlier request carries that request's time; a few owners leave
        // the time out.
        const unsigned long time = event.xselection.time;
        if (step_ == Step::awaitingAnswer && (time == time_ || time == CurrentTime))
            answered(event.xselection.property);
        return true;
    }
    if (event.type == PropertyNotify && event.xproperty.window == window_) {
        if (step_ == Step::receivingPieces && event.xproperty.atom == property_ &&
            event.xproperty.state == PropertyNewValue)
            pieceArrived();
        return true;
    }
    return false;
}

void X11SelectionReader::answered(unsigned long property) {
    if (property == noProperty)
        return finish({}); // the owner refused
    PropertyValue value = takeProperty(display_, window_, property_, maxBytes);
    if (value.type == incremental_) {
        // Taking the announcement asked for the first piece.
        step_ = Step::receivingPieces;
        timeout_.start(std::max(0, transferTimeoutMs - static_cast<int>(started_.elapsed())));
        return;
    }
    finish(value.format == 8 && value.whole ? std::move(value.bytes) : QByteArray());
}

void X11SelectionReader::pieceArrived() {
    // Pieces that follow each other closely can hold off the time-out's event.
    if (started_.hasExpired(transferTimeoutMs))
        return finish({});
    PropertyValue piece = takeProperty(display_, window_, property_, maxBytes - contents_.size());
    if (!piece.whole || piece.type == incremental_)
        return finish({});
    if (piece.empty) // an empty piece ends the transfer
        return finish(std::move(contents_));
    if (piece.format != 8)
        return finish({});
    contents_.append(piece.bytes);
    if (contents_.size() > maxBytes)
        finish({}); // the owner waits in vain for us to take the next piece
}

void X11SelectionReader::finish(QByteArray contents) {
    step_ = Step::idle;
    timeout_.stop();
    contents_.clear();
    emit finished(std::move(contents));
}

} // namespace kelvane
