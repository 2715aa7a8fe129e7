#include "monitor/model/runtotals.h"

namespace zorvane {

void CRunTotals::Add(const Event& event) {
    if (std::holds_alternative<WorkerStartEvent>(event.body)) {
        ++m_workers;
    } else if (std::holds_alternative<HelloEvent>(event.body)) {
        ++m_messages["hello"];
    } else if (std::holds_alternative<GpuStatic>(event.body)) {
        ++m_messages["gpu_static"];
    } else if (std::holds_alternative<GpuReading>(event.body)) {
        ++m_messages["gpu"];
    } else if (std::holds_alternative<CpuTemperature>(event.body)) {
        ++m_messages["cpu"];
    } else if (const auto* error = std::get_if<ErrorEvent>(&event.body)) {
        m_errors[FaultName(error->error.fault)] += 1ull + error->leftOut;
    } else if (const auto* end = std::get_if<ExitEvent>(&event.body)) {
        if (end->exit.kind == ExitKind::kCrash && !end->exit.forced) {
            ++m_crashes[end->exit.code];
        }
    }
}

std::map<std::string, uint64_t> CRunTotals::NoErrors() {
    std::map<std::string, uint64_t> errors;
    for (int fault = 0; fault <= static_cast<int>(kLastPayloadFault); ++fault) {
        errors[FaultName(static_cast<PayloadFault>(fault))] = 0;
    }
    return errors;
}

}  // namespace zorvane
