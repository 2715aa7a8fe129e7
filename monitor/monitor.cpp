#include "monitor/monitor.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "client/restart.h"

namespace zorvane {
namespace {

// Where the worker's log is to be found, for people.
std::string LogPath(const WorkerCommand& worker) {
    const std::wstring& file = worker.libraryPath.empty() ? worker.host : worker.libraryPath;
    const size_t slash = file.find_last_of(L"\\/");
    const std::wstring folder =
        slash == std::wstring::npos ? std::wstring() : file.substr(0, slash + 1);
    return ToUtf8(folder + L"Log\\Qorvella_HardwareDll.log");
}

}  // namespace

CMonitor::CMonitor(const Options& options, IView& view, const COutput& output,
                   CInterrupts& interrupts)
    : m_options(options),
      m_view(view),
      m_output(output),
      m_interrupts(interrupts),
      m_session(*this) {}

ExitCode CMonitor::Run() {
    if (m_options.duration) {
        m_endTick = GetTickCount64() + static_cast<ULONGLONG>(m_options.duration->count());
    }
    StartWorker();
    while (!m_finished) {
        const HANDLE interrupted = m_interrupts.Event();
        MsgWaitForMultipleObjectsEx(1, &interrupted, WaitTimeMs(), QS_ALLINPUT,
                                    MWMO_INPUTAVAILABLE);
        PumpMessages();
        OnInterrupts();
        OnTimes();
        OnOutput();
    }
    const ExitCode outcome = OutcomeOf(m_facts);
    if (outcome == kExitNoReading && m_facts.reason == EndReason::kDuration) {
        m_view.ShowNote("no reading was received in the time given");
    }
    return outcome;
}

void CMonitor::StartWorker() {
    m_restartTick.reset();
    m_rounds.Drop();
    if (const auto error = m_session.Start(m_options.worker)) {
        m_view.ShowNote(Describe(*error));
        End(EndReason::kNotStarted);
        return;
    }
    m_model.StartWorker(m_session.WorkerId());
    m_changed = true;
}

void CMonitor::PumpMessages() {
    // A worker that sends without a pause must not keep the rest from its turn.
    constexpr int kMessagesInARow = 64;
    MSG message;
    for (int taken = 0; taken < kMessagesInARow && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);
         ++taken) {
        DispatchMessageW(&message);
    }
    if (std::exchange(m_changed, false)) {
        m_view.ShowChange(m_model);
    }
}

void CMonitor::OnInterrupts() {
    for (unsigned count = m_interrupts.Take(); count > 0; --count) {
        if (m_ending) {
            m_session.Stop();
        } else {
            End(EndReason::kInterrupt);
        }
    }
}

void CMonitor::OnTimes() {
    const ULONGLONG now = GetTickCount64();
    if (m_endTick && now >= *m_endTick) {
        m_endTick.reset();
        End(EndReason::kDuration);
    }
    if (m_restartTick && now >= *m_restartTick) {
        StartWorker();
    }
}

void CMonitor::OnOutput() {
    if (!m_output.Failure() || m_ending) {
        return;
    }
    if (m_output.IsReaderGone()) {
        End(EndReason::kReaderGone);
        return;
    }
    m_view.ShowNote(Describe(*m_output.Failure()));
    End(EndReason::kOutputFailed);
}

DWORD CMonitor::WaitTimeMs() const {
    const ULONGLONG now = GetTickCount64();
    ULONGLONG wait = INFINITE;
    for (const auto& tick : {m_endTick, m_restartTick}) {
        if (tick) {
            wait = std::min(wait, *tick > now ? *tick - now : 0);
        }
    }
    return static_cast<DWORD>(wait);
}

void CMonitor::End(EndReason reason) {
    if (m_ending) {
        return;
    }
    m_ending = true;
    m_facts.reason = reason;
    m_endTick.reset();
    m_restartTick.reset();
    m_finished = !m_session.IsRunning();
    m_session.Stop();
}

