#include "ProgressDisplay.h"

#include <cstdio>

namespace kelvane::cli {
namespace {

const char* stateWord(Job::State state) {
    switch (state) {
    case Job::State::queued:
        return "waiting";
    case Job::State::running:
        return "";
    case Job::State::done:
        return "done";
    case Job::State::failed:
        return "failed";
    case Job::State::stopped:
        return "stopped";
    }
    return "";
}

QString lineFor(const Job& job) {
    const int percent = static_cast<int>(job.progress * 100 + 0.5);
    const QString status = job.state == Job::State::running
                               ? QStringLiteral("%1%").arg(percent)
                               : QString::fromLatin1(stateWord(job.state));
    return QStringLiteral("%1  %2").arg(status, 7).arg(job.title());
}

} // namespace

void ProgressDisplay::show(const std::vector<const Job*>& jobs) {
    if (onTerminal_)
        redraw(jobs);
    else
        printCrossings(jobs);
    std::fflush(stderr);
}

void ProgressDisplay::redraw(const std::vector<const Job*>& jobs) {
    if (linesDrawn_ > 0)
        std::fprintf(stderr, "\x1b[%dA", linesDrawn_);
    for (const Job* job : jobs)
        std::fprintf(stderr, "\x1b[2K%s\n", lineFor(*job).toUtf8().constData());
    linesDrawn_ = static_cast<int>(jobs.size());
}

void ProgressDisplay::printCrossings(const std::vector<const Job*>& jobs) {
    tenthsShown_.resize(jobs.size(), -1);
    for (std::size_t index = 0; index < jobs.size(); ++index) {
        const Job& job = *jobs[index];
        const int tenth =
            job.state == Job::State::queued ? -1 : static_cast<int>(job.progress * 10);
        if (tenth <= tenthsShown_[index] || job.state == Job::State::failed)
            continue;
        tenthsShown_[index] = tenth;
        std::fprintf(stderr, "%3d%%  %s\n", tenth * 10, job.title().toUtf8().constData());
    }
}

} // namespace kelvane::cli
