/** An end for workers whose stub has gone. */
#pragma once

#include <windows.h>

#include <optional>

#include "base/callerror.h"
#include "host/leftoverservice.h"
#include "host/runningexport.h"

/**
 * How long a worker may go on without its stub. Its own check of the stub window takes up to five
 * seconds, and reads and sends that are under way may take some more.
 */
inline constexpr DWORD kStubGraceMs = 15000;

/**
 * Waits, on a thread of its own, for the end of the stub's process. The worker is then asked to
 * end. If it has not done so within the grace, what `service` knows of is removed and this process
 * ends with HostExit::kEndedByForce. Both objects live until the process ends. The error if the
 * watch cannot be set up.
 */
[[nodiscard]] std::optional<zorvane::CallError> WatchStub(const CRunningExport& worker,
                                                          const CLeftoverService& service);

/** What the watch does once the stub's process has gone. */
void EndWithoutStub(const CRunningExport& worker, const CLeftoverService& service);
