#include "monitor/json/jsonline.h"

#include <nlohmann/json.hpp>

#include "base/text.h"
#include "monitor/sentence.h"

namespace zorvane {
namespace {

using OrderedJson = nlohmann::ordered_json;

template <typename T>
OrderedJson OrNull(const std::optional<T>& value) {
    return value ? OrderedJson(*value) : OrderedJson(nullptr);
}

OrderedJson OrNull(const std::optional<WireText>& text) {
    return text ? OrderedJson(ToUtf8(*text)) : OrderedJson(nullptr);
}

// An object with room for its members: when it grows, it copies the names that it has.
OrderedJson RoomyObject(size_t members) {
    OrderedJson object = OrderedJson::object();
    object.get_ref<OrderedJson::object_t&>().reserve(members);
    return object;
}

OrderedJson ClocksJson(const Clocks& clocks) {
    OrderedJson result = RoomyObject(kClockTypeCount);
    result["graphics"] = OrNull(clocks[kClockGraphics]);
    result["sm"] = OrNull(clocks[kClockSm]);
    result["memory"] = OrNull(clocks[kClockMemory]);
    result["video"] = OrNull(clocks[kClockVideo]);
    return result;
}

OrderedJson PciJson(const std::optional<PciLocation>& pci) {
    if (!pci) {
        return nullptr;
    }
    OrderedJson result = RoomyObject(5);
    result["bus_id"] = std::string_view(pci->busId);
    result["domain"] = pci->domain;
    result["bus"] = pci->bus;
    result["device"] = pci->device;
    result["device_id"] = pci->deviceId;
    return result;
}

class CLineMaker {
    // Of "worker_exit" and of both kinds of readings.
    static constexpr size_t kMostMembers = 14;

  public:
    CLineMaker(UtcTime time, const StartEvent& origin) : m_time(time), m_origin(origin) {}

    OrderedJson operator()(const StartEvent& start) const {
        OrderedJson line = Begin("start");
        line["schema"] = start.schema;
        line["tool_version"] = start.toolVersion;
        line["library_version"] = OrNull(start.libraryVersion);
        line["simulated"] = start.simulated;
        return line;
    }

    OrderedJson operator()(const WorkerStartEvent& start) const {
        OrderedJson line = Begin("worker_start");
        line["worker_pid"] = start.workerId;
        return line;
    }

    OrderedJson operator()(const HelloEvent& event) const {
        OrderedJson line = Begin("hello");
        line["entry"] = ToUtf8(event.hello.entry);
        line["worker_pid"] = event.workerId;
        line["worker_window"] = event.hello.workerWindow;
        return line;
    }

    OrderedJson operator()(const GpuStatic& fixed) const {
        OrderedJson line = BeginGpu("gpu_static", fixed.first);
        line["serial"] = OrNull(fixed.serial);
        line["vbios_version"] = OrNull(fixed.vbiosVersion);
        line["driver_version"] = OrNull(fixed.driverVersion);
        line["memory_total_kib"] = OrNull(fixed.totalMemoryKiB);
        line["max_clocks_mhz"] = ClocksJson(fixed.maxClocksMHz);
        return line;
    }

    OrderedJson operator()(const GpuReading& reading) const {
        OrderedJson line = BeginGpu("gpu", reading);
        line["gpu_utilization_percent"] = OrNull(reading.gpuUtilizationPercent);
        line["memory_utilization_percent"] = OrNull(reading.memoryUtilizationPercent);
        line["temperature_celsius"] = OrNull(reading.temperatureCelsius);
        line["fan_speed_percent"] = OrNull(reading.fanSpeedPercent);
        line["clocks_mhz"] = ClocksJson(reading.clocksMHz);
        return line;
    }

    OrderedJson operator()(const CpuTemperature& temperature) const {
        OrderedJson line = Begin("cpu");
        line["temperature_celsius"] = temperature.celsius;
        return line;
    }

    OrderedJson operator()(const CpuUnreadEvent&) const {
        OrderedJson line = Begin("cpu");
        line["temperature_celsius"] = nullptr;
        return line;
    }

