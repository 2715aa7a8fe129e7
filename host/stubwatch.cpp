#include "host/stubwatch.h"

#include <string>

#include "host/hostexit.h"
#include "host/reporterror.h"

namespace {

struct Watch {
    const CRunningExport& worker;
    const CLeftovers& leftovers;
};

void CALLBACK OnStubEnd(void* context, BOOLEAN) {
    const auto* watch = static_cast<const Watch*>(context);
    EndWithoutStub(watch->worker, watch->leftovers);
}

DWORD WINAPI ClearAway(void* leftovers) {
    static_cast<const CLeftovers*>(leftovers)->ClearAway();
    ReportError(L"the stub has gone and the worker has not ended for " +
                std::to_wstring(kStubGraceMs / 1000) + L" seconds: ended by force");
    return 0;
}

// On a thread of its own: a hung driver can block the service manager for ever, and a pipe that
// nobody reads can block the write to standard error.
void ClearAwayInTime(const CLeftovers& leftovers) {
    constexpr DWORD kClearingMs = 5000;
    const zorvane::CUniqueHandle thread(
        CreateThread(nullptr, 0, &ClearAway, const_cast<CLeftovers*>(&leftovers), 0, nullptr));
    if (thread) {
        WaitForSingleObject(thread.get(), kClearingMs);
    }
}

// False when the grace period is over first. A worker that is just starting has no window yet to
// send the request to, so ask again.
bool AskUntilEnd(const CRunningExport& worker) {
    constexpr DWORD kAskAgainMs = 250;
    const ULONGLONG end = GetTickCount64() + kStubGraceMs;
    bool asked = false;
    for (ULONGLONG now = GetTickCount64(); now < end; now = GetTickCount64()) {
        asked = asked || worker.AskToEnd();
        const auto left = static_cast<DWORD>(end - now);
        if (worker.WaitForEnd(asked ? left : kAskAgainMs)) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::optional<zorvane::CallError> WatchStub(const CRunningExport& worker,
                                            const CLeftovers& leftovers) {
    // Deliberately leaked, like the wait: the callback may come until the process ends.
    auto* watch = new Watch{worker, leftovers};
    HANDLE wait = nullptr;
    if (!RegisterWaitForSingleObject(&wait, worker.Stub(), &OnStubEnd, watch, INFINITE,
                                     WT_EXECUTEONLYONCE | WT_EXECUTELONGFUNCTION)) {
        const zorvane::CallError error = zorvane::LastCallError("RegisterWaitForSingleObject");
        delete watch;
        return error;
    }
    return std::nullopt;
}

void EndWithoutStub(const CRunningExport& worker, const CLeftovers& leftovers) {
    if (AskUntilEnd(worker)) {
        return;
    }
    ClearAwayInTime(leftovers);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(HostExit::kEndedByForce));
}
