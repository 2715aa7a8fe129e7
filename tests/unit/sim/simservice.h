/** The driver's service, as the tests drive it. Only for use under Wine. */
#pragma once

#include <windows.h>

#include <filesystem>
#include <memory>
#include <type_traits>

inline constexpr wchar_t kServiceName[] = L"AMDRyzenMasterDriverV15";
inline constexpr wchar_t kDriverDevice[] = L"\\\\.\\AMDRyzenMasterDriverV15";

struct ServiceHandleCloser {
    void operator()(SC_HANDLE handle) const { CloseServiceHandle(handle); }
};
using CServiceHandle = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, ServiceHandleCloser>;

CServiceHandle OpenManager();

/** Null when there is no such service. */
CServiceHandle OpenDriverService();

/** Stops and deletes the service when it is there. */
void RemoveDriverService();

/** The service's state, 0 when there is none. */
DWORD DriverServiceState();

/** Waits, 10 seconds at most, for the service to be in `state`; false when it never was. */
bool WaitForDriverServiceState(DWORD state);

/** True when the driver's device can be opened. */
bool DriverDeviceOpens();
