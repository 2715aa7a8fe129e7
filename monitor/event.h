/** What zorvanemon has to tell, for all its formats. */
#pragma once

#include <chrono>
#include <optional>
#include <variant>

#include "client/decode.h"
#include "client/workersession.h"

namespace zorvane {

struct HelloEvent {
    Hello hello;
    DWORD workerId = 0;
};

struct ErrorEvent {
    PayloadError error;
    /** Errors of the same fault that were left out since the one that was told last. */
    unsigned leftOut = 0;
};

struct ExitEvent {
    WorkerExit exit;
    /** When the next worker will be started; empty: none will. */
    std::optional<std::chrono::milliseconds> restartIn;
};

using Event =
    std::variant<HelloEvent, GpuStatic, GpuReading, CpuTemperature, ErrorEvent, ExitEvent>;

}  // namespace zorvane
