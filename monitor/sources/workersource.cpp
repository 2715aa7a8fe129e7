#include "monitor/sources/workersource.h"

#include <fmt/format.h>

#include <utility>

#include "base/text.h"
#include "client/restart.h"

namespace zorvane {
namespace {

// For the round tracker: an index stays with its GPU while the worker runs.
std::string SourceOf(const GpuReading& reading) { return fmt::format("gpu {}", reading.index); }

// Where the worker's log is to be found, for people.
std::string LogPath(const WorkerCommand& worker) {
    const std::wstring& file = worker.libraryPath.empty() ? worker.host : worker.libraryPath;
    const size_t slash = file.find_last_of(L"\\/");
    const std::wstring folder =
        slash == std::wstring::npos ? std::wstring() : file.substr(0, slash + 1);
    return ToUtf8(folder + L"Log\\Qorvella_HardwareDll.log");
}

}  // namespace

CWorkerSource::CWorkerSource(WorkerSourceOptions options, StartEvent start,
                             std::function<Moment()> clock)
    : m_options(std::move(options)),
      m_start(std::move(start)),
      m_clock(std::move(clock)),
      m_session(*this, m_options.stop),
      m_staleness(m_options.stale) {}

void CWorkerSource::Start(IEventSink& sink, Moment now) {
    m_sink = &sink;
    Tell(now, m_start);
    StartWorker(now);
}

void CWorkerSource::StartWorker(Moment now) {
    m_restartTick.reset();
    m_givenUp = false;
    m_rounds.Drop();
    m_health.Reset();
    if (const auto error = m_session.Start(m_options.worker)) {
        Tell(now, NoticeEvent{"worker.not_started", Describe(*error)});
        m_end = EndReason::kNotStarted;
        return;
    }
    m_staleness.Begin(now);
    Tell(now, WorkerStartEvent{m_session.WorkerId()});
}

void CWorkerSource::OnTime(Moment now) {
    if (m_restartTick && now.tick >= *m_restartTick) {
        StartWorker(now);
    }
    if (m_stopping || m_givenUp) {
        return;
    }
    if (const auto stale = m_staleness.Check(now)) {
        Tell(now, *stale);
    }
    if (m_staleness.IsHopeless()) {
        GiveUpWorker(now);
    }
}

// A worker that hangs in a vendor call cannot end in order, so this may take all steps.
void CWorkerSource::GiveUpWorker(Moment now) {
    m_givenUp = true;
    Tell(now, NoticeEvent{"worker.given_up",
                          fmt::format("nothing has come from the worker for {} s; ending it",
                                      m_options.stale.restartAfter.count() / 1000)});
    m_session.Stop();
}

std::optional<std::chrono::milliseconds> CWorkerSource::DueTick() const {
    if (m_restartTick) {
        return m_restartTick;
    }
    return m_stopping || m_givenUp ? std::nullopt : m_staleness.DueTick();
}

void CWorkerSource::Stop() {
    m_stopping = true;
    m_restartTick.reset();
    if (!m_session.IsRunning() && !m_end) {
        m_end = EndReason::kWorkerEnded;
    }
    m_session.Stop();
}

void CWorkerSource::OnHello(const Hello& hello) {
    Tell(m_clock(), HelloEvent{hello, m_session.WorkerId()});
}

void CWorkerSource::OnGpuStatic(const GpuStatic& fixed) {
    GpuStatic healthy = fixed;
    const Moment now = m_clock();
    const auto change = m_health.Check(healthy.first);
    m_anyReading = true;
    m_staleness.OnSign();
    if (change) {
        Tell(now, *change);
    }
    Tell(now, healthy);
}

void CWorkerSource::OnGpuReading(const GpuReading& reading) {
    GpuReading healthy = reading;
    const Moment now = m_clock();
    const auto change = m_health.Check(healthy);
    NoteReading(SourceOf(healthy), now);
    if (change) {
        Tell(now, *change);
    }
    Tell(now, healthy);
}

void CWorkerSource::OnCpuTemperature(const CpuTemperature& temperature) {
    const Moment now = m_clock();
    NoteReading(kCpuSource, now);
    Tell(now, temperature);
}

// It takes its place in the round: a worker whose only source says nonsense is not a silent one.
void CWorkerSource::OnCpuUnread() {
    const Moment now = m_clock();
    NoteSource(kCpuSource, now);
    Tell(now, CpuUnreadEvent());
}

void CWorkerSource::NoteReading(const std::string& source, Moment now) {
    m_anyReading = true;
    NoteSource(source, now);
    m_staleness.OnReading(now.utc);
}

void CWorkerSource::NoteSource(const std::string& source, Moment now) {
    m_staleness.OnSign();
    if (m_rounds.Holds(source)) {
        m_rounds.Complete();
        if (const auto fresh = m_staleness.OnRound()) {
            Tell(now, *fresh);
        }
    }
    m_rounds.Add(source);
}

void CWorkerSource::OnPayloadError(const PayloadError& error) {
    const Moment now = m_clock();
    // The others may come from any process.
    if (error.fault != PayloadFault::kForeignSender &&
        error.fault != PayloadFault::kForeignWindow) {
        m_staleness.OnSign();
    }
    if (const auto leftOut = m_limiter.Admit(FaultName(error.fault), now.tick)) {
        Tell(now, ErrorEvent{error, *leftOut});
    }
}

void CWorkerSource::OnStopStep(StopStep step, const std::string& reason) {
    if (step == StopStep::kWindowTaken) {
        Tell(m_clock(), NoticeEvent{"worker.window_taken", "stopping the worker: " + reason +
                                                               "; taking its stub window away"});
    }
    if (step == StopStep::kForced) {
        Tell(m_clock(), NoticeEvent{"worker.forced",
                                    "stopping the worker: " + reason + "; ending it by force"});
    }
}

void CWorkerSource::OnExit(const WorkerExit& exit) {
    const Moment now = m_clock();
    m_staleness.End();
    const auto restartIn = RestartAfter(exit);
    Tell(now, ExitEvent{exit, restartIn});
    // The sink may have called Stop.
    if (restartIn && !m_stopping) {
        m_restartTick = now.tick + *restartIn;
        return;
    }
    if (exit.kind == ExitKind::kByItself && !m_stopping && !m_anyReading) {
        Tell(now, NoticeEvent{"worker.nothing_read",
                              "the worker has ended without a reading: no NVIDIA GPU and no AMD "
                              "CPU sensor could be read, see the log " +
                                  LogPath(m_options.worker)});
    }
    // A host that was ended by force has not said that anything is wrong.
    const bool hasFailed = exit.kind == ExitKind::kHostFailure && !exit.forced;
    m_end = hasFailed ? EndReason::kNotStarted : EndReason::kWorkerEnded;
}

std::optional<std::chrono::milliseconds> CWorkerSource::RestartAfter(const WorkerExit& exit) {
    const bool hasFailed = m_givenUp || exit.kind == ExitKind::kCrash;
    if (m_stopping || !m_options.restart || !hasFailed) {
        return std::nullopt;
    }
    m_restartAttempt = NextAttempt(m_restartAttempt, exit.lived);
    return RestartPause(m_restartAttempt);
}

void CWorkerSource::Tell(Moment now, EventBody body) {
    m_sink->OnEvent({now.utc, std::move(body)});
}

}  // namespace zorvane
