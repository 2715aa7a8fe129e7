#pragma once

#include <functional>
#include <string>

#include "client/workersession.h"
#include "client/gpuhealth.h"
#include "monitor/model/machinemodel.h"
#include "client/roundtracker.h"
#include "client/staleness.h"
#include "client/reportlimiter.h"
#include "monitor/sources/source.h"
#include "monitor/workerlog/workerlog.h"

namespace zorvane {

struct WorkerSourceOptions {
    WorkerCommand worker;
    /** Whether a worker that crashed, or has fallen silent for good, is started again. */
    bool restart = true;
    StaleTimes stale;
    StopTimes stop;
};

/** A stub: keeps a worker running until it is stopped, and turns its reports into events. */
class CWorkerSource : public ISource, private IWorkerListener {
  public:
    /** `start` is the first event. `clock` tells the time of what comes from the worker. */
    CWorkerSource(WorkerSourceOptions options, StartEvent start,
                  std::function<Moment()> clock = ReadMoment);

    void Start(IEventSink& sink, Moment now) override;
    void OnTime(Moment now) override;
    std::optional<std::chrono::milliseconds> DueTick() const override;
    void Stop() override;
    std::optional<EndReason> End() const override { return m_end; }

  private:
    void OnHello(const Hello& hello) override;
    void OnGpuStatic(const GpuStatic& fixed) override;
    void OnGpuReading(const GpuReading& reading) override;
    void OnCpuTemperature(const CpuTemperature& temperature) override;
    void OnCpuUnread() override;
    void OnPayloadError(const PayloadError& error) override;
    void OnStopStep(StopStep step, const std::string& reason) override;
    void OnExit(const WorkerExit& exit) override;

    void StartWorker(Moment now);
    void GiveUpWorker(Moment now);
    void NoteReading(const std::string& source, Moment now);
    void NoteSource(const std::string& source, Moment now);
    void NoteRoundEnd(Moment now);
    std::optional<std::chrono::milliseconds> RestartAfter(const WorkerExit& exit);
    void Tell(Moment now, EventBody body);
    void TellMissing(Moment now, const std::vector<MissingReport>& reports);

    const WorkerSourceOptions m_options;
    const StartEvent m_start;
    const std::function<Moment()> m_clock;
    IEventSink* m_sink = nullptr;
    CWorkerSession m_session;
    CReportLimiter m_limiter;
    CRoundTracker m_rounds;
    CStaleness m_staleness;
    CGpuHealth m_health;
    CWorkerLog m_log;
    /** Complete rounds since the last one with a CPU temperature; empty: this worker gave none. */
    std::optional<int> m_roundsWithoutCpu;
    unsigned m_restartAttempt = 0;
    std::optional<std::chrono::milliseconds> m_restartTick;
    /** Whether Stop has been called. */
    bool m_stopping = false;
    /** Whether the worker that runs is being replaced. */
    bool m_givenUp = false;
    bool m_anyReading = false;
    std::optional<EndReason> m_end;
};

}  // namespace zorvane
