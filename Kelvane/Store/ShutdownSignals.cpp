#include "Store/ShutdownSignals.h"

#include "Store/Store.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace kelvane {
namespace {

constexpr std::array<int, 3> watchedSignals = {SIGTERM, SIGINT, SIGHUP};

// Written by the handler, read by the event loop. Both ends are non-blocking: a handler
// must never wait, and a full pipe already holds a signal to act on.
int signalPipe[2] = {-1, -1};

extern "C" void onSignal(int number) {
    const int savedErrno = errno;
    const auto byte = static_cast<unsigned char>(number);
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
    errno = savedErrno;
}

} // namespace

ShutdownSignals::ShutdownSignals(QObject* parent)
    : QObject(parent) {
    if (signalPipe[0] < 0 && ::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        qFatal("Couldn’t watch for signals");
    notifier_ = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &ShutdownSignals::readPipe);
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int number : watchedSignals)
        ::sigaction(number, &action, nullptr);
}

ShutdownSignals::~ShutdownSignals() {
    for (const int number : watchedSignals)
        ::signal(number, SIG_DFL);
}

void ShutdownSignals::readPipe() {
    unsigned char byte = 0;
    while (::read(signalPipe[0], &byte, 1) == 1)
        emit received(byte);
}

void quitCleanlyOnShutdownSignals(Store& store) {
    auto* watcher = new ShutdownSignals(&store);
    QObject::connect(watcher, &ShutdownSignals::received, &store, [&store] {
        store.stopAll();
        QCoreApplication::exit(0);
    });
}

} // namespace kelvane
