#include "monitor/model/thresholds.h"

#include <algorithm>
#include <variant>

namespace zorvane {
namespace {

using Value = std::optional<int64_t>;

template <std::optional<uint32_t> GpuReading::*kMember>
Value OfGpu(const EventBody& event) {
    const auto* reading = std::get_if<GpuReading>(&event);
    if (!reading || !(reading->*kMember)) {
        return std::nullopt;
    }
    return *(reading->*kMember);
}

Value OfCpu(const EventBody& event) {
    const auto* cpu = std::get_if<CpuTemperature>(&event);
    return cpu ? Value(cpu->celsius) : std::nullopt;
}

}  // namespace

// The usual limits: where most GPUs begin to slow down; and the temperature that current processors
// may hold for ever, over which something is wrong.
const std::vector<WatchedReading>& WatchedReadings() {
    static const std::vector<WatchedReading> kReadings = {
        {"gpu.temp", "temperature", " C", 3, 85, &OfGpu<&GpuReading::temperatureCelsius>},
        {"gpu.util", "utilisation", " %", 5, {}, &OfGpu<&GpuReading::gpuUtilizationPercent>},
        {"gpu.mem",
         "memory utilisation",
         " %",
         5,
         {},
         &OfGpu<&GpuReading::memoryUtilizationPercent>},
        {"gpu.fan", "fan speed", " %", 5, {}, &OfGpu<&GpuReading::fanSpeedPercent>},
        {"cpu.temp", "CPU temperature", " C", 3, 95, &OfCpu},
    };
    return kReadings;
}

const WatchedReading* FindWatched(const std::string& what) {
    const auto& all = WatchedReadings();
    const auto found = std::find_if(all.begin(), all.end(), [&](const WatchedReading& reading) {
        return what == reading.what;
    });
    return found == all.end() ? nullptr : &*found;
}

Thresholds UsualThresholds() {
    Thresholds thresholds;
    for (const WatchedReading& reading : WatchedReadings()) {
        if (reading.usualLimit) {
            thresholds[reading.what] = *reading.usualLimit;
        }
    }
    return thresholds;
}

std::vector<WarningEvent> CThresholdWatch::Check(const EventBody& event) {
    // Another machine, or the same one after a new start.
    if (std::holds_alternative<StartEvent>(event)) {
        m_isOver.clear();
        m_busIds.clear();
    }
    const std::optional<GpuId> gpu = GpuOf(event);
    std::vector<WarningEvent> warnings;
    for (const auto& [what, limit] : m_thresholds) {
        const WatchedReading* reading = FindWatched(what);
        const Value read = reading ? reading->valueOf(event) : std::nullopt;
        if (!read) {
            continue;
        }
        const auto value = static_cast<double>(*read);
        bool& isOver = m_isOver[{what, gpu ? int64_t{gpu->index} : -1}];
        const bool wasOver = isOver;
        isOver = value > (wasOver ? limit - reading->margin : limit);
        if (isOver != wasOver) {
            warnings.push_back({what, gpu, value, limit, isOver});
        }
    }
    return warnings;
}

std::optional<GpuId> CThresholdWatch::GpuOf(const EventBody& event) {
    const auto* reading = std::get_if<GpuReading>(&event);
    if (!reading) {
        return std::nullopt;
    }
    if (reading->pci) {
        m_busIds[reading->index] = reading->pci->busId;
    }
    const auto known = m_busIds.find(reading->index);
    return GpuId{reading->index, known == m_busIds.end()
                                     ? std::nullopt
                                     : std::optional<std::string>(known->second)};
}

}  // namespace zorvane
