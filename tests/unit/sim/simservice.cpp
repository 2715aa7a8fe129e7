#include "tests/unit/sim/simservice.h"

namespace {

constexpr DWORD kPollMs = 20;
constexpr DWORD kPolls = 500;

}  // namespace

CServiceHandle OpenManager() {
    return CServiceHandle(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
}

CServiceHandle OpenDriverService() {
    return CServiceHandle(OpenServiceW(OpenManager().get(), kServiceName, SERVICE_ALL_ACCESS));
}

void RemoveDriverService() {
    const CServiceHandle service = OpenDriverService();
    if (!service) {
        return;
    }
    SERVICE_STATUS status{};
    ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
    WaitForDriverServiceState(SERVICE_STOPPED);
    DeleteService(service.get());
}

DWORD DriverServiceState() {
    const CServiceHandle service = OpenDriverService();
    SERVICE_STATUS status{};
    return service && QueryServiceStatus(service.get(), &status) ? status.dwCurrentState : 0;
}

bool WaitForDriverServiceState(DWORD state) {
    for (DWORD poll = 0; poll < kPolls && DriverServiceState() != state; ++poll) {
        Sleep(kPollMs);
    }
    return DriverServiceState() == state;
}

bool DriverDeviceOpens() {
    const HANDLE device =
        CreateFileW(kDriverDevice, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (device == INVALID_HANDLE_VALUE) {
        return false;
    }
    CloseHandle(device);
    return true;
}
