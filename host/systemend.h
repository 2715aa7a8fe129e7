/** The end of the console and of the session, which reach a worker at the same time as its stub. */
#pragma once

#include <windows.h>

#include <optional>

#include "base/callerror.h"
#include "host/runningexport.h"

/**
 * Takes Ctrl+C, Ctrl+Break, the closing of the console, logoff and shutdown, all of which would end
 * this process out of order. Ctrl+C and Ctrl+Break are left to the stub, or without a known stub
 * ask the worker to end. The others leave the stub a second to end the worker before the host asks
 * it itself, and hold Windows up until the process has ended by itself or Windows' time is over.
 * `worker` lives until the process ends. The error of what could not be set up, if any.
 */
[[nodiscard]] std::optional<zorvane::CallError> HoldSystemEnd(const CRunningExport& worker);
