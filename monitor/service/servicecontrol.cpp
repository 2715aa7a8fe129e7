#include "monitor/service/servicecontrol.h"

#include <vector>

#include "monitor/service/servicerun.h"
#include "src/amdsdk/servicehandle.h"

namespace zorvane {
namespace {

constexpr wchar_t kServiceDescription[] =
    L"Collects the readings of NVIDIA GPUs and of the AMD CPU temperature.";

// Starts it again a minute after each failure; a day without one forgets them.
std::optional<CallError> SetRecovery(SC_HANDLE service) {
    constexpr DWORD kPauseMs = 60 * 1000;
    constexpr DWORD kForgetAfterSeconds = 24 * 60 * 60;
    SC_ACTION actions[] = {{SC_ACTION_RESTART, kPauseMs},
                           {SC_ACTION_RESTART, kPauseMs},
                           {SC_ACTION_RESTART, kPauseMs}};
    SERVICE_FAILURE_ACTIONSW recovery{};
    recovery.dwResetPeriod = kForgetAfterSeconds;
    recovery.cActions = static_cast<DWORD>(std::size(actions));
    recovery.lpsaActions = actions;
    if (!ChangeServiceConfig2W(service, SERVICE_CONFIG_FAILURE_ACTIONS, &recovery)) {
        return LastCallError("ChangeServiceConfig2W");
    }
    // Without this only a crash counts as a failure, and no exit code does. Nothing else depends on
    // it, so that a system without it gets its service all the same.
    SERVICE_FAILURE_ACTIONS_FLAG flag{TRUE};
    ChangeServiceConfig2W(service, SERVICE_CONFIG_FAILURE_ACTIONS_FLAG, &flag);
    return std::nullopt;
}

std::optional<CallError> SetDetails(SC_HANDLE service) {
    SERVICE_DESCRIPTIONW description{const_cast<wchar_t*>(kServiceDescription)};
    if (!ChangeServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, &description)) {
        return LastCallError("ChangeServiceConfig2W");
    }
    // Where this is refused the service starts a little earlier.
    SERVICE_DELAYED_AUTO_START_INFO delayed{TRUE};
    ChangeServiceConfig2W(service, SERVICE_CONFIG_DELAYED_AUTO_START_INFO, &delayed);
    return SetRecovery(service);
}

// Waits while the service is in `pending`, up to the patience that it asks for itself; `failure` if
// it is not in `wanted` then.
std::optional<CallError> WaitFor(SC_HANDLE service, DWORD pending, DWORD wanted,
                                 const CallError& failure) {
    constexpr DWORD kStepMs = 100;
    SERVICE_STATUS status{};
    for (DWORD waited = 0; waited <= kServiceStopPatienceMs; waited += kStepMs) {
        if (!QueryServiceStatus(service, &status)) {
            return LastCallError("QueryServiceStatus");
        }
        if (status.dwCurrentState != pending) {
            break;
        }
        Sleep(kStepMs);
    }
    return status.dwCurrentState == wanted ? std::nullopt : std::optional(failure);
}

std::optional<CallError> StopAndWait(SC_HANDLE service) {
    SERVICE_STATUS status{};
    if (!ControlService(service, SERVICE_CONTROL_STOP, &status)) {
        const CallError error = LastCallError("ControlService");
        return error.code == ERROR_SERVICE_NOT_ACTIVE ? std::nullopt : std::optional(error);
    }
    return WaitFor(service, SERVICE_STOP_PENDING, SERVICE_STOPPED,
                   {"stopping the service", ERROR_SERVICE_REQUEST_TIMEOUT});
}

// The buffer holds the structure and the texts that it points to.
std::optional<CallError> ReadConfiguration(SC_HANDLE service, ServiceState& state) {
    DWORD size = 0;
    QueryServiceConfigW(service, nullptr, 0, &size);
    std::vector<unsigned char> buffer(size);
    auto* configuration = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
    if (buffer.size() < sizeof *configuration ||
        !QueryServiceConfigW(service, configuration, size, &size)) {
        return LastCallError("QueryServiceConfigW");
    }
    state.commandLine = configuration->lpBinaryPathName ? configuration->lpBinaryPathName : L"";
    state.account = configuration->lpServiceStartName ? configuration->lpServiceStartName : L"";
    return std::nullopt;
}

}  // namespace

