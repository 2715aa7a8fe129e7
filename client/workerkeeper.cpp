#include "client/workerkeeper.h"

#include <utility>

#include "client/restart.h"

namespace zorvane {

CWorkerKeeper::CWorkerKeeper(KeeperOptions options, Sink sink, std::function<Moment()> clock)
    : m_options(std::move(options)),
      m_sink(std::move(sink)),
      m_clock(std::move(clock)),
      m_session(*this, m_options.stop),
      m_staleness(m_options.stale) {}

void CWorkerKeeper::Start() {
    if (m_isActive) {
        return;
    }
    m_isActive = true;
    m_isStopping = false;
    m_isPaused = false;
    m_restartAttempt = 0;
    StartWorker(m_clock());
}

void CWorkerKeeper::StartWorker(Moment now) {
    m_restartTick.reset();
    m_isEnding = false;
    m_isGivenUp = false;
    m_isEndedByPause = false;
    m_rounds.Drop();
    m_health.Reset();
    if (m_options.beforeStart) {
        m_options.beforeStart();
    }
    if (const auto error = m_session.Start(m_options.worker)) {
        Tell(now, StartFailedEvent{*error});
        End(SessionEnd::kNotStarted, now);
        return;
    }
    m_staleness.Begin(now);
    Tell(now, WorkerStartEvent{m_session.WorkerId()});
}

void CWorkerKeeper::Stop() {
    if (!m_isActive) {
        return;
    }
    const bool isFirst = !std::exchange(m_isStopping, true);
    m_restartTick.reset();
    if (!m_session.IsRunning()) {
        End(SessionEnd::kStopped, m_clock());
        return;
    }
    // A worker that is ending already, for a pause, is not pressed by the first request.
    if (!isFirst || !m_isEnding) {
        EndWorker();
    }
}

void CWorkerKeeper::Pause() {
    if (!m_isActive || m_isStopping || m_isPaused) {
        return;
    }
    m_isPaused = true;
    m_restartTick.reset();
    if (!m_session.IsRunning()) {
        Tell(m_clock(), PausedEvent{});
        return;
    }
    if (!m_isEnding) {
        m_isEndedByPause = true;
        EndWorker();
    }
}

void CWorkerKeeper::Resume() {
    if (!m_isActive || m_isStopping || !std::exchange(m_isPaused, false)) {
        return;
    }
    const Moment now = m_clock();
    Tell(now, ResumedEvent{});
    const bool canStart = m_isActive && !m_isStopping && !m_isPaused && !m_session.IsRunning();
    if (canStart) {
        StartWorker(now);
    }
}

void CWorkerKeeper::EndWorker() {
    m_isEnding = true;
    m_session.Stop();
}

void CWorkerKeeper::OnTime(Moment now) {
    if (m_restartTick && now.tick >= *m_restartTick) {
        StartWorker(now);
    }
    if (m_isEnding) {
        return;
    }
    if (const auto stale = m_staleness.Check(now)) {
        Tell(now, *stale);
    }
    if (m_staleness.IsHopeless() && !m_isEnding) {
        GiveUpWorker(now);
    }
}

// A worker that hangs in a vendor call cannot end in order, so this may take all steps.
void CWorkerKeeper::GiveUpWorker(Moment now) {
    m_isGivenUp = true;
    m_isEnding = true;
    Tell(now, NoticeEvent{"worker.given_up",
                          "nothing has come from the worker for " +
                              std::to_string(m_options.stale.restartAfter.count() / 1000) +
                              " s; ending it"});
    m_session.Stop();
}

std::optional<std::chrono::milliseconds> CWorkerKeeper::DueTick() const {
    if (m_restartTick) {
        return m_restartTick;
    }
    return m_isEnding ? std::nullopt : m_staleness.DueTick();
}

void CWorkerKeeper::OnHello(const Hello& hello) {
    Tell(m_clock(), HelloEvent{hello, m_session.WorkerId()});
}

void CWorkerKeeper::OnGpuStatic(const GpuStatic& fixed) {
    GpuStatic healthy = fixed;
    const Moment now = m_clock();
    m_staleness.OnSign(now);
    CheckHealth(healthy.first, now);
    Tell(now, std::move(healthy));
}

void CWorkerKeeper::OnGpuReading(const GpuReading& reading) {
    GpuReading healthy = reading;
    const Moment now = m_clock();
    NoteReading(RoundSourceOf(healthy.index), now);
    CheckHealth(healthy, now);
    Tell(now, std::move(healthy));
}

void CWorkerKeeper::CheckHealth(GpuReading& reading, Moment now) {
    if (const auto change = m_health.Check(reading)) {
        std::visit([&](const auto& told) { Tell(now, told); }, *change);
    }
}

void CWorkerKeeper::OnCpuTemperature(const CpuTemperature& temperature) {
    const Moment now = m_clock();
    NoteReading(kCpuRoundSource, now);
    Tell(now, temperature);
}

// It takes its place in the round: a worker whose only source says nonsense is not a silent one.
void CWorkerKeeper::OnCpuUnread() {
    const Moment now = m_clock();
    NoteSource(kCpuRoundSource, now);
    Tell(now, CpuUnreadEvent{});
}

void CWorkerKeeper::NoteReading(const std::string& source, Moment now) {
    NoteSource(source, now);
    m_staleness.OnReading(now.utc);
}

void CWorkerKeeper::NoteSource(const std::string& source, Moment now) {
    m_staleness.OnSign(now);
    if (m_rounds.Holds(source)) {
        m_rounds.Complete();
        if (const auto fresh = m_staleness.OnRound(now)) {
            Tell(now, *fresh);
        }
    }
    m_rounds.Add(source);
}

void CWorkerKeeper::OnPayloadError(const PayloadError& error) {
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

void CWorkerKeeper::OnStopStep(StopStep step, const std::string& reason) {
    Tell(m_clock(), StopStepEvent{step, reason});
}

void CWorkerKeeper::OnExit(const WorkerExit& exit) {
    const Moment now = m_clock();
    m_staleness.End();
    m_isEnding = false;
    const bool wantsPause = m_isPaused;
    const auto restartIn = RestartAfter(exit);
    Tell(now, ExitEvent{exit, restartIn});
    // The sink may have called Stop, Pause or Resume.
    if (!m_isActive || m_session.IsRunning()) {
        return;
    }
    if (m_isStopping) {
        End(SessionEnd::kStopped, now);
    } else if (m_isPaused) {
        if (wantsPause) {
            Tell(now, PausedEvent{});
        }
    } else if (restartIn) {
        m_restartTick = now.tick + *restartIn;
    } else {
        // A host that was ended by force has not said that anything is wrong.
        const bool hasFailed = exit.kind == ExitKind::kHostFailure && !exit.forced;
        End(hasFailed ? SessionEnd::kNotStarted : SessionEnd::kWorkerEnded, now);
    }
}

std::optional<std::chrono::milliseconds> CWorkerKeeper::RestartAfter(const WorkerExit& exit) {
    if (m_isStopping || m_isPaused) {
        return std::nullopt;
    }
    // Resume came while the worker was still ending.
    if (m_isEndedByPause) {
        return std::chrono::milliseconds(0);
    }
    const bool hasFailed = m_isGivenUp || exit.kind == ExitKind::kCrash;
    if (!m_options.restart || !hasFailed) {
        return std::nullopt;
    }
    m_restartAttempt = NextAttempt(m_restartAttempt, exit.lived);
    return RestartPause(m_restartAttempt);
}

// Last in whatever calls it: the sink may start anew.
void CWorkerKeeper::End(SessionEnd reason, Moment now) {
    m_isActive = false;
    m_restartTick.reset();
    m_staleness.End();
    Tell(now, EndEvent{reason});
}

void CWorkerKeeper::Tell(Moment now, SessionEventBody body) { m_sink({now.utc, std::move(body)}); }

}  // namespace zorvane
