#include "monitor/views/thinnedview.h"

#include <utility>

namespace zorvane {

void CThinnedView::OnEvent(const Event& event, const CMachineModel& model) {
    const bool isReading = std::holds_alternative<GpuReading>(event.body) ||
                           std::holds_alternative<CpuTemperature>(event.body);
    if (isReading && !std::exchange(m_isRoundOpen, true)) {
        BeginRound(event.time);
    }
    // A new worker's first readings, and the first after a silence, are news.
    if (std::holds_alternative<WorkerStartEvent>(event.body) ||
        std::holds_alternative<FreshEvent>(event.body)) {
        m_lastShown.reset();
    }
    if (!isReading || m_isShown) {
        m_hasChanged = true;
        m_view->OnEvent(event, model);
    }
}

void CThinnedView::BeginRound(UtcTime time) {
    // Rounds come a little more than a second apart: take the one nearest to the time that is due.
    constexpr std::chrono::milliseconds kHalfARound(500);
    const bool isBefore = m_lastShown && time < *m_lastShown;
    m_isShown = !m_lastShown || isBefore || time - *m_lastShown + kHalfARound >= m_interval;
    if (m_isShown) {
        m_lastShown = time;
    }
}

void CThinnedView::OnRound(const CMachineModel& model) {
    m_isRoundOpen = false;
    if (m_isShown) {
        m_hasChanged = true;
        m_view->OnRound(model);
    }
}

void CThinnedView::OnChange(const CMachineModel& model) {
    if (std::exchange(m_hasChanged, false)) {
        m_view->OnChange(model);
    }
}

}  // namespace zorvane
