/** When to start a worker again that has crashed. */
#pragma once

#include <chrono>

namespace zorvane {

/** A worker that lived this long was well: what follows its crash counts as a first attempt. */
constexpr std::chrono::milliseconds kHealthyRun = std::chrono::minutes(1);

constexpr std::chrono::milliseconds kLongestRestartPause = std::chrono::minutes(1);

/** The number of the restart after a crash, from 1; `last` is that of the restart before, or 0. */
unsigned NextAttempt(unsigned last, std::chrono::milliseconds lived);

/** The pause before a restart: 1 s, 2 s, 4 s and so on, at most kLongestRestartPause. */
std::chrono::milliseconds RestartPause(unsigned attempt);

}  // namespace zorvane
