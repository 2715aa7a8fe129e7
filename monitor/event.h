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

#include "client/sessionevent.h"
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
