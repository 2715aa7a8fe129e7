/** How points in time are written. */
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "client/moment.h"

namespace zorvane {

/** RFC 3339 with milliseconds: "2024-11-21T04:42:11.123Z". */
std::string Rfc3339(UtcTime time);

/** Parses exactly what Rfc3339 writes. */
std::optional<UtcTime> ParseRfc3339(std::string_view text);

/** The time of day on the machine's own clock: "04:42:11". */
std::string LocalClock(UtcTime time);

}  // namespace zorvane
