#pragma once

#include "Store/Job.h"

#include <vector>

namespace kelvane::cli {

// Progress on standard error: on a terminal one live line per job, redrawn in place;
// otherwise a plain line whenever a job crosses another tenth.
class ProgressDisplay {
public:
    explicit ProgressDisplay(bool onTerminal)
        : onTerminal_(onTerminal) {}

    void show(const std::vector<const Job*>& jobs);

private:
    void redraw(const std::vector<const Job*>& jobs);
    void printCrossings(const std::vector<const Job*>& jobs);

    bool onTerminal_;
    int linesDrawn_ = 0;
    std::vector<int> tenthsShown_;
};

} // namespace kelvane::cli
