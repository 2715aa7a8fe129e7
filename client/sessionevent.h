/** What happens to a worker that is kept running, and what it reports. */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "client/decode.h"
#include "client/moment.h"
#include "client/workersession.h"

namespace zorvane {

/** A worker's process was started; what an earlier one reported no longer counts. */
struct WorkerStartEvent {
    DWORD workerId = 0;
};

struct HelloEvent {
    Hello hello;
    DWORD workerId = 0;
};

/** The worker has reported a CPU temperature that is none; an ErrorEvent says why. */
struct CpuUnreadEvent {};

struct ErrorEvent {
    PayloadError error;
    /** Errors with the same fault that were not reported since the last one that was. */
    unsigned leftOut = 0;
};

/** Why something is not read, and what to do about it. */
struct MissingEvent {
    /** What is missing: "cpu", "gpu", or "log". */
    std::string what;
    /** The reason's stable id: "nvml.path". */
    std::string id;
    /** The reason in a few words, to stand in brackets; may be empty. */
    std::string brief;
    /** The reason as a sentence. */
    std::string text;
    /** What to do, in whole sentences; empty when nothing can be done. */
    std::string remedy;
};

/** No complete round has come for too long: readings count as gone. */
struct StaleEvent {
    /** When the last reading came, or the worker started. */
    UtcTime since{};
};

/** A round has come after a StaleEvent. */
struct FreshEvent {
    /** The StaleEvent's. */
    UtcTime since{};
};

/** Tells a GPU apart. */
struct GpuId {
    uint32_t index = 0;
    std::optional<std::string> busId;
};

/** All readings of a GPU fail: it is lost, or needs a reset. */
struct GpuLostEvent {
    GpuId gpu;
};

/** A lost GPU answers again. */
struct GpuBackEvent {
    GpuId gpu;
};

/** What else people should know; for programs it has an id. */
struct NoticeEvent {
    std::string id;
    /** A sentence without a full stop. */
    std::string text;
};

/** Stopping a worker took a step. */
struct StopStepEvent {
    StopStep step = StopStep::kNone;
    /** Why it came to this step. */
    std::string reason;
};

struct ExitEvent {
    WorkerExit exit;
    /** When the next worker will be started; empty: none will. */
    std::optional<std::chrono::milliseconds> restartIn;
};

/** No worker runs, because of Pause; one is started at Resume. */
struct PausedEvent {};

struct ResumedEvent {};

/** A worker's process could not be started. The EndEvent follows. */
struct StartFailedEvent {
    CallError error;
};

/** Why no worker runs any more. */
enum class SessionEnd {
    /** It was stopped. */
    kStopped,
    /** The worker ended by itself, or crashed and is not started again. */
    kWorkerEnded,
    /** The worker could not be started, or its host reported a failure. */
    kNotStarted,
};

/** The last event after a start: no worker runs, and none will be started. */
struct EndEvent {
    SessionEnd reason = SessionEnd::kStopped;
};

using SessionEventBody =
    std::variant<WorkerStartEvent, HelloEvent, GpuStatic, GpuReading, CpuTemperature,
                 CpuUnreadEvent, ErrorEvent, MissingEvent, StaleEvent, FreshEvent, GpuLostEvent,
                 GpuBackEvent, NoticeEvent, StopStepEvent, ExitEvent, PausedEvent, ResumedEvent,
                 StartFailedEvent, EndEvent>;

struct SessionEvent {
    UtcTime time{};
    SessionEventBody body;
};

}  // namespace zorvane