    OrderedJson operator()(const ErrorEvent& event) const {
        OrderedJson line = Begin("error");
        line["cause"] = FaultName(event.error.fault);
        line["text"] = event.error.text;
        line["left_out"] = event.leftOut;
        return line;
    }

    OrderedJson operator()(const MissingEvent& event) const {
        OrderedJson line = Begin("missing");
        line["what"] = event.what;
        line["id"] = event.id;
        line["brief"] = event.brief;
        line["text"] = event.text;
        line["do"] = event.remedy;
        return line;
    }

    OrderedJson operator()(const StaleEvent& event) const {
        OrderedJson line = Begin("stale");
        line["since"] = Rfc3339(event.since);
        return line;
    }

    OrderedJson operator()(const FreshEvent& event) const {
        OrderedJson line = Begin("fresh");
        line["since"] = Rfc3339(event.since);
        return line;
    }

    OrderedJson operator()(const GpuLostEvent& event) const {
        OrderedJson line = BeginFor("gpu_lost", event.gpu);
        line["text"] = *SentenceOf(event);
        return line;
    }

    OrderedJson operator()(const GpuBackEvent& event) const {
        OrderedJson line = BeginFor("gpu_back", event.gpu);
        line["text"] = *SentenceOf(event);
        return line;
    }

    OrderedJson operator()(const WarningEvent& event) const {
        OrderedJson line = event.gpu ? BeginFor("warning", *event.gpu) : Begin("warning");
        line["what"] = event.what;
        line["value"] = event.value;
        line["limit"] = event.limit;
        line["over"] = event.over;
        line["text"] = *SentenceOf(event);
        return line;
    }

    OrderedJson operator()(const NoticeEvent& event) const {
        OrderedJson line = Begin("notice");
        line["id"] = event.id;
        line["text"] = event.text;
        return line;
    }

    OrderedJson operator()(const ExitEvent& event) const {
        OrderedJson line = Begin("worker_exit");
        line["worker_pid"] = event.exit.processId;
        line["exit_code"] = event.exit.code;
        line["text"] = DescribeExit(event.exit);
        line["crashed"] = event.exit.kind == ExitKind::kCrash && !event.exit.forced;
        line["forced"] = event.exit.forced;
        line["greeted"] = event.exit.greeted;
        line["asked"] = event.exit.asked;
        line["lived_ms"] = event.exit.lived.count();
        line["restart_in_ms"] =
            event.restartIn ? OrderedJson(event.restartIn->count()) : OrderedJson(nullptr);
        return line;
    }

    OrderedJson operator()(const PausedEvent& event) const {
        return BeginWithText("paused", event);
    }

    OrderedJson operator()(const ResumedEvent& event) const {
        return BeginWithText("resumed", event);
    }

  private:
    // What every line begins with.
    OrderedJson Begin(const char* type) const {
        OrderedJson line = RoomyObject(kMostMembers);
        line["type"] = type;
        line["time"] = Rfc3339(m_time);
        line["schema"] = m_origin.schema;
        line["host"] = m_origin.host;
        line["entry"] = m_origin.entry;
        return line;
    }

    // What both kinds of readings of a GPU begin with.
    OrderedJson BeginGpu(const char* type, const GpuReading& reading) const {
        OrderedJson line = Begin(type);
        line["index"] = reading.index;
        line["count"] = reading.count;
        line["name"] = OrNull(reading.name);
        line["pci"] = PciJson(reading.pci);
        return line;
    }

    OrderedJson BeginFor(const char* type, const GpuId& gpu) const {
        OrderedJson line = Begin(type);
        line["index"] = gpu.index;
        line["bus_id"] = OrNull(gpu.busId);
        return line;
    }

    OrderedJson BeginWithText(const char* type, const EventBody& event) const {
        OrderedJson line = Begin(type);
        line["text"] = *SentenceOf(event);
        return line;
    }

    const UtcTime m_time;
    const StartEvent& m_origin;
};

}  // namespace

std::string JsonLine(const Event& event, const StartEvent& origin) {
    return std::visit(CLineMaker(event.time, origin), event.body)
        .dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
}

}  // namespace zorvane
