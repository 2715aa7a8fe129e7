#include "client/gpuhealth.h"

#include <algorithm>

namespace zorvane {
namespace {

bool IsZeroOrNothing(const std::optional<uint32_t>& percent) { return percent.value_or(0) == 0; }

bool HasReadings(const GpuReading& reading) {
    return reading.temperatureCelsius || reading.fanSpeedPercent ||
           std::any_of(reading.clocksMHz.begin(), reading.clocksMHz.end(),
                       [](const auto& clock) { return clock.has_value(); }) ||
           !IsZeroOrNothing(reading.gpuUtilizationPercent) ||
           !IsZeroOrNothing(reading.memoryUtilizationPercent);
}

}  // namespace

std::optional<GpuChange> CGpuHealth::Check(GpuReading& reading) {
    State& state = m_gpus[reading.index];
    if (reading.pci) {
        state.busId = reading.pci->busId;
    }
    const GpuId gpu{reading.index, state.busId};
    if (HasReadings(reading)) {
        const bool wasLost = state.isLost;
        state = {true, false, state.busId};
        return wasLost ? std::optional<GpuChange>(GpuBackEvent{gpu}) : std::nullopt;
    }
    const bool isNothing = !reading.name && !reading.pci;
    if (!state.hasAnswered && !isNothing) {
        return std::nullopt;
    }
    reading.gpuUtilizationPercent.reset();
    reading.memoryUtilizationPercent.reset();
    const bool wasLost = state.isLost;
    state.isLost = true;
    return wasLost ? std::nullopt : std::optional<GpuChange>(GpuLostEvent{gpu});
}

}  // namespace zorvane
