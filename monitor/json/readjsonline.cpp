#include "monitor/json/readjsonline.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "base/text.h"

namespace zorvane {
namespace {

using Json = nlohmann::json;

// Thrown and caught in this file, like the JSON library's own exceptions.
class CBadLine : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

const Json& At(const Json& line, const char* key) {
    const auto found = line.find(key);
    if (found == line.end()) {
        throw CBadLine(fmt::format("\"{}\" is missing", key));
    }
    return *found;
}

// A member of exactly this type. The JSON library would convert -1 to 4294967295 and 1.5 to 1.
template <typename T>
T Get(const Json& line, const char* key) {
    const Json& value = At(line, key);
    if constexpr (std::is_same_v<T, bool>) {
        if (value.is_boolean()) {
            return value.get<bool>();
        }
    } else if constexpr (std::is_same_v<T, std::string>) {
        if (value.is_string()) {
            return value.get<std::string>();
        }
    } else if constexpr (std::is_same_v<T, std::wstring>) {
        if (value.is_string()) {
            return ToWide(value.get<std::string>());
        }
    } else if constexpr (std::is_floating_point_v<T>) {
        if (value.is_number()) {
            return value.get<T>();
        }
    } else if (value.is_number_unsigned()) {
        if (value.get<uint64_t>() <= static_cast<uint64_t>(std::numeric_limits<T>::max())) {
            return value.get<T>();
        }
    } else if (value.is_number_integer()) {
        if (std::is_signed_v<T> &&
            value.get<int64_t>() >= static_cast<int64_t>(std::numeric_limits<T>::min())) {
            return value.get<T>();
        }
    }
    throw CBadLine(fmt::format("\"{}\" cannot be {}", key,
                               value.dump(-1, ' ', false, Json::error_handler_t::replace)));
}

template <typename T>
std::optional<T> GetOrNull(const Json& line, const char* key) {
    return At(line, key).is_null() ? std::nullopt : std::optional<T>(Get<T>(line, key));
}

UtcTime GetTime(const Json& line, const char* key) {
    const auto text = Get<std::string>(line, key);
    const auto time = ParseRfc3339(text);
    if (!time) {
        throw CBadLine(fmt::format("\"{}\" is no time: {}", key, text));
    }
    return *time;
}

Clocks GetClocks(const Json& line, const char* key) {
    const Json& clocks = At(line, key);
    return {GetOrNull<uint32_t>(clocks, "graphics"), GetOrNull<uint32_t>(clocks, "sm"),
            GetOrNull<uint32_t>(clocks, "memory"), GetOrNull<uint32_t>(clocks, "video")};
}

std::optional<PciLocation> GetPci(const Json& line) {
    const Json& pci = At(line, "pci");
    if (pci.is_null()) {
        return std::nullopt;
    }
    return PciLocation{Get<uint32_t>(pci, "domain"), Get<uint32_t>(pci, "bus"),
                       Get<uint32_t>(pci, "device"), Get<uint32_t>(pci, "device_id"),
                       Get<std::string>(pci, "bus_id")};
}

GpuReading GetGpu(const Json& line) {
    GpuReading reading;
    reading.entry = Get<std::wstring>(line, "entry");
    reading.index = Get<uint32_t>(line, "index");
    reading.count = Get<uint32_t>(line, "count");
    reading.name = GetOrNull<std::wstring>(line, "name");
    reading.pci = GetPci(line);
    return reading;
}

GpuId GetGpuId(const Json& line) {
    return {Get<uint32_t>(line, "index"), GetOrNull<std::string>(line, "bus_id")};
}

EventBody ReadStart(const Json& line) {
    StartEvent start;
    start.schema = Get<int>(line, "schema");
    start.toolVersion = Get<std::string>(line, "tool_version");
    start.libraryVersion = GetOrNull<std::string>(line, "library_version");
    start.simulated = Get<bool>(line, "simulated");
    start.host = Get<std::string>(line, "host");
    start.entry = Get<std::string>(line, "entry");
    return start;
}

EventBody ReadHello(const Json& line) {
    return HelloEvent{{Get<std::wstring>(line, "entry"), Get<uint64_t>(line, "worker_window")},
                      Get<DWORD>(line, "worker_pid")};
}

EventBody ReadStatic(const Json& line) {
    GpuStatic fixed;
    fixed.first = GetGpu(line);
    fixed.serial = GetOrNull<std::wstring>(line, "serial");
    fixed.vbiosVersion = GetOrNull<std::wstring>(line, "vbios_version");
    fixed.driverVersion = GetOrNull<std::wstring>(line, "driver_version");
    fixed.totalMemoryKiB = GetOrNull<uint64_t>(line, "memory_total_kib");
    fixed.maxClocksMHz = GetClocks(line, "max_clocks_mhz");
    return fixed;
}

EventBody ReadReading(const Json& line) {
    GpuReading reading = GetGpu(line);
    reading.gpuUtilizationPercent = GetOrNull<uint32_t>(line, "gpu_utilization_percent");
    reading.memoryUtilizationPercent = GetOrNull<uint32_t>(line, "memory_utilization_percent");
    reading.temperatureCelsius = GetOrNull<uint32_t>(line, "temperature_celsius");
    reading.fanSpeedPercent = GetOrNull<uint32_t>(line, "fan_speed_percent");
    reading.clocksMHz = GetClocks(line, "clocks_mhz");
    return reading;
}

EventBody ReadCpu(const Json& line) {
    const auto celsius = GetOrNull<int>(line, "temperature_celsius");
    return celsius ? EventBody(CpuTemperature{*celsius}) : EventBody(CpuUnreadEvent());
}

EventBody ReadError(const Json& line) {
    const auto cause = Get<std::string>(line, "cause");
    for (int value = 0; value <= static_cast<int>(kLastPayloadFault); ++value) {
        const auto fault = static_cast<PayloadFault>(value);
        if (cause == FaultName(fault)) {
            return ErrorEvent{{fault, Get<std::string>(line, "text")},
                              Get<unsigned>(line, "left_out")};
        }
    }
    throw CBadLine("unknown \"cause\" " + cause);
}

EventBody ReadMissing(const Json& line) {
    return MissingEvent{Get<std::string>(line, "what"), Get<std::string>(line, "id"),
                        Get<std::string>(line, "brief"), Get<std::string>(line, "text"),
                        Get<std::string>(line, "do")};
}

EventBody ReadWarning(const Json& line) {
    WarningEvent warning;
    warning.what = Get<std::string>(line, "what");
    if (line.contains("index")) {
        warning.gpu = GetGpuId(line);
    }
    warning.value = Get<double>(line, "value");
    warning.limit = Get<double>(line, "limit");
    warning.over = Get<bool>(line, "over");
    return warning;
}

EventBody ReadExit(const Json& line) {
    ExitEvent event;
    event.exit.processId = Get<DWORD>(line, "worker_pid");
    event.exit.code = Get<DWORD>(line, "exit_code");
    event.exit.greeted = Get<bool>(line, "greeted");
    event.exit.forced = Get<bool>(line, "forced");
    event.exit.lived = std::chrono::milliseconds(Get<int64_t>(line, "lived_ms"));
    event.exit.asked = Get<bool>(line, "asked");
    event.exit.kind = ClassifyExit(event.exit.code, event.exit.greeted, event.exit.asked);
    if (const auto pause = GetOrNull<int64_t>(line, "restart_in_ms")) {
        event.restartIn = std::chrono::milliseconds(*pause);
    }
    return event;
}

struct Reader {
    const char* type;
    EventBody (*read)(const Json& line);
};

constexpr Reader kReaders[] = {
    {"start", &ReadStart},
    {"worker_start",
     [](const Json& line) -> EventBody {
         return WorkerStartEvent{Get<DWORD>(line, "worker_pid")};
     }},
    {"hello", &ReadHello},
    {"gpu_static", &ReadStatic},
    {"gpu", &ReadReading},
    {"cpu", &ReadCpu},
    {"error", &ReadError},
    {"missing", &ReadMissing},
    {"stale", [](const Json& line) -> EventBody { return StaleEvent{GetTime(line, "since")}; }},
    {"fresh", [](const Json& line) -> EventBody { return FreshEvent{GetTime(line, "since")}; }},
    {"gpu_lost", [](const Json& line) -> EventBody { return GpuLostEvent{GetGpuId(line)}; }},
    {"gpu_back", [](const Json& line) -> EventBody { return GpuBackEvent{GetGpuId(line)}; }},
    {"warning", &ReadWarning},
    {"notice",
     [](const Json& line) -> EventBody {
         return NoticeEvent{Get<std::string>(line, "id"), Get<std::string>(line, "text")};
     }},
    {"worker_exit", &ReadExit},
    {"paused", [](const Json&) -> EventBody { return PausedEvent{}; }},
    {"resumed", [](const Json&) -> EventBody { return ResumedEvent{}; }},
};
// One type of lines has two kinds of events: a CPU temperature, and one that could not be read.
static_assert(std::size(kReaders) + 1 == std::variant_size_v<EventBody>);

Event Read(const Json& line) {
    if (!line.is_object()) {
        throw CBadLine("not an object");
    }
    const int schema = Get<int>(line, "schema");
    if (schema != kEventSchema) {
        throw CBadLine(fmt::format("schema {}, this zorvanemon reads {}", schema, kEventSchema));
    }
    const auto type = Get<std::string>(line, "type");
    const auto* reader = std::find_if(std::begin(kReaders), std::end(kReaders),
                                      [&](const Reader& entry) { return type == entry.type; });
    if (reader == std::end(kReaders)) {
        throw CBadLine("unknown \"type\" " + type);
    }
    return {GetTime(line, "time"), reader->read(line)};
}

}  // namespace

std::variant<Event, LineError> ReadJsonLine(std::string_view line) {
    try {
        return Read(Json::parse(line));
    } catch (const CBadLine& error) {
        return LineError{error.what()};
    } catch (const Json::exception&) {
        return LineError{"not a whole JSON object"};
    }
}

}  // namespace zorvane
