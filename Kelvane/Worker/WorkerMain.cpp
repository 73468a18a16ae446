// kelvane-worker: runs one job's tool work in a process of its own, so that a file that
// crashes or hangs a decoder takes down only this process and fails only its job. See
// WorkerProtocol.h for the job and the messages.
#include "Worker/WorkerProtocol.h"
#include "catalogue/Recipe.h"
#include "engine/Engine.h"
#include "engine/ToolFamilies.h"
#include "options/ConversionOptions.h"

#include <QCoreApplication>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace kelvane;

// Messages go to a private copy of the socket; the standard output itself is pointed at
// the standard error, so whatever a library prints cannot be taken for a message.
class MessageChannel {
public:
    MessageChannel()
        : fd_(::dup(STDOUT_FILENO)) {
        ::dup2(STDERR_FILENO, STDOUT_FILENO);
    }

    void send(const QByteArray& line) {
        const std::lock_guard lock(mutex_);
        const char* data = line.constData();
        auto left = static_cast<std::size_t>(line.size());
        while (left > 0) {
            const ssize_t written = ::send(fd_, data, left, MSG_NOSIGNAL);
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                std::_Exit(3); // the runner is gone; nobody is waiting for the result
            data += written;
            left -= static_cast<std::size_t>(written);
        }
    }

private:
    int fd_;
    std::mutex mutex_;
};

// The job line, read byte by byte so nothing after it is consumed; none at end of input
// (the runner closed the socket of a spare it no longer needs).
std::optional<QByteArray> readJobLine() {
    constexpr qsizetype longest = 16 << 20;
    QByteArray line;
    char byte = 0;
    for (;;) {
        const ssize_t count = ::read(STDIN_FILENO, &byte, 1);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0 || line.size() > longest)
            return std::nullopt;
        if (byte == '\n')
            return line;
        line.append(byte);
    }
}

// A worker must not outlive the application that started it, even when it hangs.
void exitWithParent() {
    const pid_t parent = ::getppid();
    std::thread([parent] {
        while (::getppid() == parent)
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
        std::_Exit(4);
    }).detach();
}

// Limits for the job about to run. Only soft limits are set, so that the next job can have
// its own: CPU time is counted over the life of the process, so its limit is what has been
// used so far plus this job's share. Passing it ends the worker with SIGXCPU; the address
// space limit turns a runaway allocation into a failed one. Sanitizer builds reserve
// terabytes of shadow memory up front, so they run without that one.
void applyLimits(rlim_t cpuSeconds, rlim_t memoryBytes) {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto used = static_cast<rlim_t>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + 1);
    const auto setSoft = [](int resource, rlim_t soft) {
        rlimit value{};
        ::getrlimit(resource, &value);
        value.rlim_cur = std::min(soft, value.rlim_max);
        ::setrlimit(resource, &value);
    };
    if (cpuSeconds > 0)
        setSoft(RLIMIT_CPU, used + cpuSeconds);
#if !defined(__SANITIZE_ADDRESS__)
    if (memoryBytes > 0)
        setSoft(RLIMIT_AS, memoryBytes);
#else
    (void)memoryBytes;
#endif
}

// Some tools report every block they write, thousands of times a second; each line wakes
// the runner up. A few lines a second show the same progress: the first report and the end
// always go, the others at most every 50 ms.
class ProgressThrottle {
public:
    bool admits(double fraction) {
        constexpr std::chrono::milliseconds period(50);
        const auto now = std::chrono::steady_clock::now();
        const std::lock_guard lock(mutex_);
        if (last_ && fraction < 1.0 && now - *last_ < period)
            return false;
        last_ = now;
        return true;
    }

private:
    std::mutex mutex_;
    std::optional<std::chrono::steady_clock::time_point> last_;
};

