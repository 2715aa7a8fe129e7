/** Events out of JSON lines, as a recording holds them. */
#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "monitor/event.h"

namespace zorvane {

/** What is wrong with a line, fit to follow "line 5: ". */
struct LineError {
    std::string text;
};

/**
 * Reads what JsonLine writes; keys that it does not write are skipped. A GpuStatic has no readings
 * of its own then: the lines lack them, too.
 */
std::variant<Event, LineError> ReadJsonLine(std::string_view line);

}  // namespace zorvane
