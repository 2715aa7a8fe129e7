#include "host/systemend.h"

#include "base/windowthread.h"

namespace {

// Used by threads of Windows, which may call at any time until the process ends.
const CRunningExport* s_worker = nullptr;
const zorvane::CWindowThread* s_session = nullptr;

// Never returns: Windows ends the process as soon as the handler does, and main's return must come
// first.
[[noreturn]] void EndInOrder() {
    constexpr DWORD kStubPatienceMs = 1000;
    if (!s_worker->HasStub() || !s_worker->WaitForEnd(kStubPatienceMs)) {
        s_worker->AskToEnd();
    }
    for (;;) {
        Sleep(INFINITE);
    }
}

BOOL WINAPI OnConsoleEvent(DWORD type) {
    if (type != CTRL_C_EVENT && type != CTRL_BREAK_EVENT) {
        EndInOrder();
    }
    if (!s_worker->HasStub()) {
        s_worker->AskToEnd();
    }
    return TRUE;
}

std::optional<LRESULT> OnMessage(UINT message, WPARAM wParam, LPARAM) {
    if (message == WM_ENDSESSION && wParam) {
        EndInOrder();
    }
    return std::nullopt;
}

}  // namespace

std::optional<zorvane::CallError> HoldSystemEnd(const CRunningExport& worker) {
    s_worker = &worker;
    // One level below the default, so that the stub is told first.
    constexpr DWORD kShutdownLevel = 0x27F;
    SetProcessShutdownParameters(kShutdownLevel, 0);
    if (!SetConsoleCtrlHandler(&OnConsoleEvent, TRUE)) {
        return zorvane::LastCallError("SetConsoleCtrlHandler");
    }
    // Windows tells a console program that has windows of logoff and shutdown only through them.
    // Never freed, like everything that Windows' threads may use.
    s_session = new zorvane::CWindowThread(&OnMessage, zorvane::WindowReach::kBroadcasts);
    return s_session->Error();
}
