#include "tests/support/fakewindows.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/fakeservices.h"
#include "tests/support/importpatch.h"

namespace {

CFakeWindows* s_windows = nullptr;

HMODULE Kernel32() { return reinterpret_cast<HMODULE>(ULONG_PTR{0x1000}); }
HMODULE Ntdll() { return reinterpret_cast<HMODULE>(ULONG_PTR{0x2000}); }

void WINAPI GetNativeSystemInfoFake(SYSTEM_INFO* info) {
    s_windows->calls.emplace_back("GetNativeSystemInfo()");
    const SYSTEM_INFO zeroed{};
    EXPECT_EQ(std::memcmp(info, &zeroed, sizeof(zeroed)), 0);
    info->wProcessorArchitecture = s_windows->architecture;
}

BOOL WINAPI IsWow64Process2Fake(HANDLE process, USHORT* processMachine, USHORT* nativeMachine) {
    s_windows->calls.emplace_back("IsWow64Process2()");
    EXPECT_EQ(process, GetCurrentProcess());
    *processMachine = IMAGE_FILE_MACHINE_ARM64;
    *nativeMachine = s_windows->nativeMachine;
    return s_windows->isWow64Process2Result;
}

void WINAPI RtlGetNtVersionNumbersFake(DWORD* major, DWORD* minor, DWORD* build) {
    s_windows->calls.emplace_back("RtlGetNtVersionNumbers()");
    EXPECT_EQ(*major, 0u);
    EXPECT_EQ(*minor, 0u);
    EXPECT_EQ(*build, 0u);
    *major = s_windows->major;
    *minor = s_windows->minor;
    *build = 0xF0004A61;
}

template <typename Function>
FARPROC AddressOf(bool exists, Function* function) {
    return exists ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function)) : nullptr;
}

std::string NameOf(HMODULE module) {
    if (module == Kernel32()) {
        return "kernel32";
    }
    return module == Ntdll() ? "ntdll" : "unknown";
}

}  // namespace

struct CFakeWindows::Patches {
    explicit Patches(CFakeWindows& owner) : windows(owner) {}

    CFakeWindows& windows;

    PATCH_IMPORT(verifyVersion, VerifyVersionInfoW,
                 [this](LPOSVERSIONINFOEXW version, DWORD types, DWORDLONG condition) {
                     OSVERSIONINFOEXW expected{};
                     expected.dwOSVersionInfoSize = 284;
                     expected.wProductType = 1;
                     EXPECT_EQ(std::memcmp(version, &expected, sizeof(expected)), 0);
                     EXPECT_EQ(types, 0x80u);
                     EXPECT_EQ(condition, VerSetConditionMask(0, VER_PRODUCT_TYPE, VER_EQUAL));
                     windows.calls.emplace_back("VerifyVersionInfoW()");
                     return windows.isWorkstation ? TRUE : FALSE;
                 });
    PATCH_IMPORT(moduleHandle, GetModuleHandleW, [this](LPCWSTR name) {
        if (!name) {
            return moduleHandle.Original(name);
        }
        windows.calls.emplace_back("GetModuleHandleW(" + Quoted(name) + ")");
        return Kernel32();
    });
    PATCH_IMPORT(load, LoadLibraryW, [this](LPCWSTR name) {
        windows.calls.emplace_back("LoadLibraryW(" + Quoted(name) + ")");
        return windows.hasNtdll ? Ntdll() : nullptr;
    });
    PATCH_IMPORT(free, FreeLibrary, [this](HMODULE module) {
        windows.calls.emplace_back("FreeLibrary(" + NameOf(module) + ")");
        return TRUE;
    });
    PATCH_IMPORT(procAddress, GetProcAddress, [this](HMODULE module, LPCSTR name) -> FARPROC {
        if (NameOf(module) == "unknown") {
            return procAddress.Original(module, name);
        }
        const std::string function = name;
        windows.calls.emplace_back("GetProcAddress(" + NameOf(module) + ", " + function + ")");
        if (function == "GetNativeSystemInfo") {
            return AddressOf(windows.hasNativeSystemInfo, &GetNativeSystemInfoFake);
        }
        if (function == "IsWow64Process2") {
            return AddressOf(windows.hasIsWow64Process2, &IsWow64Process2Fake);
        }
        return AddressOf(windows.hasVersionNumbers && function == "RtlGetNtVersionNumbers",
                         &RtlGetNtVersionNumbersFake);
    });
};

CFakeWindows::CFakeWindows() {
    s_windows = this;
    m_patches = std::make_unique<Patches>(*this);
}

CFakeWindows::~CFakeWindows() = default;
