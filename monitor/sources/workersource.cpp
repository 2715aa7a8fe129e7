#include "monitor/sources/workersource.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "client/restart.h"
#include "monitor/sources/startfacts.h"

namespace zorvane {
namespace {

// For the round tracker: an index stays with its GPU while the worker runs.
std::string SourceOf(const GpuReading& reading) { return fmt::format("gpu {}", reading.index); }

// A record that the stub does not take in time is lost, so one round without it means nothing.
constexpr int kRoundsUntilGone = 3;

MissingEvent CpuStopped() {
    return {.what = "cpu",
            .id = "cpu.stopped",
            .brief = "no longer reported",
            .text =
                "The worker no longer reports the CPU temperature, and its log does not say "
                "why.",
            .remedy = "Start the worker again."};
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
    m_roundsWithoutCpu.reset();
    m_log.Prepare(ExpectedLibrary(m_options.worker));
    if (const auto error = m_session.Start(m_options.worker)) {
        Tell(now, NoticeEvent{"worker.not_started", Describe(*error)});
        m_end = EndReason::kNotStarted;
        return;
    }
    m_staleness.Begin(now);
    m_log.Begin(m_session.WorkerId());
    Tell(now, WorkerStartEvent{m_session.WorkerId()});
}

void CWorkerSource::OnTime(Moment now) {
    if (m_restartTick && now.tick >= *m_restartTick) {
        StartWorker(now);
    }
    if (m_stopping || m_givenUp) {
        return;
    }
    if (const auto due = m_log.DueTick(); due && now.tick >= *due) {
        TellMissing(now, m_log.Check(now.tick));
    }
    if (const auto stale = m_staleness.Check(now)) {
        Tell(now, *stale);
        TellMissing(now, m_log.OnUnexplained(now.tick));
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
    if (m_stopping || m_givenUp) {
        return std::nullopt;
    }
    const auto stale = m_staleness.DueTick();
    const auto log = m_log.DueTick();
    return stale && log ? std::min(*stale, *log) : stale;
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
    const Moment now = m_clock();
    m_log.OnUp(m_session.LibraryPath(), now.tick);
    Tell(now, HelloEvent{hello, m_session.WorkerId()});
}

void CWorkerSource::OnGpuStatic(const GpuStatic& fixed) {
    GpuStatic healthy = fixed;
    const Moment now = m_clock();
    const auto change = m_health.Check(healthy.first);
    m_anyReading = true;
    m_log.OnReading("gpu");
    m_staleness.OnSign(now);
    if (change) {
        std::visit([&](const auto& told) { Tell(now, told); }, *change);
    }
    Tell(now, healthy);
}

void CWorkerSource::OnGpuReading(const GpuReading& reading) {
    GpuReading healthy = reading;
    const Moment now = m_clock();
    const auto change = m_health.Check(healthy);
    m_log.OnReading("gpu");
    NoteReading(SourceOf(healthy), now);
    if (change) {
        std::visit([&](const auto& told) { Tell(now, told); }, *change);
    }
    Tell(now, healthy);
}

void CWorkerSource::OnCpuTemperature(const CpuTemperature& temperature) {
    const Moment now = m_clock();
    m_log.OnReading(kCpuSource);
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
    m_staleness.OnSign(now);
    if (m_rounds.Holds(source)) {
        NoteRoundEnd(now);
        m_rounds.Complete();
        if (const auto fresh = m_staleness.OnRound(now)) {
            Tell(now, *fresh);
        }
    }
    m_rounds.Add(source);
}

// The task of the CPU temperature may have ended while the GPUs go on.
void CWorkerSource::NoteRoundEnd(Moment now) {
    if (m_rounds.Holds(kCpuSource)) {
        m_roundsWithoutCpu = 0;
        return;
    }
    if (!m_roundsWithoutCpu || ++*m_roundsWithoutCpu < kRoundsUntilGone) {
        return;
    }
    m_roundsWithoutCpu.reset();
    const std::vector<MissingReport> reports = m_log.OnUnexplained(now.tick);
    TellMissing(now, reports);
    if (std::none_of(reports.begin(), reports.end(),
                     [](const MissingReport& report) { return report.what == kCpuSource; })) {
        Tell(now, CpuStopped());
    }
}

void CWorkerSource::OnPayloadError(const PayloadError& error) {
    const Moment now = m_clock();
    // The others may come from any process.
    if (error.fault != PayloadFault::kForeignSender &&
        error.fault != PayloadFault::kForeignWindow) {
        m_staleness.OnSign(now);
    }
    if (const auto leftOut = m_limiter.Admit(FaultName(error.fault), now.tick)) {
        Tell(now, ErrorEvent{error, *leftOut});
    }
}

void CWorkerSource::OnStopStep(StopStep step, const std::string& reason) {
    if (step == StopStep::kWindowTaken) {
        Tell(m_clock(),
             NoticeEvent{"worker.window_taken", "stopping the worker: " + reason +
                                                    "; taking its stub window away, which it "
                                                    "notices within five seconds"});
    }
    if (step == StopStep::kForced) {
        Tell(m_clock(), NoticeEvent{"worker.forced",
                                    "stopping the worker: " + reason + "; ending it by force"});
    }
}

void CWorkerSource::OnExit(const WorkerExit& exit) {
    const Moment now = m_clock();
    m_staleness.End();
    TellMissing(now, m_log.CheckAtEnd(exit.kind == ExitKind::kByItself));
    const auto restartIn = RestartAfter(exit);
    Tell(now, ExitEvent{exit, restartIn});
    // The sink may have called Stop.
    if (restartIn && !m_stopping) {
        m_restartTick = now.tick + *restartIn;
        return;
    }
    if (exit.kind == ExitKind::kByItself && !m_stopping && !m_anyReading) {
        const std::wstring log = m_log.Path();
        Tell(now, NoticeEvent{"worker.nothing_read",
                              "the worker has ended without a reading: no NVIDIA GPU and no AMD "
                              "CPU sensor could be read" +
                                  (log.empty() ? "" : ", see the log " + ToUtf8(log))});
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

void CWorkerSource::TellMissing(Moment now, const std::vector<MissingReport>& reports) {
    for (const auto& [what, why] : reports) {
        Tell(now, MissingEvent{what, why.id, why.brief, why.text, why.remedy});
    }
}

void CWorkerSource::Tell(Moment now, EventBody body) {
    m_sink->OnEvent({now.utc, std::move(body)});
}

}  // namespace zorvane
