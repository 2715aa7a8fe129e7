#pragma once

#include "monitor/model/thresholds.h"
#include "monitor/sources/source.h"

namespace zorvane {

/**
 * Another source, with a WarningEvent behind each reading that crosses a threshold. Warnings that
 * the other source gives are left out: those of a recording were made with other thresholds.
 */
class CWarningSource : public ISource, private IEventSink {
  public:
    /** `source` outlives this one. */
    CWarningSource(ISource& source, Thresholds thresholds)
        : m_source(source), m_watch(std::move(thresholds)) {}

    void Start(IEventSink& sink, Moment now) override;
    void OnTime(Moment now) override { m_source.OnTime(now); }
    std::optional<std::chrono::milliseconds> DueTick() const override { return m_source.DueTick(); }
    void Stop() override;
    std::optional<EndReason> End() const override { return m_source.End(); }

  private:
    void OnEvent(const Event& event) override;

    ISource& m_source;
    CThresholdWatch m_watch;
    IEventSink* m_sink = nullptr;
    bool m_stopping = false;
};

}  // namespace zorvane
