#include "client/restart.h"

#include <algorithm>

namespace zorvane {

unsigned NextAttempt(unsigned last, std::chrono::milliseconds lived) {
    return lived >= kHealthyRun ? 1 : last + 1;
}

std::chrono::milliseconds RestartPause(unsigned attempt) {
    // After six doublings the longest pause applies anyway; the limit keeps the shift defined.
    const unsigned doublings = std::min(attempt > 0 ? attempt - 1 : 0, 6u);
    return std::min<std::chrono::milliseconds>(std::chrono::seconds(1u << doublings),
                                               kLongestRestartPause);
}

}  // namespace zorvane
