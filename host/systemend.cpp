#include "host/systemend.h"

#include "base/messagewindow.h"

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

DWORD WINAPI RunSessionWindow(void*) {
    zorvane::CMessageWindow window;
    if (window.Create(&OnMessage, zorvane::WindowReach::kBroadcasts)) {
        return 0;
    }
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        DispatchMessageW(&message);
    }
    return 0;
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
    const zorvane::CUniqueHandle thread(
        CreateThread(nullptr, 0, &RunSessionWindow, nullptr, 0, nullptr));
    if (!thread) {
        return zorvane::LastCallError("CreateThread");
    }
    return std::nullopt;
}
