#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

// Xlib's own names for its display and event types, so that its macros stay out of here.
struct _XDisplay;
union _XEvent;

namespace kelvane {

// Reads the contents of another client's selection into memory, in one piece or in the
// pieces of an incremental transfer, as the events of the asking connection arrive: nothing
// here waits for the owner. A read that takes too long or grows too large ends empty.
class X11SelectionReader : public QObject {
    Q_OBJECT

public:
    // The owner must answer within the first, and send everything within the second.
    static constexpr int answerTimeoutMs = 300;
    static constexpr int transferTimeoutMs = 1000;
    // Thousands of long file names fit many times over; a hostile owner can't make us
    // hold more.
    static constexpr qsizetype maxBytes = 16 * 1024 * 1024;

    // The contents are delivered to `property` of `window`, a window of the asking
    // connection that nothing else writes to.
    X11SelectionReader(_XDisplay* display, unsigned long window, unsigned long property,
                       QObject* parent = nullptr);

    // Asks for `selection` as `target`, stamped with `time`; a read under way is dropped.
    void read(unsigned long selection, unsigned long target, unsigned long time);
    // Takes the connection's events about the read; false for any other event.
    bool handle(const _XEvent& event);

signals:
    // The whole contents; empty when the owner refused, was too slow or sent too much.
    void finished(QByteArray contents);

private:
    enum class Step { idle, awaitingAnswer, receivingPieces };

    void answered(unsigned long property);
    void pieceArrived();
    void finish(QByteArray contents);

    _XDisplay* display_;
    unsigned long window_;
    unsigned long property_;
    unsigned long incremental_;
    unsigned long time_ = 0;
    Step step_ = Step::idle;
    QByteArray contents_;
    QElapsedTimer started_;
    QTimer timeout_;
};

} // namespace kelvane
