/** Points in time, and how they are written. */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zorvane {

/** A point of the calendar, in UTC. */
using UtcTime = std::chrono::sys_time<std::chrono::milliseconds>;

/** Now, on both of the scales that are needed. Passed on as a value, so that tests need no clock.
 */
struct Moment {
    /** For people and files; jumps when the clock is set. */
    UtcTime utc{};
    /** Never runs backwards; for pauses and limits. Its zero point is arbitrary. */
    std::chrono::milliseconds tick{};
};

Moment ReadMoment();

/** A time as Windows keeps it: in steps of 100 ns since 1601. */
UtcTime FromFileTime(uint64_t steps);

/** RFC 3339 with milliseconds: "2024-11-21T04:42:11.123Z". */
std::string Rfc3339(UtcTime time);

/** Parses exactly what Rfc3339 writes. */
std::optional<UtcTime> ParseRfc3339(std::string_view text);

/** The time of day on the machine's own clock: "04:42:11". */
std::string LocalClock(UtcTime time);

}  // namespace zorvane
