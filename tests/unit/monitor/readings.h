/** Events for tests, put together by hand. */
#pragma once

#include <utility>

#include "monitor/event.h"
#include "tests/unit/client/readings.h"

inline zorvane::Event EventAt(int seconds, zorvane::EventBody body) {
    return {TimeOfTest(seconds), std::move(body)};
}
