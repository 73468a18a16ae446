#pragma once

#include <QObject>

class QSocketNotifier;

namespace kelvane {

class Store;

// Turns SIGTERM, SIGINT and SIGHUP (logging out, Ctrl+C, a closed terminal) into a Qt
// signal on the thread that made it. The handler itself only writes the signal's number to
// a pipe; the event loop reads it, so no work happens inside the handler. One per process;
// destroying it restores the default handling.
class ShutdownSignals : public QObject {
    Q_OBJECT

public:
    explicit ShutdownSignals(QObject* parent = nullptr);
    ~ShutdownSignals() override;

signals:
    void received(int signalNumber);

private:
    void readPipe();

    QSocketNotifier* notifier_;
};

// For the application: on SIGTERM, SIGINT or SIGHUP, stops every job (workers stopped,
// partial output removed, waiting jobs stopped) and leaves the event loop with status 0;
// the store's destructor then waits for the workers to be gone. The watcher lives as long
// as the store.
void quitCleanlyOnShutdownSignals(Store& store);

} // namespace kelvane
