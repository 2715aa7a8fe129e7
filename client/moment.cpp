#include "client/moment.h"

#include <windows.h>

namespace zorvane {

Moment ReadMoment() {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    const uint64_t steps = (uint64_t{now.dwHighDateTime} << 32) | now.dwLowDateTime;
    return {FromFileTime(steps), std::chrono::milliseconds(GetTickCount64())};
}

UtcTime FromFileTime(uint64_t steps) {
    const std::chrono::milliseconds sinceWindowsEpoch(static_cast<int64_t>(steps) /
                                                      kWindowsStepsPerMillisecond);
    return UtcTime(sinceWindowsEpoch - kWindowsEpochAge);
}

}  // namespace zorvane
