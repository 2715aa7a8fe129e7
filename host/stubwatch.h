/** Ending a worker whose stub has gone. */
#pragma once

#include <windows.h>

#include <optional>

#include "base/callerror.h"
#include "host/leftovers.h"
#include "host/runningexport.h"

/**
 * How long a worker may run without its stub. Its own check of the stub window takes up to five
 * seconds, and readings and messages under way may take some more.
 */
inline constexpr DWORD kStubGraceMs = 15000;

/**
 * Waits on a thread of its own for the stub's process to end, and then asks the worker to end. If
 * it does not end within the grace period, `leftovers` are cleared away and this process ends with
 * HostExit::kEndedByForce. Both objects must live until the process ends. Returns the error if the
 * watch cannot be set up.
 */
[[nodiscard]] std::optional<zorvane::CallError> WatchStub(const CRunningExport& worker,
                                                          const CLeftovers& leftovers);

/** What the watch does once the stub's process has gone. */
void EndWithoutStub(const CRunningExport& worker, const CLeftovers& leftovers);
