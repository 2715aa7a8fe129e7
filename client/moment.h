/** Points in time. */
#pragma once

#include <chrono>
#include <cstdint>

namespace zorvane {

/** A point of the calendar, in UTC. */
using UtcTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::milliseconds>;

/** Now, on both of the scales that are needed. Passed on as a value, so that tests need no clock.
 */
struct Moment {
    /** For people and files; jumps when the clock is set. */
    UtcTime utc{};
    /** Never runs backwards; for pauses and limits. Its zero point is arbitrary. */
    std::chrono::milliseconds tick{};
};

/** From the beginning of Windows' calendar, 1601, to that of UtcTime, 1970. */
constexpr std::chrono::milliseconds kWindowsEpochAge{11644473600000};

/** Windows counts time in steps of 100 ns. */
constexpr int64_t kWindowsStepsPerMillisecond = 10000;

Moment ReadMoment();

/** A time as Windows keeps it: in steps of 100 ns since 1601. */
UtcTime FromFileTime(uint64_t steps);

}  // namespace zorvane
