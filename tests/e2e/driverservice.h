/** AMD's driver service in the real service manager. Under Wine only: never on a real Windows. */
#pragma once

#include <windows.h>

#include <optional>

#include "src/amdsdk/servicehandle.h"
#include "src/amdsdk/utility.h"

inline bool IsWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

/** The driver service's state, empty when it is not there. */
inline std::optional<DWORD> ServiceState() {
    const CServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    const CServiceHandle service(
        OpenServiceW(manager.get(), kDriverServiceName, SERVICE_ALL_ACCESS));
    SERVICE_STATUS status{};
    if (!service || !QueryServiceStatus(service.get(), &status)) {
        return std::nullopt;
    }
    return status.dwCurrentState;
}

/** Stops and deletes the service if it is there. */
inline void RemoveDriverService() {
    const CServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    const CServiceHandle service(
        OpenServiceW(manager.get(), kDriverServiceName, SERVICE_ALL_ACCESS));
    if (service) {
        SERVICE_STATUS status{};
        ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
        DeleteService(service.get());
    }
}
