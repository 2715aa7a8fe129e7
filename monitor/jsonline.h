/** Events as JSON. docs/zorvanemon.md has the schema. */
#pragma once

#include <string>

#include "monitor/event.h"

namespace zorvane {

/**
 * One JSON object in one line of UTF-8, without the line end. `time` is when the event happened, in
 * RFC 3339. What could not be read is null; bytes that are not UTF-8 become U+FFFD.
 */
std::string JsonLine(const Event& event, const std::string& time);

}  // namespace zorvane
