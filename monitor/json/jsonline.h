/** Writing events as JSON lines. docs/zorvanemon.md has the schema; readjsonline.h reads them. */
#pragma once

#include <string>

#include "monitor/event.h"

namespace zorvane {

/**
 * One JSON object in one line of UTF-8, without the line end. `origin` is the last StartEvent, or
 * the event itself. What could not be read is null; bytes that are not UTF-8 become U+FFFD.
 */
std::string JsonLine(const Event& event, const StartEvent& origin);

}  // namespace zorvane
