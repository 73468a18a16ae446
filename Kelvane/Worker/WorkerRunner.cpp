#include "Worker/WorkerRunner.h"

#include "Worker/Watchdog.h"
#include "Worker/WorkerProcess.h"
#include "Worker/WorkerProtocol.h"
#include "catalogue/FileSize.h"
#include "naming/ConversionError.h"
#include "naming/PendingOutput.h"

#include <QCoreApplication>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <set>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// How long a worker told to stop has before it is killed.
constexpr std::chrono::milliseconds stopGrace{2000};

struct WorkerOutcome {
    std::vector<fs::path> outputs;
    std::optional<QString> error;
    double lastProgress = 0;
    bool accepted = false; // the worker read the job
    bool finished = false; // the worker said "done"
    bool timedOut = false;
    bool stopped = false; // a stop was requested
};

void handle(const QByteArray& line, WorkerOutcome& outcome, const Engine::Progress& progress) {
    const auto message = WorkerProtocol::parse(line);
    if (!message)
        return;
    switch (message->kind) {
    case WorkerProtocol::Message::Kind::accepted:
        outcome.accepted = true;
        break;
    case WorkerProtocol::Message::Kind::progress:
        outcome.lastProgress = message->fraction;
        progress(message->fraction);
        break;
    case WorkerProtocol::Message::Kind::output:
        outcome.outputs.push_back(message->output);
        break;
    case WorkerProtocol::Message::Kind::error:
        outcome.error = message->sentence;
        break;
    case WorkerProtocol::Message::Kind::done:
        outcome.finished = true;
        break;
    }
}

// Reads messages until the worker says it is done, closes its end, the watchdog finds it
// hung, or a stop is requested.
WorkerOutcome readMessages(int fd, Watchdog& watchdog, const Engine::Progress& progress,
                           const StopSignal& stop) {
    WorkerOutcome outcome;
    QByteArray pending;
    char buffer[4096];
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            watchdog.nextLook() - Clock::now());
        if (left.count() <= 0) {
            if (watchdog.mayGoOn())
                continue;
            outcome.timedOut = true;
            return outcome;
        }
        pollfd watched[2] = {{fd, POLLIN, 0}, {stop.fd(), POLLIN, 0}};
        const int ready =
            ::poll(watched, 2, static_cast<int>(std::min<std::int64_t>(left.count(), 1000)));
        if (stop.requested()) {
            outcome.stopped = true;
            return outcome;
        }
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            continue;
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return outcome;
        pending.append(buffer, count);
        for (qsizetype end = pending.indexOf('\n'); end >= 0; end = pending.indexOf('\n')) {
            handle(pending.left(end), outcome, progress);
            pending.remove(0, end + 1);
        }
        if (outcome.finished)
            return outcome; // the worker now waits for its next job
    }
}

// Unpublished outputs of a dead worker, in the folders results are written to.
void removeLeftovers(pid_t worker, const std::vector<fs::path>& inputs) {
    std::set<fs::path> folders;
    for (const fs::path& input : inputs)
        folders.insert(input.parent_path());
    const std::string prefix = temporaryPrefix(worker);
    for (const fs::path& folder : folders) {
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(folder, error))
            if (entry.path().filename().string().starts_with(prefix))
                fs::remove_all(entry.path(), error);
    }
}

// The input the worker was on when it stopped, judged from its progress.
std::string inputAt(double progress, const std::vector<fs::path>& inputs) {
    const auto count = static_cast<double>(inputs.size());
    const auto index = std::min(inputs.size() - 1, static_cast<std::size_t>(progress * count));
    return inputs[index].filename().string();
}

WorkerOutcome runOn(WorkerProcess& worker, const QByteArray& job,
                    const WorkerRunner::Limits& limits, const Engine::Progress& progress,
                    const StopSignal& stop) {
    if (!worker.send(job))
        return {};
    Watchdog watchdog(worker.pid(), limits.wallClock);
    WorkerOutcome outcome = readMessages(worker.socket(), watchdog, progress, stop);
    if (outcome.timedOut)
        worker.kill();
    return outcome;
}

} // namespace

WorkerRunner::Limits WorkerRunner::limitsFor(std::int64_t inputBytes) {
    const std::int64_t tensOfMegabytes = std::max<std::int64_t>(0, inputBytes) / 10'000'000;
    const auto seconds = static_cast<std::uint64_t>(120 + 60 * tensOfMegabytes);
    return {std::chrono::seconds(seconds), 2 * seconds, std::uint64_t{8} << 30};
}

fs::path WorkerRunner::defaultWorkerPath() {
    if (QCoreApplication::instance() != nullptr) {
        const fs::path beside =
            fs::path(QCoreApplication::applicationDirPath().toStdString()) / "kelvane-worker";
        if (::access(beside.c_str(), X_OK) == 0)
            return beside;
    }
    return KELVANE_WORKER_PATH;
}

WorkerRunner::WorkerRunner(fs::path worker)
    : pool_(std::make_shared<WorkerPool>(std::move(worker))) {}

std::vector<fs::path> WorkerRunner::operator()(Recipe recipe, const std::vector<fs::path>& inputs,
                                               const ConversionOptions& options,
                                               const Engine::Progress& progress) const {
    const StopSignal never;
    return (*this)(recipe, inputs, options, progress, never);
}

std::vector<fs::path> WorkerRunner::operator()(Recipe recipe, const std::vector<fs::path>& inputs,
                                               const ConversionOptions& options,
                                               const Engine::Progress& progress,
                                               const StopSignal& stop) const {
    if (inputs.empty())
        throw ConversionError::nothingToConvert();
    std::int64_t inputBytes = 0;
    for (const fs::path& input : inputs)
        inputBytes += FileSize::of(input);
    const Limits limits = fixedLimits_.value_or(limitsFor(inputBytes));
    const QByteArray job =
        WorkerProtocol::jobLine({limits.cpuSeconds, limits.memoryBytes, recipe, options, inputs});

    // An idle worker that died while it waited never read the job: one more try with a new
    // worker.
    std::unique_ptr<WorkerProcess> worker = pool_->take();
    WorkerOutcome outcome = runOn(*worker, job, limits, progress, stop);
    if (!outcome.accepted && !outcome.timedOut && !outcome.stopped) {
        worker = WorkerProcess::start(pool_->workerPath());
        outcome = runOn(*worker, job, limits, progress, stop);
    }

    if (outcome.finished) {
        pool_->giveBack(std::move(worker));
        if (outcome.error)
            throw ConversionError(outcome.error->toStdString());
        return outcome.outputs;
    }
    if (outcome.stopped) {
        worker->stop(stopGrace);
        removeLeftovers(worker->pid(), inputs);
        throw JobStopped();
    }
    worker->kill();
    const int status = worker->wait();
    removeLeftovers(worker->pid(), inputs);
    const std::string name = inputAt(outcome.lastProgress, inputs);
    const bool outOfCpuTime = WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU;
    if (outcome.timedOut || outOfCpuTime)
        throw ConversionError::converterTookTooLong(name);
    throw ConversionError::converterStopped(name);
}

} // namespace kelvane
