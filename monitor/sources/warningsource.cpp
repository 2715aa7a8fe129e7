#include "monitor/sources/warningsource.h"

#include <utility>
#include <variant>

namespace zorvane {

void CWarningSource::Start(IEventSink& sink, Moment now) {
    m_sink = &sink;
    m_source.Start(*this, now);
}

void CWarningSource::Stop() {
    m_stopping = true;
    m_source.Stop();
}

void CWarningSource::OnEvent(const Event& event) {
    if (std::holds_alternative<WarningEvent>(event.body)) {
        return;
    }
    m_sink->OnEvent(event);
    // The sink may have called Stop: then it did not take this reading any more.
    if (m_stopping) {
        return;
    }
    for (WarningEvent& warning : m_watch.Check(event.body)) {
        m_sink->OnEvent({event.time, std::move(warning)});
    }
}

}  // namespace zorvane
