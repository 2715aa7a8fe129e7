#include "monitor/service/servicerun.h"

#include <utility>

#include "monitor/run/interrupts.h"

namespace zorvane {
namespace {

// One service a process: Windows' threads have no other way to it.
std::wstring s_name;
std::function<int()> s_work;
SERVICE_STATUS_HANDLE s_handle = nullptr;

void Report(DWORD state, DWORD accepted, int exitCode = 0) {
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = accepted;
    status.dwWaitHint = state == SERVICE_STOP_PENDING ? kServiceStopPatienceMs : 0;
    if (exitCode != 0) {
        status.dwWin32ExitCode = ERROR_SERVICE_SPECIFIC_ERROR;
        status.dwServiceSpecificExitCode = static_cast<DWORD>(exitCode);
    }
    SetServiceStatus(s_handle, &status);
}

DWORD WINAPI OnControl(DWORD control, DWORD, void*, void*) {
    switch (control) {
        case SERVICE_CONTROL_STOP:
        case SERVICE_CONTROL_SHUTDOWN:
            Report(SERVICE_STOP_PENDING, 0);
            Interrupt();
            return NO_ERROR;
        case SERVICE_CONTROL_INTERROGATE:
            return NO_ERROR;
        default:
            return ERROR_CALL_NOT_IMPLEMENTED;
    }
}

void WINAPI ServiceMain(DWORD, wchar_t**) {
    s_handle = RegisterServiceCtrlHandlerExW(s_name.c_str(), &OnControl, nullptr);
    Report(SERVICE_RUNNING, SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN);
    Report(SERVICE_STOPPED, 0, s_work());
}

}  // namespace

std::optional<CallError> RunAsService(const std::wstring& name, std::function<int()> work) {
    s_name = name;
    s_work = std::move(work);
    IgnoreLogoff();
    const SERVICE_TABLE_ENTRYW table[] = {{s_name.data(), &ServiceMain}, {nullptr, nullptr}};
    if (!StartServiceCtrlDispatcherW(table)) {
        return LastCallError("StartServiceCtrlDispatcherW");
    }
    return std::nullopt;
}

}  // namespace zorvane
