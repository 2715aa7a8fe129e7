#include "src/amdsdk/utility.h"

#include <windows.h>

#include <shlwapi.h>

#include <string>

#include "src/amdsdk/servicehandle.h"
#include "src/log/logsite.h"
#include "src/module.h"

namespace {

constexpr char kLogSource[] = "amdsdk\\utility.cpp";

constexpr wchar_t kDriverDevicePath[] = L"\\\\.\\AMDRyzenMasterDriverV15";

bool s_x64Unknown = true;
bool s_isX64 = false;
bool s_windows10Unknown = true;
bool s_isWindows10 = false;

template <typename Function>
Function* FindFunction(HMODULE module, const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

bool IsWorkstation() {
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    version.wProductType = VER_NT_WORKSTATION;
    return VerifyVersionInfoW(&version, VER_PRODUCT_TYPE,
                              VerSetConditionMask(0, VER_PRODUCT_TYPE, VER_EQUAL));
}

// PROCESSOR_ARCHITECTURE_IA64, _AMD64 and _ARM64.
bool IsX64Architecture(WORD architecture) {
    constexpr unsigned kX64Architectures = 1u << 6 | 1u << 9 | 1u << 12;
    return architecture < 13 && (kX64Architectures >> architecture & 1u) != 0;
}

bool AskIsX64OS() {
    const auto getNativeSystemInfo = FindFunction<void WINAPI(SYSTEM_INFO*)>(
        GetModuleHandleW(L"kernel32.dll"), "GetNativeSystemInfo");
    if (!getNativeSystemInfo) {
        return false;
    }
    SYSTEM_INFO info{};
    getNativeSystemInfo(&info);
    if (IsX64Architecture(info.wProcessorArchitecture)) {
        return true;
    }
    const auto isWow64Process2 = FindFunction<BOOL WINAPI(HANDLE, USHORT*, USHORT*)>(
        GetModuleHandleW(L"kernel32"), "IsWow64Process2");
    USHORT processMachine = 0;
    USHORT nativeMachine = 0;
    return isWow64Process2 &&
           isWow64Process2(GetCurrentProcess(), &processMachine, &nativeMachine) &&
           nativeMachine == IMAGE_FILE_MACHINE_ARM64;
}

// Early builds of Windows 10 called themselves 6.4.
bool IsWindows10Version(DWORD major, DWORD minor) {
    return (major == 10 && minor == 0) || (major == 6 && minor == 4);
}

bool AskIsWindows10() {
    const HMODULE ntdll = LoadLibraryW(L"ntdll.dll");
    if (!ntdll) {
        return false;
    }
    DWORD major = 0;
    DWORD minor = 0;
    DWORD build = 0;
    const auto getVersion =
        FindFunction<void WINAPI(DWORD*, DWORD*, DWORD*)>(ntdll, "RtlGetNtVersionNumbers");
    if (getVersion) {
        getVersion(&major, &minor, &build);
    }
    FreeLibrary(ntdll);
    return IsWindows10Version(major, minor);
}

bool IsWindows10() {
    if (s_windows10Unknown) {
        s_windows10Unknown = false;
        s_isWindows10 = AskIsWindows10();
    }
    return s_isWindows10;
}

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

// The handle is nobody's: once the device is open it stays open as long as the process lives.
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

// False when the service exists and cannot be opened. Any other failure leaves `service` empty and
// is found out by the start.
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

// For a service whose registered file has gone: made afresh, once.
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

bool IsSupportedOS() {
    if (!IsWorkstation()) {
        LOG_INFO(L"IsSupportedOS not workstation");
        return false;
    }
    if (!IsX64OS()) {
        LOG_INFO(L"IsSupportedOS not x64");
        return false;
    }
    if (!IsWindows10()) {
        LOG_INFO(L"IsSupportedOS not win10");
        return false;
    }
    return true;
}

bool IsX64OS() {
    if (s_x64Unknown) {
        s_x64Unknown = false;
        s_isX64 = AskIsX64OS();
    }
    return s_isX64;
}

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
    SERVICE_STATUS status{};
    ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
    if (!DeleteService(service.get())) {
        const DWORD error = GetLastError();
        LOG_INFO(L"DeleteDriver DeleteService failed. %d", error);
        return;
    }
    LOG_INFO(L"DeleteService %s success.", kDriverServiceName);
}
