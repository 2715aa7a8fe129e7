/** From findings to what the machine can report. */
#pragma once

#include <string>
#include <vector>

#include "monitor/doctor/check.h"

namespace zorvane {

enum class Reporting {
    kNow,
    /** After the steps. */
    kAfterSteps,
    /** Something is in the way that nobody can change. */
    kNever,
};

/** What can be said about one kind of reading. */
struct Verdict {
    /** "gpu" or "cpu". */
    const char* what;
    /** For people: "NVIDIA GPUs". */
    const char* name;
    Reporting reporting = Reporting::kNow;
    /** What to do, in this order; filled for kAfterSteps. */
    std::vector<std::string> steps;
    /** What is in the way and cannot be changed; filled for kNever. */
    std::vector<std::string> obstacles;
};

/** One verdict for each kind of reading. */
std::vector<Verdict> Judge(const Findings& findings);

bool CanReportSomething(const std::vector<Verdict>& verdicts);

}  // namespace zorvane
