#include "monitor/views/prometheusview.h"

#include "monitor/metrics/prometheustext.h"

namespace zorvane {

void CPrometheusBlocks::OnRound(const CMachineModel& model) {
    m_output.Write((m_isFirst ? "" : "\n") + PrometheusText(model));
    m_isFirst = false;
}

void CPrometheusFile::OnEvent(const Event& event, const CMachineModel&) {
    // Readings wait for the end of their round.
    const bool isReading = std::holds_alternative<GpuReading>(event.body) ||
                           std::holds_alternative<CpuTemperature>(event.body);
    m_isOutdated = m_isOutdated || !isReading;
}

void CPrometheusFile::OnChange(const CMachineModel& model) {
    if (m_isOutdated) {
        Write(model);
    }
}

void CPrometheusFile::OnEnd(const CMachineModel& model) {
    // Nobody keeps the file from now on, so no reading may stay, even if the worker of a recording
    // that was left early still runs there.
    CMachineModel last = model;
    last.Apply({model.Time(), ExitEvent()});
    // Nobody waits for the mains any more either.
    last.Apply({model.Time(), ResumedEvent()});
    Write(last);
    m_output.Finish();
}

void CPrometheusFile::Write(const CMachineModel& model) {
    m_isOutdated = false;
    m_output.Write(PrometheusText(model));
}

}  // namespace zorvane
