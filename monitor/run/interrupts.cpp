#include "monitor/run/interrupts.h"

#include <atomic>

namespace zorvane {
namespace {

// The system calls the handler on a thread of its own, at any time until the process ends: what it
// touches is never taken down.
std::atomic<unsigned> s_count{0};
std::atomic<HANDLE> s_interrupted = nullptr;
HANDLE s_runEnded = nullptr;
std::atomic<bool> s_ignoresLogoff{false};

BOOL WINAPI OnConsoleEvent(DWORD type) {
    if (type == CTRL_LOGOFF_EVENT && s_ignoresLogoff) {
        return TRUE;
    }
    Interrupt();
    // Returning from one of the other events ends the process; the worker's orderly end comes
    // first.
    if (type != CTRL_C_EVENT && type != CTRL_BREAK_EVENT) {
        WaitForSingleObject(s_runEnded, INFINITE);
    }
    return TRUE;
}

}  // namespace

void Interrupt() {
    s_count.fetch_add(1);
    SetEvent(s_interrupted);
}

void IgnoreLogoff() { s_ignoresLogoff = true; }

CInterrupts::~CInterrupts() {
    if (s_runEnded) {
        SetEvent(s_runEnded);
    }
}

std::optional<CallError> CInterrupts::Install() {
    s_interrupted = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    s_runEnded = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (!s_interrupted || !s_runEnded) {
        return LastCallError("CreateEventW");
    }
    if (s_count > 0) {
        SetEvent(s_interrupted);
    }
    if (!SetConsoleCtrlHandler(&OnConsoleEvent, TRUE)) {
        return LastCallError("SetConsoleCtrlHandler");
    }
    return std::nullopt;
}

HANDLE CInterrupts::Event() const { return s_interrupted; }

unsigned CInterrupts::Take() { return s_count.exchange(0); }

}  // namespace zorvane
