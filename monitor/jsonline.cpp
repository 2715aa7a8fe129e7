#include "monitor/jsonline.h"

#include <nlohmann/json.hpp>

#include "base/text.h"

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

Json ClocksJson(const Clocks& clocks) {
    return {{"graphics", OrNull(clocks[kClockGraphics])},
            {"sm", OrNull(clocks[kClockSm])},
            {"memory", OrNull(clocks[kClockMemory])},
            {"video", OrNull(clocks[kClockVideo])}};
}

Json PciJson(const std::optional<PciLocation>& pci) {
    if (!pci) {
        return nullptr;
    }
    return {{"bus_id", pci->busId},
            {"domain", pci->domain},
            {"bus", pci->bus},
            {"device", pci->device},
            {"device_id", pci->deviceId}};
}

Json Begin(const char* type, const std::string& time) { return {{"type", type}, {"time", time}}; }

// What both kinds of GPU lines begin with.
Json BeginGpu(const char* type, const std::string& time, const GpuReading& reading) {
    Json line = Begin(type, time);
    line["index"] = reading.index;
    line["count"] = reading.count;
    line["name"] = OrNull(reading.name);
    line["pci"] = PciJson(reading.pci);
    return line;
}

struct CLineMaker {
    const std::string& time;

    Json operator()(const HelloEvent& event) const {
        Json line = Begin("hello", time);
        line["worker_pid"] = event.workerId;
        line["worker_window"] = event.hello.workerWindow;
        line["entry"] = ToUtf8(event.hello.entry);
        return line;
    }

    Json operator()(const GpuStatic& fixed) const {
        Json line = BeginGpu("gpu_static", time, fixed.first);
        line["serial"] = OrNull(fixed.serial);
        line["vbios_version"] = OrNull(fixed.vbiosVersion);
        line["driver_version"] = OrNull(fixed.driverVersion);
        line["memory_total_kib"] = OrNull(fixed.totalMemoryKiB);
        line["max_clocks_mhz"] = ClocksJson(fixed.maxClocksMHz);
        return line;
    }

    Json operator()(const GpuReading& reading) const {
        Json line = BeginGpu("gpu", time, reading);
        line["gpu_utilization_percent"] = OrNull(reading.gpuUtilizationPercent);
        line["memory_utilization_percent"] = OrNull(reading.memoryUtilizationPercent);
        line["temperature_celsius"] = OrNull(reading.temperatureCelsius);
        line["fan_speed_percent"] = OrNull(reading.fanSpeedPercent);
        line["clocks_mhz"] = ClocksJson(reading.clocksMHz);
        return line;
    }

    Json operator()(const CpuTemperature& temperature) const {
        Json line = Begin("cpu", time);
        line["temperature_celsius"] = temperature.celsius;
        return line;
    }

    Json operator()(const ErrorEvent& event) const {
        Json line = Begin("error", time);
        line["cause"] = FaultName(event.error.fault);
        line["text"] = event.error.text;
        line["left_out"] = event.leftOut;
        return line;
    }

    Json operator()(const ExitEvent& event) const {
        Json line = Begin("worker_exit", time);
        line["worker_pid"] = event.exit.processId;
        line["exit_code"] = event.exit.code;
        line["text"] = DescribeExit(event.exit);
        line["crashed"] = event.exit.kind == ExitKind::kCrash && !event.exit.forced;
        line["forced"] = event.exit.forced;
        line["restart_in_ms"] = event.restartIn ? Json(event.restartIn->count()) : Json(nullptr);
        return line;
    }
};

}  // namespace

std::string JsonLine(const Event& event, const std::string& time) {
    return std::visit(CLineMaker{time}, event).dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace zorvane
