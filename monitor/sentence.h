/** Events in words. */
#pragma once

#include <optional>
#include <string>

#include "monitor/event.h"

namespace zorvane {

/** The event in one or two sentences, in UTF-8; empty for what needs no words. */
std::optional<std::string> SentenceOf(const EventBody& event);

}  // namespace zorvane
