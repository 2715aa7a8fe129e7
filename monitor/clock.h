/** Points in time as text. */
#pragma once

#include <windows.h>

#include <string>

namespace zorvane {

/** RFC 3339 with milliseconds, `time` being UTC: "2024-11-21T04:42:11.123Z". */
std::string Rfc3339(const SYSTEMTIME& time);

/** Now, as Rfc3339 writes it. */
std::string UtcNow();

/** Now on the machine's own clock: "04:42:11". */
std::string LocalClock();

}  // namespace zorvane
