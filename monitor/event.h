/**
 * What happens in a run: the one vocabulary between sources, which give events, and views, which
 * take them. json/ has the form in which each is written and read again.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "client/decode.h"
#include "client/workersession.h"
#include "monitor/moment.h"

namespace zorvane {

/** Number of the form of the JSON lines; rises when a key is renamed, removed or means another. */
inline constexpr int kEventSchema = 1;

/** The first event of a run and of a recording: where the rest comes from. */
struct StartEvent {
    int schema = kEventSchema;
    std::string toolVersion;
    /** Empty: the library's file has no version, or there is no such file. */
    std::optional<std::string> libraryVersion;
    /** Whether the readings are those of the simulated machine. */
    bool simulated = false;
    /** The computer's name. */
    std::string host;
    /** The worker's name, as it comes back from it. */
    std::string entry;
};

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

/** A reading has crossed a threshold. */
struct WarningEvent {
    /** As in --warn: "gpu.temp", "cpu.temp". */
    std::string what;
    /** Empty: it is not about a GPU. */
    std::optional<GpuId> gpu;
    double value = 0;
    double limit = 0;
    /** Whether the threshold was crossed on the way up, or back. */
    bool over = true;
};

/** What else people should know; for programs it has an id. */
struct NoticeEvent {
    std::string id;
    /** A sentence without a full stop. */
    std::string text;
};

struct ExitEvent {
    WorkerExit exit;
    /** When the next worker will be started; empty: none will. */
    std::optional<std::chrono::milliseconds> restartIn;
};

using EventBody =
    std::variant<StartEvent, WorkerStartEvent, HelloEvent, GpuStatic, GpuReading, CpuTemperature,
                 CpuUnreadEvent, ErrorEvent, MissingEvent, StaleEvent, FreshEvent, GpuLostEvent,
                 GpuBackEvent, WarningEvent, NoticeEvent, ExitEvent>;

struct Event {
    /** When it happened; a recording keeps it. */
    UtcTime time{};
    EventBody body;
};

}  // namespace zorvane
