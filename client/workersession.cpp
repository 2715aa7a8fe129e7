#include "client/workersession.h"

#include <algorithm>
#include <type_traits>
#include <variant>

#include "base/modulepath.h"
#include "client/loadedlibrary.h"
#include "client/plausible.h"

namespace zorvane {
namespace {

constexpr UINT kProcessEndMessage = WM_APP;
constexpr UINT_PTR kGraceTimerId = 1;
constexpr UINT kSendTimeoutMs = 1000;

std::optional<CallError> SendStopMessage(HWND stub, HWND worker) {
    COPYDATASTRUCT data{kCopyDataStop, 0, nullptr};
    // Not SMTO_BLOCK: the worker may be sending to this thread at the same moment.
    if (SendMessageTimeoutW(worker, WM_COPYDATA, reinterpret_cast<WPARAM>(stub),
                            reinterpret_cast<LPARAM>(&data), SMTO_NORMAL | SMTO_ABORTIFHUNG,
                            kSendTimeoutMs, nullptr) != 0) {
        return std::nullopt;
    }
    return LastCallError("SendMessageTimeoutW");
}

std::string DescribeSendFailure(const CallError& error) {
    return error.code == ERROR_ACCESS_DENIED
               ? "the worker has more rights than this program, so Windows keeps the stop message "
                 "from it (" +
                     Describe(error) + ")"
               : Describe(error);
}

std::wstring LibraryName(const WorkerCommand& command) {
    return command.libraryPath.empty()
               ? L"Zorvane.dll"
               : command.libraryPath.substr(FolderOf(command.libraryPath).size());
}

}  // namespace

std::string DescribeExit(const WorkerExit& exit) {
    return exit.forced ? "was ended by force" : DescribeExit(exit.code, exit.greeted, exit.asked);
}

CWorkerSession::CWorkerSession(IWorkerListener& listener, const StopTimes& times)
    : m_listener(listener), m_times(times) {}

std::optional<CallError> CWorkerSession::Start(const WorkerCommand& command) {
    m_step = StopStep::kNone;
    m_hasEnded = false;
    m_workerWindow = nullptr;
    m_libraryName = LibraryName(command);
    m_libraryPath.clear();
    m_startTick = GetTickCount64();
    if (auto error = MakeControlWindow()) {
        return error;
    }
    if (auto error = m_stub.Create(
            [this](HWND sender, const Payload& payload) { OnPayload(sender, payload); },
            [this](const Payload& payload) { OnArrival(payload); })) {
        return error;
    }
    return m_process.Start(command, m_stub.Handle(), m_control.Handle(), kProcessEndMessage);
}

// Once per session: OnExit may start it again from inside this window's handler, which must not be
// destroyed under it.
std::optional<CallError> CWorkerSession::MakeControlWindow() {
    if (m_control.Handle()) {
        return std::nullopt;
    }
    return m_control.Create(
        [this](UINT message, WPARAM wParam, LPARAM) { return OnControlMessage(message, wParam); });
}

void CWorkerSession::Stop() {
    if (IsRunning() && !m_hasEnded) {
        Press(m_step == StopStep::kNone ? "stop was asked for" : "asked again");
    }
}

void CWorkerSession::Press(const std::string& reason) {
    switch (m_step) {
        case StopStep::kNone:
            EnterStep(StopStep::kAsked, m_times.afterAsking, reason);
            // The listener may have called Stop again meanwhile.
            if (m_step == StopStep::kAsked && m_workerWindow) {
                SendStop();
            }
            return;
        case StopStep::kAsked:
            EnterStep(StopStep::kWindowTaken, m_times.afterTakingWindow, reason);
            m_stub.Destroy();
            return;
        case StopStep::kWindowTaken:
            EnterStep(StopStep::kForced, {}, reason);
            if (const auto error = m_process.Terminate()) {
                m_listener.OnStopStep(m_step, Describe(*error));
            }
            return;
        case StopStep::kForced:
            return;
    }
}

void CWorkerSession::SendStop() {
    const auto error = SendStopMessage(m_stub.Handle(), m_workerWindow);
    // A message that timed out may still arrive; any other failure is final.
    if (error && error->code != ERROR_TIMEOUT) {
        Press(DescribeSendFailure(*error));
    }
}

// Tell the listener last: if it calls Stop from there, that takes the step after this one.
void CWorkerSession::EnterStep(StopStep step, std::chrono::milliseconds grace,
                               const std::string& reason) {
    m_step = step;
    KillTimer(m_control.Handle(), kGraceTimerId);
    if (step != StopStep::kForced) {
        SetTimer(m_control.Handle(), kGraceTimerId, static_cast<UINT>(grace.count()), nullptr);
    }
    m_listener.OnStopStep(step, reason);
}

std::optional<LRESULT> CWorkerSession::OnControlMessage(UINT message, WPARAM wParam) {
    if (message == kProcessEndMessage) {
        OnProcessEnd();
        return 0;
    }
    if (message == WM_TIMER && wParam == kGraceTimerId) {
        KillTimer(m_control.Handle(), kGraceTimerId);
        const auto grace =
            m_step == StopStep::kAsked ? m_times.afterAsking : m_times.afterTakingWindow;
        Press("no end within " + std::to_string(grace.count()) + " ms");
        return 0;
    }
    return std::nullopt;
}

// A worker with nothing to read ends right after its hello: ask before it is answered.
void CWorkerSession::OnArrival(const Payload& payload) {
    if (payload.code == kCopyDataHello && m_libraryPath.empty()) {
        m_libraryPath = FindLoadedLibrary(m_process.Handle(), m_libraryName);
    }
}

void CWorkerSession::OnPayload(HWND sender, const Payload& payload) {
    if (IsForeign(sender)) {
        m_listener.OnPayloadError({PayloadFault::kForeignSender,
                                   "code " + std::to_string(payload.code) +
                                       " came from a window of another process than the worker's"});
    }
    Decoded decoded = Decode(payload);
    std::visit(
        [this](auto& value) {
            using Value = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Value, Hello>) {
                OnHello(value);
            }
            if constexpr (std::is_same_v<Value, GpuStatic>) {
                ReportDoubt(RemoveImplausible(value));
                m_listener.OnGpuStatic(value);
            }
            if constexpr (std::is_same_v<Value, GpuReading>) {
                ReportDoubt(RemoveImplausible(value));
                m_listener.OnGpuReading(value);
            }
            if constexpr (std::is_same_v<Value, CpuTemperature>) {
                OnCpuTemperature(value);
            }
            if constexpr (std::is_same_v<Value, PayloadError>) {
                m_listener.OnPayloadError(value);
            }
        },
        decoded);
    if (payload.code == kCopyDataStop && std::holds_alternative<PayloadError>(decoded)) {
        m_listener.OnCpuUnread();
    }
}

