#pragma once

#include "Store/Job.h"

#include <QString>

#include <cstdint>

namespace kelvane::JobText {

// "2.4 MB → 1.1 MB (-54%)"; the output size alone when either size is unknown; no bracket
// when nothing changed.
QString sizeLine(std::int64_t inputBytes, std::int64_t outputBytes);

// "42%": the progress of a running job.
QString percent(double progress);

// What the status line of a finished or failed job says.
QString doneLabel(const Job& job);
QString failureLabel(const Job& job);

// The symbol of the row's file-type icon: the type of the result for combining recipes,
// otherwise the type of the first input.
std::string_view fileTypeSymbol(const Job& job);

} // namespace kelvane::JobText
