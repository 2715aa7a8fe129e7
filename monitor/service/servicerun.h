/** Running under Windows' service control. */
#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>

#include "base/callerror.h"

namespace zorvane {

/** How long Windows waits for a service's orderly end: all steps of stopping a worker, and some. */
inline constexpr DWORD kServiceStopPatienceMs = 30000;

/**
 * Connects the process to Windows' service control, calls `work` on a thread of Windows', and
 * returns when it has. Its result is the service's own exit code; other than 0 it counts as a
 * failure, after which Windows takes the recovery actions. A request to stop reaches `work` as
 * Interrupt does (monitor/run/interrupts.h). Once a process. The error if the process was not
 * started as a service; `work` was not called then.
 */
[[nodiscard]] std::optional<CallError> RunAsService(const std::wstring& name,
                                                    std::function<int()> work);

}  // namespace zorvane
