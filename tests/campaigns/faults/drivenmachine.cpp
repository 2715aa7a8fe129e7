#include "tests/campaigns/faults/drivenmachine.h"

#include <atomic>
#include <cwchar>

#include "base/importtable.h"

namespace {

constexpr DWORD kCyclePauseMs = 1000;
constexpr DWORD kShortPauseMs = 1;
constexpr UINT kShortPeriodMs = 50;

constexpr wchar_t kDevicePrefix[] = L"\\\\.\\";

std::atomic<bool> s_isInstalled{false};
std::atomic<bool> s_isRunning{false};
// Above all real handles, which the mutexes of a day bring past 0x50000.
std::atomic<uintptr_t> s_lastHandle{0x70000000};

template <typename Handle>
Handle NewHandle() {
    return reinterpret_cast<Handle>(s_lastHandle += 16);
}

SC_HANDLE OpenManager(LPCWSTR, LPCWSTR, DWORD) { return NewHandle<SC_HANDLE>(); }

SC_HANDLE OpenDriver(SC_HANDLE, LPCWSTR, DWORD) {
    if (!s_isInstalled) {
        SetLastError(ERROR_SERVICE_DOES_NOT_EXIST);
        return nullptr;
    }
    return NewHandle<SC_HANDLE>();
}

SC_HANDLE CreateDriver(SC_HANDLE, LPCWSTR, LPCWSTR, DWORD, DWORD, DWORD, DWORD, LPCWSTR, LPCWSTR,
                       LPDWORD, LPCWSTR, LPCWSTR, LPCWSTR) {
    if (s_isInstalled.exchange(true)) {
        SetLastError(ERROR_SERVICE_EXISTS);
        return nullptr;
    }
    return NewHandle<SC_HANDLE>();
}

BOOL StartDriver(SC_HANDLE service, DWORD, LPCWSTR*) {
    if (!service) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    s_isRunning = true;
    return TRUE;
}

BOOL QueryDriver(SC_HANDLE, LPSERVICE_STATUS status) {
    status->dwCurrentState = s_isRunning ? SERVICE_RUNNING : SERVICE_STOPPED;
    return TRUE;
}

BOOL StopDriver(SC_HANDLE, DWORD, LPSERVICE_STATUS) {
    s_isRunning = false;
    return TRUE;
}

BOOL DeleteDriver(SC_HANDLE) {
    s_isInstalled = false;
    return TRUE;
}

BOOL CloseServiceManagerHandle(SC_HANDLE) { return TRUE; }

decltype(CreateFileW)* s_createFile = nullptr;

HANDLE WINAPI OpenDevice(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                         DWORD disposition, DWORD flags, HANDLE pattern) {
    if (!path || std::wcsncmp(path, kDevicePrefix, std::wcslen(kDevicePrefix)) != 0) {
        return s_createFile(path, access, share, security, disposition, flags, pattern);
    }
    if (!s_isRunning) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    return NewHandle<HANDLE>();
}

decltype(WaitForSingleObject)* s_wait = nullptr;

DWORD WINAPI WaitBriefly(HANDLE object, DWORD timeoutMs) {
    return s_wait(object, timeoutMs == kCyclePauseMs ? kShortPauseMs : timeoutMs);
}

decltype(SetTimer)* s_setTimer = nullptr;

UINT_PTR WINAPI SetShortTimer(HWND window, UINT_PTR timer, UINT, TIMERPROC procedure) {
    return s_setTimer(window, timer, kShortPeriodMs, procedure);
}

template <typename Function>
void* Replace(HMODULE module, const char* function, Function* replacement) {
    return zorvane::ExchangeImport(zorvane::FindImport(module, function),
                                   reinterpret_cast<void*>(replacement));
}

template <typename Function>
void Replace(HMODULE module, const char* function, Function* replacement, Function*& original) {
    original = reinterpret_cast<Function*>(Replace(module, function, replacement));
}

}  // namespace

void DriveMachine(HMODULE module) {
    Replace(module, "OpenSCManagerW", &OpenManager);
    Replace(module, "OpenServiceW", &OpenDriver);
    Replace(module, "CreateServiceW", &CreateDriver);
    Replace(module, "StartServiceW", &StartDriver);
    Replace(module, "QueryServiceStatus", &QueryDriver);
    Replace(module, "ControlService", &StopDriver);
    Replace(module, "DeleteService", &DeleteDriver);
    Replace(module, "CloseServiceHandle", &CloseServiceManagerHandle);
    Replace(module, "CreateFileW", &OpenDevice, s_createFile);
    Replace(module, "WaitForSingleObject", &WaitBriefly, s_wait);
    Replace(module, "SetTimer", &SetShortTimer, s_setTimer);
}

bool IsDriverServiceLeft() { return s_isInstalled; }
