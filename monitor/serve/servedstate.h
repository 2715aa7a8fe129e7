/** All that the server knows, and what it answers from that. */
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "monitor/serve/answer.h"
#include "monitor/serve/eventhistory.h"
#include "monitor/serve/requestcheck.h"
#include "monitor/serve/route.h"

namespace zorvane {

/** What changes from round to round beside the events. */
struct ServedTexts {
    /** For /healthz: why there are no readings now; empty when there are. */
    std::string trouble = "No reading has been received yet.";
    /** For /metrics: Prometheus' text format 0.0.4, and OpenMetrics. */
    SharedText prometheus;
    SharedText openMetrics;
};

/**
 * Gives what zorvanemon doctor --json says of this machine, for a report. May take seconds, and is
 * called on a thread of its own. Empty: nothing is said.
 */
using DoctorQuestion = std::function<std::string()>;

/** Not for several threads; talks to nobody. */
class CServedState {
  public:
    CServedState(HostPolicy policy, const HistoryLimits& limits, std::string runId,
                 DoctorQuestion doctor = nullptr);

    /** Keeps an event; gives what goes to the streams for it. */
    SharedText Add(const Event& event, std::string line);

    void SetTexts(ServedTexts texts) { m_texts = std::move(texts); }

    Answer Respond(const RequestFacts& request) const;

    const CEventHistory& History() const { return m_history; }

  private:
    Answer Data(Place place, const RequestFacts& request) const;
    Answer Stream(const std::string& after) const;
    Answer Recording() const;
    std::string Framed(const SentEvent& event) const;

    const HostPolicy m_policy;
    const std::string m_runId;
    const DoctorQuestion m_doctor;
    CEventHistory m_history;
    ServedTexts m_texts;
    StartEvent m_start;
    UtcTime m_lastTime{};
};

}  // namespace zorvane
