/** Ctrl+C and its like. */
#pragma once

#include <windows.h>

#include <optional>

#include "base/callerror.h"

namespace zorvane {

/** Counts like Ctrl+C; from any thread, also before a run has begun. */
void Interrupt();

/** From now on no logoff counts: Windows tells services of every user's. */
void IgnoreLogoff();

/**
 * Counts what the console sends: Ctrl+C, Ctrl+Break, and the closing of the console, after which
 * Windows grants a few seconds. One object a process; it lives until the run has ended, which is
 * what a closing console waits for.
 */
class CInterrupts {
  public:
    CInterrupts() = default;
    ~CInterrupts();
    CInterrupts(const CInterrupts&) = delete;
    CInterrupts& operator=(const CInterrupts&) = delete;

    [[nodiscard]] std::optional<CallError> Install();

    /** An auto-reset event that is set at each interrupt. */
    HANDLE Event() const;

    /** How many came since the last call. */
    unsigned Take();
};

}  // namespace zorvane
