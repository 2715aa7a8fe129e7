#pragma once

#include <functional>

#include "client/workerkeeper.h"
#include "monitor/sources/batterywatch.h"
#include "monitor/sources/source.h"

namespace zorvane {

struct WorkerSourceOptions : KeeperOptions {
    /** Whether no worker runs while the computer runs on battery. */
    bool pausesOnBattery = false;
};

/** A stub: keeps a worker running until it is stopped, and turns its reports into events. */
class CWorkerSource : public ISource {
  public:
    /** `start` is the first event. `clock` tells the time of what comes from the worker. */
    CWorkerSource(const WorkerSourceOptions& options, StartEvent start,
                  std::function<Moment()> clock = ReadMoment);

    void Start(IEventSink& sink, Moment now) override;
    void OnTime(Moment now) override;
    std::optional<std::chrono::milliseconds> DueTick() const override;
    void Stop() override;
    std::optional<EndReason> End() const override { return m_end; }

  private:
    void OnSessionEvent(SessionEvent&& event);
    void Tell(UtcTime time, EventBody body);
    void TellStopStep(UtcTime time, const StopStepEvent& event);

    const StartEvent m_start;
    IEventSink* m_sink = nullptr;
    CWorkerKeeper m_keeper;
    /** Empty: the battery does not matter. */
    std::optional<CBatteryWatch> m_battery;
    /** Whether the last worker's host has reported a failure, and no other worker follows. */
    bool m_hasHostFailed = false;
    std::optional<EndReason> m_end;
};

}  // namespace zorvane
