#include "sim/machine/systemreplacements.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "sim/machine/currentmachine.h"
#include "sim/scenario/calllog.h"

namespace {

constexpr wchar_t kProductName[] = L"SystemProductName";

// What RtlGetNtVersionNumbers sets in the high bits of the build of a released Windows.
constexpr DWORD kReleasedBuild = 0xF0000000;

BOOL (*s_isUserAnAdmin)() = nullptr;
decltype(GetTokenInformation)* s_getTokenInformation = nullptr;
decltype(VerifyVersionInfoW)* s_verifyVersionInfo = nullptr;
decltype(GetProcAddress)* s_getProcAddress = nullptr;
decltype(RegQueryValueExW)* s_regQueryValue = nullptr;
decltype(GetSystemDirectoryW)* s_getSystemDirectory = nullptr;

BOOL IsAdministrator() {
    const std::optional<bool>& administrator = CurrentMachine().administrator;
    if (!administrator) {
        return s_isUserAnAdmin();
    }
    LogCall(std::string("IsUserAnAdmin() = ") + (*administrator ? "1" : "0"));
    return *administrator;
}

// Elevation and integrity follow from the administrator's rights.
BOOL ReadToken(HANDLE token, TOKEN_INFORMATION_CLASS what, void* out, DWORD size, DWORD* needed) {
    const BOOL read = s_getTokenInformation(token, what, out, size, needed);
    const std::optional<bool>& administrator = CurrentMachine().administrator;
    if (!read || !administrator) {
        return read;
    }
    if (what == TokenElevation) {
        static_cast<TOKEN_ELEVATION*>(out)->TokenIsElevated = *administrator;
    }
    if (what == TokenIntegrityLevel) {
        PSID level = static_cast<TOKEN_MANDATORY_LABEL*>(out)->Label.Sid;
        *GetSidSubAuthority(level, 0) = static_cast<DWORD>(
            *administrator ? SECURITY_MANDATORY_HIGH_RID : SECURITY_MANDATORY_MEDIUM_RID);
    }
    return read;
}

BYTE ProductType(const WindowsVersion& version) {
    return version.workstation ? VER_NT_WORKSTATION : VER_NT_SERVER;
}

// Only the product type is simulated here, alone and compared for equality.
BOOL VerifyVersion(OSVERSIONINFOEXW* version, DWORD what, DWORDLONG conditions) {
    const std::optional<WindowsVersion>& windows = CurrentMachine().windows;
    if (!windows || what != VER_PRODUCT_TYPE) {
        return s_verifyVersionInfo(version, what, conditions);
    }
    const bool equal = version->wProductType == ProductType(*windows);
    LogCall(std::string("VerifyVersionInfoW() = ") + (equal ? "1" : "0"));
    SetLastError(equal ? ERROR_SUCCESS : ERROR_OLD_WIN_VERSION);
    return equal;
}

void WINAPI ReadVersionNumbers(DWORD* major, DWORD* minor, DWORD* build) {
    const WindowsVersion& windows = *CurrentMachine().windows;
    *major = windows.major;
    *minor = windows.minor;
    *build = windows.build | kReleasedBuild;
    LogCall("RtlGetNtVersionNumbers() = " + std::to_string(windows.major) + "." +
            std::to_string(windows.minor) + "." + std::to_string(windows.build));
}

LONG WINAPI ReadVersion(OSVERSIONINFOEXW* version) {
    const WindowsVersion& windows = *CurrentMachine().windows;
    version->dwMajorVersion = windows.major;
    version->dwMinorVersion = windows.minor;
    version->dwBuildNumber = windows.build;
    version->dwPlatformId = VER_PLATFORM_WIN32_NT;
    version->szCSDVersion[0] = L'\0';
    if (version->dwOSVersionInfoSize >= sizeof(OSVERSIONINFOEXW)) {
        version->wProductType = ProductType(windows);
    }
    return 0;
}

// The version is not imported, but looked up in ntdll.
FARPROC FindFunction(HMODULE module, LPCSTR name) {
    const bool isOrdinal = HIWORD(reinterpret_cast<ULONG_PTR>(name)) == 0;
    if (CurrentMachine().windows && !isOrdinal) {
        if (std::strcmp(name, "RtlGetNtVersionNumbers") == 0) {
            return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&ReadVersionNumbers));
        }
        if (std::strcmp(name, "RtlGetVersion") == 0) {
            return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&ReadVersion));
        }
    }
    return s_getProcAddress(module, name);
}

LSTATUS QueryValue(HKEY key, LPCWSTR name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size) {
    const std::optional<std::wstring>& product = CurrentMachine().productName;
    if (!product || !name || _wcsicmp(name, kProductName) != 0) {
        return s_regQueryValue(key, name, reserved, type, data, size);
    }
    const auto needed = static_cast<DWORD>((product->size() + 1) * sizeof(wchar_t));
    const DWORD room = size ? *size : 0;
    if (type) {
        *type = REG_SZ;
    }
    if (size) {
        *size = needed;
    }
    if (!data) {
        return ERROR_SUCCESS;
    }
    if (room < needed) {
        return ERROR_MORE_DATA;
    }
    std::memcpy(data, product->c_str(), needed);
    return ERROR_SUCCESS;
}

UINT NameSystemFolder(LPWSTR buffer, UINT room) {
    const std::optional<std::wstring>& folder = CurrentMachine().systemFolder;
    if (!folder) {
        return s_getSystemDirectory(buffer, room);
    }
    const auto length = static_cast<UINT>(folder->size());
    if (room <= length) {
        return length + 1;
    }
    std::memcpy(buffer, folder->c_str(), (folder->size() + 1) * sizeof(wchar_t));
    return length;
}

}  // namespace

std::span<const Replacement> SystemReplacements() {
    static const Replacement kRows[] = {
        Replace("IsUserAnAdmin", &IsAdministrator, s_isUserAnAdmin),
        Replace("GetTokenInformation", &ReadToken, s_getTokenInformation),
        Replace("VerifyVersionInfoW", &VerifyVersion, s_verifyVersionInfo),
        Replace("GetProcAddress", &FindFunction, s_getProcAddress),
        Replace("RegQueryValueExW", &QueryValue, s_regQueryValue),
        Replace("GetSystemDirectoryW", &NameSystemFolder, s_getSystemDirectory),
    };
    return kRows;
}
