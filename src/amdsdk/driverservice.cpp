#include "src/amdsdk/driverservice.h"

#include <windows.h>

#include <shlwapi.h>

#include <string>

#include "src/amdsdk/servicehandle.h"
#include "src/log/logsite.h"
#include "src/module.h"

namespace {

// One source with the checks of the operating system for those who read the log.
constexpr char kLogSource[] = "amdsdk\\utility.cpp";

constexpr wchar_t kDriverDevicePath[] = L"\\\\.\\AMDRyzenMasterDriverV15";

CServiceHandle OpenManager() {
    return CServiceHandle(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
}

CServiceHandle OpenDriverService(const CServiceHandle& manager) {
    return CServiceHandle(OpenServiceW(manager.get(), kDriverServiceName, SERVICE_ALL_ACCESS));
}

CServiceHandle CreateDriverService(const CServiceHandle& manager, const std::wstring& path) {
    return CServiceHandle(CreateServiceW(manager.get(), kDriverServiceName, kDriverServiceName,
                                         SERVICE_ALL_ACCESS, SERVICE_KERNEL_DRIVER,
                                         SERVICE_AUTO_START, SERVICE_ERROR_NORMAL, path.c_str(),
                                         nullptr, nullptr, nullptr, nullptr, nullptr));
}

// The handle is deliberately leaked: the device stays open for the life of the process.
bool OpenDriverDevice() {
    return CreateFileW(kDriverDevicePath, GENERIC_READ | GENERIC_WRITE,
                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr) != INVALID_HANDLE_VALUE;
}

std::wstring DriverPath() {
    ModulePath folder;
    GetModuleFolder(nullptr, folder);
    return std::wstring(folder) + L"\\" + kDriverFileName;
}

// False when the service exists and cannot be opened. Any other failure leaves `service` empty; the
// start then fails for the missing handle and is what gets reported.
bool CreateOrOpenService(const CServiceHandle& manager, const std::wstring& path,
                         CServiceHandle& service) {
    service = CreateDriverService(manager, path);
    if (service) {
        return true;
    }
    const DWORD createError = GetLastError();
    LOG_INFO(L"%s CreateService error: %d", path.c_str(), createError);
    if (createError != ERROR_SERVICE_MARKED_FOR_DELETE && createError != ERROR_SERVICE_EXISTS) {
        return true;
    }
    service = OpenDriverService(manager);
    if (!service) {
        const DWORD openError = GetLastError();
        LOG_INFO(L"%s OpenService failed. %d, %d", path.c_str(), createError, openError);
        return false;
    }
    return true;
}

// For a service whose registered file no longer exists, as after the utility was moved: creates it
// anew, once.
bool RecreateAndStartService(const CServiceHandle& manager, const std::wstring& path,
                             CServiceHandle& service) {
    if (!DeleteService(service.get())) {
        const DWORD error = GetLastError();
        LOG_INFO(L"%s DeleteService failed. %d", path.c_str(), error);
        return false;
    }
    service.reset();
    service = CreateDriverService(manager, path);
    if (!service) {
        const DWORD error = GetLastError();
        LOG_INFO(L"%s CreateService failed. %d", path.c_str(), error);
        return false;
    }
    if (!StartServiceW(service.get(), 0, nullptr)) {
        const DWORD error = GetLastError();
        LOG_INFO(L"%s StartService failed. %d", path.c_str(), error);
        return false;
    }
    return true;
}

bool StartDriverService(const CServiceHandle& manager, const std::wstring& path,
                        CServiceHandle& service) {
    if (StartServiceW(service.get(), 0, nullptr)) {
        return true;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_PATH_NOT_FOUND) {
        return RecreateAndStartService(manager, path, service);
    }
    if (error == ERROR_SERVICE_ALREADY_RUNNING) {
        return true;
    }
    LOG_INFO(L"%s Service not running. %d", path.c_str(), error);
    return false;
}

}  // namespace

int QueryDrvService() {
    const CServiceHandle manager = OpenManager();
    if (!manager) {
        return -1;
    }
    CServiceHandle service = OpenDriverService(manager);
    if (!service) {
        const DWORD error = GetLastError();
        LOG_INFO(L"OpenService error. %d", error);
        return -2;
    }
    // A query that fails leaves zeros, which is not running.
    SERVICE_STATUS status{};
    QueryServiceStatus(service.get(), &status);
    service.reset();
    if (status.dwCurrentState == SERVICE_RUNNING) {
        return 0;
    }
    LOG_INFO(L"service is not running. %d", status.dwCurrentState);
    DeleteDriver();
    return -1;
}

int InstallDriver() {
    if (OpenDriverDevice()) {
        return 1;
    }
    const CServiceHandle manager = OpenManager();
    if (!manager) {
        const DWORD error = GetLastError();
        LOG_INFO(L"OpenSCManager failed. %d", error);
        return 0;
    }
    const std::wstring path = DriverPath();
    CServiceHandle service;
    if (!CreateOrOpenService(manager, path, service) ||
        !StartDriverService(manager, path, service)) {
        return 0;
    }
    if (!OpenDriverDevice()) {
        const DWORD error = GetLastError();
        LOG_INFO(L"%s CreateFile again failed. %d", path.c_str(), error);
        return 0;
    }
    LOG_INFO(L"InstallDriver success. %s", path.c_str());
    return 1;
}

void DeleteDriver() {
    if (StrStrIW(GetCommandLineW(), L"skip_delete")) {
        return;
    }
    const CServiceHandle manager = OpenManager();
    if (!manager) {
        const DWORD error = GetLastError();
        LOG_INFO(L"DeleteDriver OpenSCManager failed. %d", error);
        return;
    }
    const CServiceHandle service = OpenDriverService(manager);
    if (!service) {
        const DWORD error = GetLastError();
        LOG_INFO(L"DeleteDriver OpenService failed. %d", error);
        return;
    }
    // Not checked: a driver that does not run cannot be stopped, and is deleted all the same.
    SERVICE_STATUS status{};
    ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
    if (!DeleteService(service.get())) {
        const DWORD error = GetLastError();
        LOG_INFO(L"DeleteDriver DeleteService failed. %d", error);
        return;
    }
    LOG_INFO(L"DeleteService %s success.", kDriverServiceName);
}