std::optional<CallError> InstallService(const ServiceDefinition& definition,
                                        ServiceChange& change) {
    const CServiceHandle manager(
        OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT | SC_MANAGER_CREATE_SERVICE));
    if (!manager) {
        return LastCallError("OpenSCManagerW");
    }
    change = ServiceChange::kCreated;
    CServiceHandle service(
        CreateServiceW(manager.get(), definition.name.c_str(), definition.name.c_str(),
                       SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START,
                       SERVICE_ERROR_NORMAL, definition.commandLine.c_str(), nullptr, nullptr,
                       nullptr, definition.account.c_str(), L""));
    if (service) {
        return SetDetails(service.get());
    }
    if (GetLastError() != ERROR_SERVICE_EXISTS) {
        return LastCallError("CreateServiceW");
    }
    change = ServiceChange::kChanged;
    service.reset(OpenServiceW(manager.get(), definition.name.c_str(), SERVICE_ALL_ACCESS));
    if (!service) {
        return LastCallError("OpenServiceW");
    }
    if (!ChangeServiceConfigW(service.get(), SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START,
                              SERVICE_ERROR_NORMAL, definition.commandLine.c_str(), nullptr,
                              nullptr, nullptr, definition.account.c_str(), L"", nullptr)) {
        return LastCallError("ChangeServiceConfigW");
    }
    return SetDetails(service.get());
}

std::optional<CallError> StartInstalledService(const std::wstring& name) {
    const CServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager) {
        return LastCallError("OpenSCManagerW");
    }
    const CServiceHandle service(
        OpenServiceW(manager.get(), name.c_str(), SERVICE_START | SERVICE_QUERY_STATUS));
    if (!service) {
        return LastCallError("OpenServiceW");
    }
    if (!StartServiceW(service.get(), 0, nullptr) &&
        GetLastError() != ERROR_SERVICE_ALREADY_RUNNING) {
        return LastCallError("StartServiceW");
    }
    return WaitFor(service.get(), SERVICE_START_PENDING, SERVICE_RUNNING,
                   {"starting the service", ERROR_SERVICE_NOT_ACTIVE});
}

std::optional<CallError> RemoveService(const std::wstring& name, bool& existed) {
    existed = false;
    const CServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager) {
        return LastCallError("OpenSCManagerW");
    }
    const CServiceHandle service(
        OpenServiceW(manager.get(), name.c_str(), SERVICE_STOP | SERVICE_QUERY_STATUS | DELETE));
    if (!service) {
        const CallError error = LastCallError("OpenServiceW");
        return error.code == ERROR_SERVICE_DOES_NOT_EXIST ? std::nullopt : std::optional(error);
    }
    existed = true;
    if (auto error = StopAndWait(service.get())) {
        return error;
    }
    return DeleteService(service.get()) ? std::nullopt
                                        : std::optional(LastCallError("DeleteService"));
}

std::optional<CallError> QueryService(const std::wstring& name,
                                      std::optional<ServiceState>& state) {
    state.reset();
    const CServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager) {
        return LastCallError("OpenSCManagerW");
    }
    const CServiceHandle service(
        OpenServiceW(manager.get(), name.c_str(), SERVICE_QUERY_STATUS | SERVICE_QUERY_CONFIG));
    if (!service) {
        const CallError error = LastCallError("OpenServiceW");
        return error.code == ERROR_SERVICE_DOES_NOT_EXIST ? std::nullopt : std::optional(error);
    }
    SERVICE_STATUS_PROCESS status{};
    DWORD size = 0;
    if (!QueryServiceStatusEx(service.get(), SC_STATUS_PROCESS_INFO,
                              reinterpret_cast<BYTE*>(&status), sizeof status, &size)) {
        return LastCallError("QueryServiceStatusEx");
    }
    ServiceState found;
    found.state = status.dwCurrentState;
    found.processId = status.dwProcessId;
    found.exitCode = status.dwWin32ExitCode;
    found.ownExitCode = status.dwServiceSpecificExitCode;
    if (auto error = ReadConfiguration(service.get(), found)) {
        return error;
    }
    state = found;
    return std::nullopt;
}

std::string StateWord(DWORD state) {
    switch (state) {
        case SERVICE_RUNNING:
            return "running";
        case SERVICE_START_PENDING:
            return "starting";
        case SERVICE_STOP_PENDING:
            return "stopping";
        case SERVICE_STOPPED:
            return "stopped";
        default:
            return "paused";
    }
}

}  // namespace zorvane
