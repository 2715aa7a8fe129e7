#include "monitor/json/jsonline.h"

#include <nlohmann/json.hpp>

#include "base/text.h"
#include "monitor/sentence.h"

namespace zorvane {
namespace {

using Json = nlohmann::ordered_json;

template <typename T>
Json OrNull(const std::optional<T>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json OrNull(const std::optional<std::wstring>& text) {
    return text ? Json(ToUtf8(*text)) : Json(nullptr);
}

// An object with room for its members: when it grows, it copies the names that it has.
Json RoomyObject(size_t members) {
    Json object = Json::object();
    object.get_ref<Json::object_t&>().reserve(members);
    return object;
}

Json ClocksJson(const Clocks& clocks) {
    Json result = RoomyObject(kClockTypeCount);
    result["graphics"] = OrNull(clocks[kClockGraphics]);
    result["sm"] = OrNull(clocks[kClockSm]);
    result["memory"] = OrNull(clocks[kClockMemory]);
    result["video"] = OrNull(clocks[kClockVideo]);
    return result;
}

Json PciJson(const std::optional<PciLocation>& pci) {
    if (!pci) {
        return nullptr;
    }
    Json result = RoomyObject(5);
    result["bus_id"] = pci->busId;
    result["domain"] = pci->domain;
    result["bus"] = pci->bus;
    result["device"] = pci->device;
    result["device_id"] = pci->deviceId;
    return result;
}

class CLineMaker {
    // Those of "worker_exit" and the readings.
    static constexpr size_t kMostMembers = 16;

  public:
    CLineMaker(UtcTime time, const StartEvent& origin) : m_time(time), m_origin(origin) {}

    Json operator()(const StartEvent& start) const {
        Json line = Begin("start");
        line["schema"] = start.schema;
        line["tool_version"] = start.toolVersion;
        line["library_version"] = OrNull(start.libraryVersion);
        line["simulated"] = start.simulated;
        return line;
    }

    Json operator()(const WorkerStartEvent& start) const {
        Json line = Begin("worker_start");
        line["worker_pid"] = start.workerId;
        return line;
    }

    Json operator()(const HelloEvent& event) const {
        Json line = Begin("hello");
        line["entry"] = ToUtf8(event.hello.entry);
        line["worker_pid"] = event.workerId;
        line["worker_window"] = event.hello.workerWindow;
        return line;
    }

    Json operator()(const GpuStatic& fixed) const {
        Json line = BeginGpu("gpu_static", fixed.first);
        line["serial"] = OrNull(fixed.serial);
        line["vbios_version"] = OrNull(fixed.vbiosVersion);
        line["driver_version"] = OrNull(fixed.driverVersion);
        line["memory_total_kib"] = OrNull(fixed.totalMemoryKiB);
        line["max_clocks_mhz"] = ClocksJson(fixed.maxClocksMHz);
        return line;
    }

    Json operator()(const GpuReading& reading) const {
        Json line = BeginGpu("gpu", reading);
        line["gpu_utilization_percent"] = OrNull(reading.gpuUtilizationPercent);
        line["memory_utilization_percent"] = OrNull(reading.memoryUtilizationPercent);
        line["temperature_celsius"] = OrNull(reading.temperatureCelsius);
        line["fan_speed_percent"] = OrNull(reading.fanSpeedPercent);
        line["clocks_mhz"] = ClocksJson(reading.clocksMHz);
        return line;
    }

    Json operator()(const CpuTemperature& temperature) const {
        Json line = Begin("cpu");
        line["temperature_celsius"] = temperature.celsius;
        return line;
    }

    Json operator()(const CpuUnreadEvent&) const {
        Json line = Begin("cpu");
        line["temperature_celsius"] = nullptr;
        return line;
    }

    Json operator()(const ErrorEvent& event) const {
        Json line = Begin("error");
        line["cause"] = FaultName(event.error.fault);
        line["text"] = event.error.text;
        line["left_out"] = event.leftOut;
        return line;
    }

    Json operator()(const MissingEvent& event) const {
        Json line = Begin("missing");
        line["what"] = event.what;
        line["id"] = event.id;
        line["brief"] = event.brief;
        line["text"] = event.text;
        line["do"] = event.remedy;
        return line;
    }

    Json operator()(const StaleEvent& event) const {
        Json line = Begin("stale");
        line["since"] = Rfc3339(event.since);
        return line;
    }

    Json operator()(const FreshEvent& event) const {
        Json line = Begin("fresh");
        line["since"] = Rfc3339(event.since);
        return line;
    }

    Json operator()(const GpuLostEvent& event) const {
        Json line = BeginFor("gpu_lost", event.gpu);
        line["text"] = *SentenceOf(event);
        return line;
    }

    Json operator()(const GpuBackEvent& event) const {
        Json line = BeginFor("gpu_back", event.gpu);
        line["text"] = *SentenceOf(event);
        return line;
    }

    Json operator()(const WarningEvent& event) const {
        Json line = event.gpu ? BeginFor("warning", *event.gpu) : Begin("warning");
        line["what"] = event.what;
        line["value"] = event.value;
        line["limit"] = event.limit;
        line["over"] = event.over;
        line["text"] = *SentenceOf(event);
        return line;
    }

    Json operator()(const NoticeEvent& event) const {
        Json line = Begin("notice");
        line["id"] = event.id;
        line["text"] = event.text;
        return line;
    }

    Json operator()(const ExitEvent& event) const {
        Json line = Begin("worker_exit");
        line["worker_pid"] = event.exit.processId;
        line["exit_code"] = event.exit.code;
        line["text"] = DescribeExit(event.exit);
        line["crashed"] = event.exit.kind == ExitKind::kCrash && !event.exit.forced;
        line["forced"] = event.exit.forced;
        line["greeted"] = event.exit.greeted;
        line["asked"] = event.exit.asked;
        line["lived_ms"] = event.exit.lived.count();
        line["restart_in_ms"] = event.restartIn ? Json(event.restartIn->count()) : Json(nullptr);
        return line;
    }

    Json operator()(const PausedEvent& event) const { return BeginWithText("paused", event); }

    Json operator()(const ResumedEvent& event) const { return BeginWithText("resumed", event); }

  private:
    // What every line begins with.
    Json Begin(const char* type) const {
        Json line = RoomyObject(kMostMembers);
        line["type"] = type;
        line["time"] = Rfc3339(m_time);
        line["schema"] = m_origin.schema;
        line["host"] = m_origin.host;
        line["entry"] = m_origin.entry;
        return line;
    }

    // What both kinds of readings of a GPU begin with.
    Json BeginGpu(const char* type, const GpuReading& reading) const {
        Json line = Begin(type);
        line["index"] = reading.index;
        line["count"] = reading.count;
        line["name"] = OrNull(reading.name);
        line["pci"] = PciJson(reading.pci);
        return line;
    }

    Json BeginFor(const char* type, const GpuId& gpu) const {
        Json line = Begin(type);
        line["index"] = gpu.index;
        line["bus_id"] = OrNull(gpu.busId);
        return line;
    }

    Json BeginWithText(const char* type, const EventBody& event) const {
        Json line = Begin(type);
        line["text"] = *SentenceOf(event);
        return line;
    }

    const UtcTime m_time;
    const StartEvent& m_origin;
};

}  // namespace

std::string JsonLine(const Event& event, const StartEvent& origin) {
    return std::visit(CLineMaker(event.time, origin), event.body)
        .dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace zorvane
