/** One run of zorvanemon. */
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "client/workersession.h"
#include "monitor/event.h"
#include "monitor/interrupts.h"
#include "monitor/machinemodel.h"
#include "monitor/options.h"
#include "monitor/outcome.h"
#include "monitor/output.h"
#include "monitor/reportlimiter.h"
#include "monitor/roundtracker.h"
#include "monitor/view.h"

namespace zorvane {

/**
 * A stub: keeps a worker running until the run is over, and hands what it reports to a view. One
 * thread.
 */
class CMonitor : private IWorkerListener {
  public:
    /** The view, the output below it and the interrupts outlive the monitor. */
    CMonitor(const Options& options, IView& view, const COutput& output, CInterrupts& interrupts);

    /** Runs to the end, once. */
    ExitCode Run();

  private:
    void OnHello(const Hello& hello) override;
    void OnGpuStatic(const GpuStatic& fixed) override;
    void OnGpuReading(const GpuReading& reading) override;
    void OnCpuTemperature(const CpuTemperature& temperature) override;
    void OnPayloadError(const PayloadError& error) override;
    void OnStopStep(StopStep step, const std::string& reason) override;
    void OnExit(const WorkerExit& exit) override;

    void StartWorker();
    void OnInterrupts();
    void OnTimes();
    void OnOutput();
    void PumpMessages();
    DWORD WaitTimeMs() const;
    void End(EndReason reason);
    bool EntersRound(const std::string& source);
    template <typename T>
    void Show(const T& value);
    std::optional<std::chrono::milliseconds> RestartAfter(const WorkerExit& exit);
    void NoteExit(const ExitEvent& event);

    const Options& m_options;
    IView& m_view;
    const COutput& m_output;
    CInterrupts& m_interrupts;
    CMachineModel m_model;
    CRoundTracker m_rounds;
    CReportLimiter m_limiter;
    CWorkerSession m_session;
    RunFacts m_facts;
    unsigned m_restartAttempt = 0;
    /** Points on the scale of GetTickCount64. */
    std::optional<ULONGLONG> m_endTick;
    std::optional<ULONGLONG> m_restartTick;
    bool m_changed = false;
    bool m_ending = false;
    bool m_finished = false;
};

}  // namespace zorvane
