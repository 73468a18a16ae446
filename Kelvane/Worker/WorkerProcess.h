#pragma once

#include <QByteArray>

#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <sys/types.h>
#include <vector>

namespace kelvane {

// A started kelvane-worker, waiting for its job on a socket that also carries its messages
// back, with a temporary folder of its own (its TMPDIR). Destroying it closes the socket,
// lets the process end (killing it if it has not within 2 s), reaps it and removes the
// folder.
class WorkerProcess {
public:
    static std::unique_ptr<WorkerProcess> start(const std::filesystem::path& worker);
    ~WorkerProcess();
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    pid_t pid() const { return pid_; }
    int socket() const { return socket_; }

    // False when the worker is gone (it could not take the job).
    bool send(const QByteArray& line) const;
    void kill() const;
    // Tells the worker to end (SIGTERM), kills it if it is still there after `grace`, and
    // reaps it.
    void stop(std::chrono::milliseconds grace);
    // Waits for the process to end; its wait status.
    int wait();
    // Empties the worker's temporary folder between jobs.
    void clearTemporaryFolder() const;
    int jobsServed = 0;

private:
    WorkerProcess(pid_t pid, int socket, std::filesystem::path temporaryFolder)
        : pid_(pid)
        , socket_(socket)
        , temporaryFolder_(std::move(temporaryFolder)) {}

    // True when the process ended and was reaped within `grace`.
    bool reapWithin(std::chrono::milliseconds grace);
    // Sends `signal` (none when 0), then kills the process if it is still there after
    // `grace`; reaps it either way.
    void endWithin(std::chrono::milliseconds grace, int signal);

    pid_t pid_;
    int socket_;
    std::filesystem::path temporaryFolder_;
    bool reaped_ = false;
};

// Idle workers, kept for the next job: starting one costs the loading of every codec
// library, serving a job on one that is already running costs a message. A worker is
// retired after a number of jobs, so that nothing one job leaves in memory lasts for ever.
// Shared by copies of a runner.
class WorkerPool {
public:
    static constexpr int jobsPerWorker = 100;

    explicit WorkerPool(std::filesystem::path worker)
        : worker_(std::move(worker)) {}

    // An idle worker, or a new one.
    std::unique_ptr<WorkerProcess> take();
    // A worker that finished its job cleanly, for the next one.
    void giveBack(std::unique_ptr<WorkerProcess> worker);
    const std::filesystem::path& workerPath() const { return worker_; }

private:
    std::filesystem::path worker_;
    std::mutex mutex_;
    std::vector<std::unique_ptr<WorkerProcess>> idle_;
};

} // namespace kelvane
