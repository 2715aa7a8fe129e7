#include "client/workerkeeper.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "client/restart.h"

namespace zorvane {
namespace {

constexpr char kCpuRoundSource[] = "cpu";

// For the round tracker: an index stays with its GPU while the worker runs.
std::string RoundSourceOf(const GpuReading& reading) {
    return "gpu " + std::to_string(reading.index);
}

// A record that the stub does not take in time is lost, so one round without it means nothing.
constexpr int kRoundsUntilGone = 3;

MissingEvent CpuStopped() {
    return {kCpuRoundSource, "cpu.stopped", "no longer reported",
            "The worker no longer reports the CPU temperature, and its log does not say why.",
            "Start the worker again."};
}

}  // namespace

CWorkerKeeper::CWorkerKeeper(KeeperOptions options, Sink sink, std::function<Moment()> clock)
    : m_options(std::move(options)),
      m_sink(std::move(sink)),
      m_clock(std::move(clock)),
      m_session(*this, m_options.stop),
      m_staleness(m_options.stale) {}

void CWorkerKeeper::Start() {
    if (!m_isActive) {
        Begin();
        StartWorker(m_clock());
    }
}

void CWorkerKeeper::StartPaused() {
    if (!m_isActive) {
        Begin();
        Pause();
    }
}

void CWorkerKeeper::Begin() {
    m_isActive = true;
    m_isStopping = false;
    m_isPaused = false;
    m_hasAnyReading = false;
    m_restartAttempt = 0;
}

void CWorkerKeeper::StartWorker(Moment now) {
    m_restartTick.reset();
    m_ending = EndCause::kNone;
    m_hasGreeted = false;
    m_startTick = now.tick;
    m_rounds.Drop();
    m_health.Reset();
    m_roundsWithoutCpu.reset();
    m_log.Prepare(ExpectedLibrary(m_options.worker));
    if (const auto error = m_session.Start(m_options.worker)) {
        Tell(now, StartFailedEvent{*error});
        End(SessionEnd::kNotStarted, now);
        return;
    }
    m_staleness.Begin(now);
    m_log.Begin(m_session.WorkerId());
    Tell(now, WorkerStartEvent{m_session.WorkerId()});
}

void CWorkerKeeper::Stop() {
    if (!m_isActive) {
        return;
    }
    const bool isFirst = !std::exchange(m_isStopping, true);
    m_restartTick.reset();
    if (m_isTellingExit) {
        return;
    }
    if (!m_session.IsRunning()) {
        End(SessionEnd::kStopped, m_clock());
        return;
    }
    // A worker that ends already, and need not hang, is not pressed by the first request.
    const bool isOnItsWay = m_ending == EndCause::kPause || m_ending == EndCause::kAge;
    if (!isFirst || !isOnItsWay) {
        m_ending = EndCause::kStop;
        m_session.Stop();
    }
}

void CWorkerKeeper::Pause() {
    if (!m_isActive || m_isStopping || m_isPaused) {
        return;
    }
    m_isPaused = true;
    m_restartTick.reset();
    if (m_isTellingExit) {
        return;
    }
    if (!m_session.IsRunning()) {
        Tell(m_clock(), PausedEvent{});
        return;
    }
    EndFor(EndCause::kPause);
}

void CWorkerKeeper::Resume() {
    if (!m_isActive || m_isStopping || !std::exchange(m_isPaused, false)) {
        return;
    }
    const Moment now = m_clock();
    Tell(now, ResumedEvent{});
    const bool canStart =
        m_isActive && !m_isStopping && !m_isPaused && !m_isTellingExit && !m_session.IsRunning();
    if (canStart) {
        StartWorker(now);
    }
}

// Does nothing to a worker that is ending already.
void CWorkerKeeper::EndFor(EndCause cause) {
    if (m_ending == EndCause::kNone) {
        m_ending = cause;
        m_session.Stop();
    }
}

void CWorkerKeeper::OnTime(Moment now) {
    if (m_restartTick && now.tick >= *m_restartTick) {
        StartWorker(now);
    }
    if (m_ending != EndCause::kNone) {
        return;
    }
    if (const auto due = m_log.DueTick(); due && now.tick >= *due) {
        TellMissing(now, m_log.Check(now.tick));
    }
    if (const auto stale = m_staleness.Check(now)) {
        Tell(now, *stale);
        TellMissing(now, m_log.OnUnexplained(now.tick));
    }
    // The sink may have called Stop or Pause.
    if (m_ending != EndCause::kNone || !m_session.IsRunning()) {
        return;
    }
    if (m_staleness.IsHopeless()) {
        GiveUpWorker(now);
    } else if (m_options.maxAge && now.tick - m_startTick >= *m_options.maxAge) {
        ReplaceOldWorker(now);
    }
}

// A worker that hangs in a vendor call cannot end in order, so this may take all steps.
void CWorkerKeeper::GiveUpWorker(Moment now) {
    Tell(now, NoticeEvent{"worker.given_up",
                          "nothing has come from the worker for " +
                              std::to_string(m_options.stale.restartAfter.count() / 1000) +
                              " s; ending it"});
    EndFor(EndCause::kSilence);
}

void CWorkerKeeper::ReplaceOldWorker(Moment now) {
    Tell(now, NoticeEvent{"worker.max_age",
                          "the worker has reached its greatest age; ending it in order to start "
                          "another"});
    EndFor(EndCause::kAge);
}

std::optional<std::chrono::milliseconds> CWorkerKeeper::DueTick() const {
    if (m_restartTick) {
        return m_restartTick;
    }
    if (m_ending != EndCause::kNone) {
        return std::nullopt;
    }
    const auto stale = m_staleness.DueTick();
    const auto log = m_log.DueTick();
    return stale && log ? std::min(*stale, *log) : stale;
}

// A worker greets once; what claims to be a further hello tells nothing new.
void CWorkerKeeper::OnHello(const Hello& hello) {
    if (!std::exchange(m_hasGreeted, true)) {
        const Moment now = m_clock();
        m_log.OnUp(m_session.LibraryPath(), now.tick);
        Tell(now, HelloEvent{hello, m_session.WorkerId()});
    }
}

void CWorkerKeeper::OnGpuStatic(const GpuStatic& fixed) {
    GpuStatic healthy = fixed;
    const Moment now = m_clock();
    m_hasAnyReading = true;
    m_log.OnReading("gpu");
    m_staleness.OnSign(now);
    CheckHealth(healthy.first, now);
    Tell(now, std::move(healthy));
}

void CWorkerKeeper::OnGpuReading(const GpuReading& reading) {
    GpuReading healthy = reading;
    const Moment now = m_clock();
    m_log.OnReading("gpu");
    NoteReading(RoundSourceOf(healthy), now);
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
    m_log.OnReading(kCpuRoundSource);
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
    m_hasAnyReading = true;
    NoteSource(source, now);
    m_staleness.OnReading(now.utc);
}

void CWorkerKeeper::NoteSource(const std::string& source, Moment now) {
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
void CWorkerKeeper::NoteRoundEnd(Moment now) {
    if (m_rounds.Holds(kCpuRoundSource)) {
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
                     [](const MissingReport& report) { return report.what == kCpuRoundSource; })) {
        Tell(now, CpuStopped());
    }
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
    // What the sink calls meanwhile takes effect below.
    m_isTellingExit = true;
    TellMissing(now, m_log.CheckAtEnd(exit.kind == ExitKind::kByItself));
    const auto restartIn = RestartAfter(exit);
    Tell(now, ExitEvent{exit, restartIn});
    m_isTellingExit = false;
    const EndCause cause = std::exchange(m_ending, EndCause::kNone);
    if (m_isStopping) {
        End(SessionEnd::kStopped, now);
    } else if (m_isPaused) {
        Tell(now, PausedEvent{});
    } else if (restartIn) {
        m_restartTick = now.tick + *restartIn;
    } else if (cause == EndCause::kPause) {
        StartWorker(now);
    } else {
        EndAfter(exit, now);
    }
}

void CWorkerKeeper::EndAfter(const WorkerExit& exit, Moment now) {
    if (exit.kind == ExitKind::kByItself && !m_hasAnyReading) {
        const std::wstring log = m_log.Path();
        Tell(now, NoticeEvent{"worker.nothing_read",
                              "the worker has ended without a reading: no NVIDIA GPU and no AMD "
                              "CPU sensor could be read" +
                                  (log.empty() ? "" : ", see the log " + ToUtf8(log))});
    }
    // A host that was ended by force has not said that anything is wrong.
    const bool hasFailed = exit.kind == ExitKind::kHostFailure && !exit.forced;
    End(hasFailed ? SessionEnd::kNotStarted : SessionEnd::kWorkerEnded, now);
}

std::optional<std::chrono::milliseconds> CWorkerKeeper::RestartAfter(const WorkerExit& exit) {
    if (m_isStopping || m_isPaused) {
        return std::nullopt;
    }
    // Of a pause: Resume came while the worker was still ending.
    if (m_ending == EndCause::kPause || m_ending == EndCause::kAge) {
        return std::chrono::milliseconds(0);
    }
    const bool hasFailed = m_ending == EndCause::kSilence || exit.kind == ExitKind::kCrash;
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

void CWorkerKeeper::TellMissing(Moment now, const std::vector<MissingReport>& reports) {
    for (const auto& [what, why] : reports) {
        Tell(now, MissingEvent{what, why.id, why.brief, why.text, why.remedy});
    }
}

void CWorkerKeeper::Tell(Moment now, SessionEventBody body) { m_sink({now.utc, std::move(body)}); }

}  // namespace zorvane
