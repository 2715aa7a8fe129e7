#include "src/system/operatingsystem.h"

#include <windows.h>

#include "src/log/logsite.h"

namespace {

// One source with the driver service for those who read the log.
constexpr char kLogSource[] = "amdsdk\\utility.cpp";

// Asked once a process; a negative answer is kept as well.
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

// VerifyVersionInfoW and GetVersionExW answer what the host's manifest declares; this function of
// ntdll answers what Windows is.
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
