#include "host/systemend.h"

#include "base/windowthread.h"

namespace {

// Windows' threads call in at any time until the process ends.
const CRunningExport* s_worker = nullptr;

// Windows ends the process as soon as its call has been answered; main's return comes first.
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
    // One level below that of other programs: the stub is told first.
    constexpr DWORD kShutdownLevel = 0x27F;
    SetProcessShutdownParameters(kShutdownLevel, 0);
    if (!SetConsoleCtrlHandler(&OnConsoleEvent, TRUE)) {
        return zorvane::LastCallError("SetConsoleCtrlHandler");
    }
    // A console program that has windows is told of logoff and shutdown through them alone.
    // Deliberately leaked, like everything that the system's threads may meet.
    const auto* session = new zorvane::CWindowThread(&OnMessage, zorvane::WindowReach::kBroadcasts);
    return session->Error();
}
