#include "client/moment.h"

#include <windows.h>

namespace zorvane {

Moment ReadMoment() {
    using Milliseconds = std::chrono::milliseconds;
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    const uint64_t steps = (uint64_t{now.dwHighDateTime} << 32) | now.dwLowDateTime;
    const Milliseconds sinceWindowsEpoch(static_cast<int64_t>(steps) / kWindowsStepsPerMillisecond);
    return {UtcTime(sinceWindowsEpoch - kWindowsEpochAge), Milliseconds(GetTickCount64())};
}

}  // namespace zorvane
