#include "Worker/WorkerProcess.h"

#include <QScopeGuard>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace kelvane {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void throwCouldNotStart(int error) {
    throw std::system_error(error, std::generic_category(), "Couldn’t start the converter");
}

fs::path makeTemporaryFolder() {
    std::string name = (fs::temp_directory_path() / "kelvane-worker-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        throwCouldNotStart(errno);
    return name;
}

std::vector<std::string> environmentFor(const fs::path& temporaryFolder) {
    std::vector<std::string> environment;
    bool hasRuntimeFolder = false;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view variable(*entry);
        hasRuntimeFolder = hasRuntimeFolder || variable.starts_with("XDG_RUNTIME_DIR=");
        if (!variable.starts_with("TMPDIR=") && !variable.starts_with("MALLOC_ARENA_MAX="))
            environment.emplace_back(variable);
    }
    environment.push_back("TMPDIR=" + temporaryFolder.string());
    // Outside a desktop session (a service, a container, a remote shell) there is no runtime
    // folder, and Qt would warn of it on every document job: the worker's own private folder
    // stands in.
    if (!hasRuntimeFolder)
        environment.push_back("XDG_RUNTIME_DIR=" + temporaryFolder.string());
    // Each glibc arena reserves 64 MiB of address space; a many-threaded decoder would
    // otherwise reach the address-space limit without using the memory.
    environment.emplace_back("MALLOC_ARENA_MAX=4");
    return environment;
}

std::vector<char*> pointersTo(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    for (std::string& string : strings)
        pointers.push_back(string.data());
    pointers.push_back(nullptr);
    return pointers;
}

// The worker's end of the socket becomes its standard input and output.
pid_t spawn(const fs::path& worker, std::optional<Recipe> preparing,
            const fs::path& temporaryFolder, int workerSocket) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const auto destroyActions = qScopeGuard([&] { posix_spawn_file_actions_destroy(&actions); });
    posix_spawn_file_actions_adddup2(&actions, workerSocket, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, workerSocket, STDOUT_FILENO);

    // A group of its own: Ctrl+C in a terminal reaches the runner, which stops its workers
    // itself and cleans up after them, rather than killing them behind its back.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    const auto destroyAttributes = qScopeGuard([&] { posix_spawnattr_destroy(&attributes); });
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);

    std::vector<std::string> arguments = {worker.string()};
    if (preparing)
        arguments.insert(arguments.end(), {"--prepare", std::string(preparing->rawValue())});
    std::vector<std::string> environment = environmentFor(temporaryFolder);
    std::vector<char*> argv = pointersTo(arguments);
    std::vector<char*> envp = pointersTo(environment);
    pid_t pid = 0;
    const int error = ::posix_spawn(&pid, argv[0], &actions, &attributes, argv.data(), envp.data());
    if (error != 0)
        throwCouldNotStart(error);
    return pid;
}

} // namespace

std::unique_ptr<WorkerProcess> WorkerProcess::start(const fs::path& worker,
                                                    std::optional<Recipe> preparing) {
    const fs::path temporaryFolder = makeTemporaryFolder();
    auto removeFolder = qScopeGuard([&] {
        std::error_code ignored;
        fs::remove_all(temporaryFolder, ignored);
    });
    int sockets[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
        throwCouldNotStart(errno);
    const auto closeWorkerEnd = qScopeGuard([&] { ::close(sockets[1]); });
    pid_t pid = 0;
    try {
        pid = spawn(worker, preparing, temporaryFolder, sockets[1]);
    } catch (...) {
        ::close(sockets[0]);
        throw;
    }
    removeFolder.dismiss();
    return std::unique_ptr<WorkerProcess>(new WorkerProcess(pid, sockets[0], temporaryFolder));
}

WorkerProcess::~WorkerProcess() {
    // An idle worker ends by itself when its socket closes. Killing it at once could catch
    // it halfway through its exit; one that is still there after a moment is killed.
    ::close(socket_);
    if (!reaped_)
        endWithin(std::chrono::milliseconds(2000), 0);
    std::error_code ignored;
    fs::remove_all(temporaryFolder_, ignored);
}

bool WorkerProcess::reapWithin(std::chrono::milliseconds grace) {
    using namespace std::chrono;
    const auto deadline = steady_clock::now() + grace;
    // The worker's pidfd becomes readable the moment it ends; without one, the wait polls.
    const int ending = static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0));
    const auto closeEnding = qScopeGuard([&] {
        if (ending >= 0)
            ::close(ending);
    });
    for (;;) {
        int status = 0;
        const pid_t ended = ::waitpid(pid_, &status, WNOHANG);
        if (ended == pid_ || (ended < 0 && errno != EINTR)) {
            reaped_ = true;
            return true;
        }
        const auto now = steady_clock::now();
        if (now >= deadline)
            return false;
        const auto left = duration_cast<milliseconds>(deadline - now) + 1ms;
        if (ending >= 0) {
            pollfd readable{ending, POLLIN, 0};
            ::poll(&readable, 1, static_cast<int>(left.count()));
        } else {
            ::usleep(5'000);
        }
    }
}

void WorkerProcess::endWithin(std::chrono::milliseconds grace, int signal) {
    if (reaped_)
        return;
    if (signal != 0)
        ::kill(pid_, signal);
    if (reapWithin(grace))
        return;
    kill();
    wait();
}

bool WorkerProcess::send(const QByteArray& line) const {
    const char* data = line.constData();
    auto left = static_cast<std::size_t>(line.size());
    while (left > 0) {
        const ssize_t sent = ::send(socket_, data, left, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0)
            return false;
        data += sent;
        left -= static_cast<std::size_t>(sent);
    }
    return true;
}

void WorkerProcess::kill() const {
    if (!reaped_)
        ::kill(pid_, SIGKILL);
}

void WorkerProcess::stop(std::chrono::milliseconds grace) {
    endWithin(grace, SIGTERM);
}

int WorkerProcess::wait() {
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    reaped_ = true;
    return status;
}

void WorkerProcess::clearTemporaryFolder() const {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(temporaryFolder_, error))
        fs::remove_all(entry.path(), error);
}

std::unique_ptr<WorkerProcess> WorkerPool::take() {
    {
        const std::lock_guard lock(mutex_);
        if (!idle_.empty()) {
            std::unique_ptr<WorkerProcess> worker = std::move(idle_.back());
            idle_.pop_back();
            return worker;
        }
    }
    return WorkerProcess::start(worker_);
}

void WorkerPool::startAhead(Recipe recipe) {
    std::unique_ptr<WorkerProcess> worker = WorkerProcess::start(worker_, recipe);
    const std::lock_guard lock(mutex_);
    idle_.push_back(std::move(worker));
}

void WorkerPool::giveBack(std::unique_ptr<WorkerProcess> worker) {
    if (++worker->jobsServed >= jobsPerWorker)
        return;
    worker->clearTemporaryFolder();
    const std::lock_guard lock(mutex_);
    idle_.push_back(std::move(worker));
}

} // namespace kelvane