void CMonitor::OnHello(const Hello& hello) {
    m_model.Apply(hello);
    m_changed = true;
    m_view.ShowEvent(HelloEvent{hello, m_session.WorkerId()});
}

void CMonitor::OnGpuStatic(const GpuStatic& fixed) {
    if (!m_ending) {
        Show(fixed);
    }
}

void CMonitor::OnGpuReading(const GpuReading& reading) {
    if (EntersRound(m_model.SourceOf(reading))) {
        Show(reading);
    }
}

void CMonitor::OnCpuTemperature(const CpuTemperature& temperature) {
    if (EntersRound(kCpuSource)) {
        Show(temperature);
    }
}

// False when the run is over: what comes now belongs to a round that nobody asked for.
bool CMonitor::EntersRound(const std::string& source) {
    if (m_ending) {
        return false;
    }
    if (m_rounds.Holds(source)) {
        m_model.KeepOnly(m_rounds.Sources());
        m_view.ShowRound(m_model);
        m_rounds.Complete();
        if (m_rounds.Completed() == m_options.count) {
            End(EndReason::kCount);
            return false;
        }
    }
    m_rounds.Add(source);
    return true;
}

template <typename T>
void CMonitor::Show(const T& value) {
    m_model.Apply(value);
    m_changed = true;
    m_facts.anyReading = true;
    m_view.ShowEvent(value);
}

void CMonitor::OnPayloadError(const PayloadError& error) {
    const std::chrono::milliseconds now(GetTickCount64());
    if (const auto leftOut = m_limiter.Admit(FaultName(error.fault), now)) {
        m_view.ShowEvent(ErrorEvent{error, *leftOut});
    }
}

void CMonitor::OnStopStep(StopStep step, const std::string& reason) {
    if (step == StopStep::kWindowTaken) {
        m_view.ShowNote("stopping the worker: " + reason + "; taking its stub window away");
    }
    if (step == StopStep::kForced) {
        m_view.ShowNote("stopping the worker: " + reason + "; ending it by force");
    }
}

void CMonitor::OnExit(const WorkerExit& exit) {
    if (!m_rounds.Sources().empty()) {
        m_view.ShowRound(m_model);
    }
    m_rounds.Drop();
    m_facts.forced = exit.forced;
    const ExitEvent event{exit, RestartAfter(exit)};
    m_view.ShowEvent(event);
    NoteExit(event);
    if (event.restartIn) {
        m_restartTick = GetTickCount64() + static_cast<ULONGLONG>(event.restartIn->count());
        return;
    }
    End(exit.kind == ExitKind::kHostFailure ? EndReason::kNotStarted : EndReason::kWorkerEnded);
    m_finished = true;
}

std::optional<std::chrono::milliseconds> CMonitor::RestartAfter(const WorkerExit& exit) {
    if (m_ending || !m_options.restart || exit.kind != ExitKind::kCrash) {
        return std::nullopt;
    }
    m_restartAttempt = NextAttempt(m_restartAttempt, exit.lived);
    return RestartPause(m_restartAttempt);
}

// Says what nobody expects; an orderly end that was asked for needs no words.
void CMonitor::NoteExit(const ExitEvent& event) {
    const std::string what = "the worker " + DescribeExit(event.exit);
    if (event.restartIn) {
        m_view.ShowNote(
            fmt::format("{}; starting it again in {} s", what, event.restartIn->count() / 1000));
        return;
    }
    const bool byItself = event.exit.kind == ExitKind::kByItself;
    if (event.exit.kind == ExitKind::kOrderly || (byItself && m_ending)) {
        return;
    }
    m_view.ShowNote(!byItself || m_facts.anyReading
                        ? what
                        : what +
                              " without a reading: no NVIDIA GPU and no AMD CPU sensor could be "
                              "read, see the log " +
                              LogPath(m_options.worker));
}

}  // namespace zorvane
