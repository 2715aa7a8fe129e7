/** From a session's events to the structures of the C interface. Pure. */
#pragma once

#include <cstdint>
#include <string_view>

#include "kit/eventqueue.h"
#include "zorvane/client.h"

namespace zorvane {

/** Writes as much of the text as fits, cut between characters, and marks it as valid. */
void PutText(ZorvaneText& field, std::string_view text);
void PutText(ZorvaneMessage& field, std::string_view text);

/** The whole structure; `dropped` is the number of readings that were lost so far. */
ZorvaneEvent ToCEvent(const QueuedEvent& event, uint64_t dropped);

/** The event's name in JSON lines; "unknown" for a number that is none. */
const char* EventName(ZorvaneEventType type);

}  // namespace zorvane
