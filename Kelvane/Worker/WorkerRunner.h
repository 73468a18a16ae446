#pragma once

#include "Worker/StopSignal.h"
#include "catalogue/Recipe.h"
#include "engine/Engine.h"
#include "options/ConversionOptions.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace kelvane {

class WorkerPool;

// Runs a job in a kelvane-worker process (see WorkerProtocol.h) instead of in this one,
// on an idle worker of an earlier job when there is one.
// A worker that crashes, is killed or runs past its limits fails only its job: its
// unpublished outputs and its temporary folder are removed and the job gets a sentence
// naming the file it was working on. Blocking, like Engine::run, whose signature it has.
class WorkerRunner {
public:
    struct Limits {
        std::chrono::milliseconds wallClock; // the watchdog for hangs (see Watchdog.h)
        std::uint64_t cpuSeconds;
        std::uint64_t memoryBytes; // address space
    };

    // Generous enough for a long HEVC export on two cores, proportional to the input.
    static Limits limitsFor(std::int64_t inputBytes);

    // The worker beside this executable when there is one, else the one of the build tree.
    static std::filesystem::path defaultWorkerPath();

    explicit WorkerRunner(std::filesystem::path worker = defaultWorkerPath());

    // Replaces the size-based limits, for tests.
    void setLimits(Limits limits) { fixedLimits_ = limits; }

    std::vector<std::filesystem::path> operator()(Recipe recipe,
                                                  const std::vector<std::filesystem::path>& inputs,
                                                  const ConversionOptions& options,
                                                  const Engine::Progress& progress) const;
    // The same, stopping when `stop` is requested: the worker is told (SIGTERM), killed
    // 2 s later if it is still there, its unpublished output removed; throws JobStopped.
    std::vector<std::filesystem::path> operator()(Recipe recipe,
                                                  const std::vector<std::filesystem::path>& inputs,
                                                  const ConversionOptions& options,
                                                  const Engine::Progress& progress,
                                                  const StopSignal& stop) const;

private:
    std::shared_ptr<WorkerPool> pool_;
    std::optional<Limits> fixedLimits_;
};

} // namespace kelvane