void runJob(MessageChannel& channel, Recipe recipe, const ConversionOptions& options,
            const std::vector<std::filesystem::path>& inputs) {
    ProgressThrottle throttle;
    const Engine::Progress progress = [&channel, &throttle](double fraction) {
        if (throttle.admits(fraction))
            channel.send(WorkerProtocol::progressLine(fraction));
    };
    try {
        for (const auto& output : Engine::run(recipe, inputs, options, progress))
            channel.send(WorkerProtocol::outputLine(output));
    } catch (const std::exception& failure) {
        channel.send(WorkerProtocol::errorLine(QString::fromUtf8(failure.what())));
    }
}

// A worker started ahead of its job may be told the recipe it will get (`--prepare
// RECIPE`): it loads that recipe's tool family, and the application the family needs,
// while its runner is still getting the job ready. A family that fails to load fails the
// job later, with its sentence.
void prepareFor(int argc, char** argv) {
    if (argc < 3 || std::string_view(argv[1]) != "--prepare")
        return;
    const auto recipe = Recipe::fromRawValue(argv[2]);
    if (!recipe)
        return;
    try {
        const ToolFamily& tools = ToolFamilies::load(ToolFamilies::familyOf(*recipe));
        if (tools.startApplication == nullptr)
            return;
        static int applicationArgc = 1;
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        static const std::unique_ptr<QCoreApplication> application(
            tools.startApplication(applicationArgc, argv));
    } catch (const std::exception&) {
    }
}

// With KELVANE_WORKER_STATS set, each job's peak memory and CPU time go to the standard
// error as one line, for the corruption corpus and for profiling. The kernel's peak (VmHWM)
// is reset before every job, so a reused worker reports each job on its own.
class JobStatistics {
public:
    JobStatistics()
        : enabled_(std::getenv("KELVANE_WORKER_STATS") != nullptr) {}

    void start() {
        if (!enabled_)
            return;
        std::ofstream("/proc/self/clear_refs") << "5";
        cpuAtStart_ = cpuMilliseconds();
    }

    void report(Recipe recipe, const std::vector<std::filesystem::path>& inputs) const {
        if (!enabled_)
            return;
        const std::string name(recipe.rawValue());
        const std::string first =
            inputs.empty() ? std::string() : inputs.front().filename().string();
        std::fprintf(stderr, "kelvane-worker: peak %ld KiB, %ld ms CPU: %s %s\n", peakKiB(),
                     cpuMilliseconds() - cpuAtStart_, name.c_str(), first.c_str());
    }

private:
    static long cpuMilliseconds() {
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000 +
               (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000;
    }

    static long peakKiB() {
        std::ifstream status("/proc/self/status");
        std::string key;
        long value = 0;
        while (status >> key) {
            if (key == "VmHWM:" && status >> value)
                return value;
            status.ignore(4096, '\n');
        }
        return 0;
    }

    bool enabled_;
    long cpuAtStart_ = 0;
};

} // namespace

int main(int argc, char** argv) {
    // Told to stop, a worker ends at once, whatever its parent's own handling was; what it
    // was writing has no name yet and goes with it.
    ::signal(SIGTERM, SIG_DFL);
    exitWithParent();
    const rlimit noCoreDumps{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCoreDumps);
    MessageChannel channel;
    JobStatistics statistics;
    prepareFor(argc, argv);

    // One job after another until the runner closes the socket.
    while (const auto line = readJobLine()) {
        const auto job = WorkerProtocol::parseJob(*line);
        if (!job)
            return 2;
        channel.send(WorkerProtocol::acceptedLine());
        applyLimits(job->cpuSeconds, job->memoryBytes);
        statistics.start();
        runJob(channel, job->recipe, job->options, job->inputs);
        statistics.report(job->recipe, job->inputs);
        channel.send(WorkerProtocol::doneLine());
    }
    // Nothing is left to save, and the libraries a job loaded (the GUI application for
    // documents, fonts, codecs) must not be torn down by static destructors in whatever
    // order they run: that crashed now and then as a worker exited.
    std::_Exit(0);
}
