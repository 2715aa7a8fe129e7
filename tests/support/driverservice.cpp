#include "tests/support/driverservice.h"

#include "base/handle.h"
#include "src/amdsdk/driverservice.h"

namespace {

constexpr DWORD kPollMs = 20;
constexpr DWORD kPolls = 500;

}  // namespace

bool IsWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

CServiceHandle OpenServiceManager() {
    return CServiceHandle(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
}

CServiceHandle OpenDriverService() {
    return CServiceHandle(
        OpenServiceW(OpenServiceManager().get(), kDriverServiceName, SERVICE_ALL_ACCESS));
}

std::optional<DWORD> ServiceState() {
    const CServiceHandle service = OpenDriverService();
    SERVICE_STATUS status{};
    if (!service || !QueryServiceStatus(service.get(), &status)) {
        return std::nullopt;
    }
    return status.dwCurrentState;
}

bool WaitForServiceState(DWORD state) {
    for (DWORD poll = 0; poll < kPolls && ServiceState() != state; ++poll) {
        Sleep(kPollMs);
    }
    return ServiceState() == state;
}

bool StopDriverService() {
    SERVICE_STATUS status{};
    ControlService(OpenDriverService().get(), SERVICE_CONTROL_STOP, &status);
    return WaitForServiceState(SERVICE_STOPPED);
}

void RemoveDriverService() {
    if (const CServiceHandle service = OpenDriverService()) {
        StopDriverService();
        DeleteService(service.get());
    }
    // It stays, marked for deletion, until nobody has it open, and its driver stays longer than
    // that. A worker that meets the one cannot create it, one that meets the other installs
    // nothing.
    for (DWORD poll = 0; poll < kPolls && (OpenDriverService() || DriverDeviceOpens()); ++poll) {
        Sleep(kPollMs);
    }
}

bool DriverDeviceOpens() {
    return zorvane::OwnFile(CreateFileW(kDriverDevice, GENERIC_READ | GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr)) != nullptr;
}
