#include "monitor/serve/serveview.h"

#include <fmt/format.h>

#include <algorithm>

#include "monitor/metrics/prometheustext.h"

namespace zorvane {

std::string TroubleOf(const CMachineModel& model) {
    const auto& gpus = model.Gpus();
    const bool hasReadings =
        model.Cpu() || std::any_of(gpus.begin(), gpus.end(),
                                   [](const auto& row) { return row.second.latest.has_value(); });
    if (hasReadings) {
        return "";
    }
    if (model.IsPaused()) {
        return "No worker runs while the computer runs on battery.";
    }
    if (!model.IsWorkerUp()) {
        return "No worker runs.";
    }
    if (model.StaleSince()) {
        return fmt::format("No reading has been received since {}.", Rfc3339(*model.StaleSince()));
    }
    return "The worker has not reported a reading yet.";
}

void CServeView::OnEvent(const Event& event, const CMachineModel& model) {
    m_server.Publish(event, m_lines.Line(event, model.Origin()) + "\n");
}

void CServeView::OnChange(const CMachineModel& model) {
    ServedTexts texts;
    texts.trouble = TroubleOf(model);
    texts.prometheus = std::make_shared<const std::string>(PrometheusText(model));
    texts.openMetrics = std::make_shared<const std::string>(OpenMetricsText(model));
    m_server.SetTexts(std::move(texts));
}

void CServeView::OnEnd(const CMachineModel& model) {
    OnChange(model);
    m_server.Stop();
}

}  // namespace zorvane
