/** Closing of the console and end of the session, which reach a worker and its stub at once. */
#pragma once

#include <windows.h>

#include <optional>

#include "base/callerror.h"
#include "host/runningexport.h"

/**
 * Handles Ctrl+C, Ctrl+Break, closing of the console, logoff and shutdown, whose default handlers
 * would end this process out of order. Ctrl+C and Ctrl+Break are left to the stub; if none is
 * known, the worker is asked to end. At the others the stub gets one second to end the worker, then
 * the host asks it, and delays Windows until the process has ended or Windows stops waiting.
 * `worker` must live until the process ends. Returns the error if a handler cannot be installed.
 */
[[nodiscard]] std::optional<zorvane::CallError> HoldSystemEnd(const CRunningExport& worker);
