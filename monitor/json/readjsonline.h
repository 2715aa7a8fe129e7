/** Reading events from JSON lines, the format of recordings. */
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
 * Reads what JsonLine writes; unknown keys are skipped. A GpuStatic read this way has no readings,
 * because its line has none.
 */
std::variant<Event, LineError> ReadJsonLine(std::string_view line);

}  // namespace zorvane
