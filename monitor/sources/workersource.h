#pragma once

#include <functional>

#include "monitor/sources/source.h"
#include "monitor/workerlog/explainedworker.h"

namespace zorvane {

using WorkerSourceOptions = KeeperOptions;

/** A stub: keeps a worker running until it is stopped, and turns its reports into events. */
class CWorkerSource : public ISource {
  public:
    /** `start` is the first event. `clock` tells the time of what comes from the worker. */
    CWorkerSource(WorkerSourceOptions options, StartEvent start,
                  std::function<Moment()> clock = ReadMoment);

    void Start(IEventSink& sink, Moment now) override;
    void OnTime(Moment now) override { m_worker.OnTime(now); }
    std::optional<std::chrono::milliseconds> DueTick() const override { return m_worker.DueTick(); }
    void Stop() override { m_worker.Stop(); }
    std::optional<EndReason> End() const override { return m_end; }

  private:
    void OnEvent(SessionEvent&& event);

    const StartEvent m_start;
    IEventSink* m_sink = nullptr;
    std::optional<EndReason> m_end;
    /** Last: its events use the others. */
    CExplainedWorker m_worker;
};

}  // namespace zorvane
