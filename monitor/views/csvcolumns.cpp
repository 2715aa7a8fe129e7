#include "monitor/views/csvcolumns.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "base/text.h"

namespace zorvane {
namespace {

template <typename T>
std::string OrEmpty(const std::optional<T>& value) {
    return value ? fmt::format("{}", *value) : "";
}

std::string OrEmpty(const std::optional<WireText>& text) { return text ? ToUtf8(*text) : ""; }

// A member of a GPU's reading of this round.
template <auto kMember>
std::string Latest(const CMachineModel&, const GpuRow* row) {
    return row && row->latest ? OrEmpty((*row->latest).*kMember) : "";
}

// A member of what does not change about a GPU.
template <auto kMember>
std::string Fixed(const CMachineModel&, const GpuRow* row) {
    return row && row->fixed ? OrEmpty((*row->fixed).*kMember) : "";
}

template <int kType>
std::string Clock(const CMachineModel&, const GpuRow* row) {
    return row && row->latest ? OrEmpty(row->latest->clocksMHz[kType]) : "";
}

template <int kType>
std::string MaxClock(const CMachineModel&, const GpuRow* row) {
    return row && row->fixed ? OrEmpty(row->fixed->maxClocksMHz[kType]) : "";
}

std::string Name(const CMachineModel&, const GpuRow* row) {
    if (row && row->latest && row->latest->name) {
        return ToUtf8(*row->latest->name);
    }
    return row && row->fixed ? OrEmpty(row->fixed->first.name) : "";
}

std::string DeviceId(const CMachineModel&, const GpuRow* row) {
    return row && row->fixed && row->fixed->first.pci
               ? fmt::format("0x{:08X}", row->fixed->first.pci->deviceId)
               : "";
}

constexpr CsvColumn kCsvColumns[] = {
    {"time", true, [](const CMachineModel& model, const GpuRow*) { return Rfc3339(model.Time()); }},
    {"host", true,
     [](const CMachineModel& model, const GpuRow*) {
         return model.Start() ? model.Start()->host : "";
     }},
    {"entry", true,
     [](const CMachineModel& model, const GpuRow*) {
         return model.Start() ? model.Start()->entry : "";
     }},
    {"worker_pid", false,
     [](const CMachineModel& model, const GpuRow*) { return fmt::format("{}", model.WorkerId()); }},
    {"gpu_index", true,
     [](const CMachineModel&, const GpuRow* row) {
         return row ? fmt::format("{}", row->index) : "";
     }},
    {"pci_bus_id", true,
     [](const CMachineModel&, const GpuRow* row) { return row ? OrEmpty(row->busId) : ""; }},
    {"gpu_name", true, &Name},
    {"gpu_utilization_percent", true, &Latest<&GpuReading::gpuUtilizationPercent>},
    {"memory_utilization_percent", true, &Latest<&GpuReading::memoryUtilizationPercent>},
    {"gpu_temperature_celsius", true, &Latest<&GpuReading::temperatureCelsius>},
    {"fan_speed_percent", true, &Latest<&GpuReading::fanSpeedPercent>},
    {"graphics_clock_mhz", true, &Clock<kClockGraphics>},
    {"sm_clock_mhz", true, &Clock<kClockSm>},
    {"memory_clock_mhz", true, &Clock<kClockMemory>},
    {"video_clock_mhz", true, &Clock<kClockVideo>},
    {"cpu_temperature_celsius", true,
     [](const CMachineModel& model, const GpuRow*) {
         return model.Cpu() ? fmt::format("{}", model.Cpu()->temperature.celsius) : "";
     }},
    {"serial", false, &Fixed<&GpuStatic::serial>},
    {"vbios_version", false, &Fixed<&GpuStatic::vbiosVersion>},
    {"driver_version", false, &Fixed<&GpuStatic::driverVersion>},
    {"pci_device_id", false, &DeviceId},
    {"memory_total_kib", false, &Fixed<&GpuStatic::totalMemoryKiB>},
    {"max_graphics_clock_mhz", false, &MaxClock<kClockGraphics>},
    {"max_sm_clock_mhz", false, &MaxClock<kClockSm>},
    {"max_memory_clock_mhz", false, &MaxClock<kClockMemory>},
    {"max_video_clock_mhz", false, &MaxClock<kClockVideo>},
};

}  // namespace

const std::vector<std::string>& CsvFieldNames() {
    static const std::vector<std::string> kNames = [] {
        std::vector<std::string> result;
        for (const CsvColumn& column : kCsvColumns) {
            result.emplace_back(column.name);
        }
        return result;
    }();
    return kNames;
}

std::vector<const CsvColumn*> CsvColumns(const std::vector<std::string>& names) {
    std::vector<const CsvColumn*> columns;
    columns.reserve(names.size());
    for (const std::string& name : names) {
        columns.push_back(
            std::find_if(std::begin(kCsvColumns), std::end(kCsvColumns),
                         [&](const CsvColumn& column) { return name == column.name; }));
    }
    for (const CsvColumn& column : kCsvColumns) {
        if (names.empty() && column.isUsual) {
            columns.push_back(&column);
        }
    }
    return columns;
}

}  // namespace zorvane