void CWorkerSession::OnCpuTemperature(const CpuTemperature& temperature) {
    const auto doubt = CheckPlausible(temperature);
    ReportDoubt(doubt);
    if (doubt) {
        m_listener.OnCpuUnread();
        return;
    }
    m_listener.OnCpuTemperature(temperature);
}

void CWorkerSession::ReportDoubt(const std::optional<PayloadError>& doubt) {
    if (doubt) {
        m_listener.OnPayloadError(*doubt);
    }
}

void CWorkerSession::OnHello(const Hello& hello) {
    const auto window = reinterpret_cast<HWND>(static_cast<uintptr_t>(hello.workerWindow));
    if (!window || IsForeign(window)) {
        m_listener.OnPayloadError({PayloadFault::kForeignWindow,
                                   "hello names the window " + std::to_string(hello.workerWindow) +
                                       ", which is none of the worker's"});
        return;
    }
    m_workerWindow = window;
    m_listener.OnHello(hello);
    if (m_step == StopStep::kAsked) {
        SendStop();
    }
}

void CWorkerSession::OnProcessEnd() {
    const std::optional<DWORD> code = m_process.ExitCode();
    if (!code) {
        return;
    }
    // A listener that calls Stop while it receives the last payloads finds the worker gone already.
    m_hasEnded = true;
    m_stub.Deliver();
    WorkerExit exit;
    exit.processId = m_process.Id();
    exit.code = *code;
    exit.greeted = m_workerWindow != nullptr;
    exit.asked = m_step != StopStep::kNone;
    exit.kind = ClassifyExit(exit.code, exit.greeted, exit.asked);
    exit.forced = m_step == StopStep::kForced && exit.code == CWorkerProcess::kTerminatedCode;
    exit.lived = std::chrono::milliseconds(GetTickCount64() - m_startTick);
    KillTimer(m_control.Handle(), kGraceTimerId);
    m_stub.Destroy();
    m_process.Close();
    m_listener.OnExit(exit);
}

// A window that no longer exists, or null, may have been the worker's: not foreign.
bool CWorkerSession::IsForeign(HWND window) const {
    // Almost every payload comes from the window of the hello, which was looked at then.
    if (window == m_workerWindow) {
        return false;
    }
    DWORD owner = 0;
    return GetWindowThreadProcessId(window, &owner) != 0 && owner != m_process.Id();
}

}  // namespace zorvane
