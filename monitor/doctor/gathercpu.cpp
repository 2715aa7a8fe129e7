#include <windows.h>

#include <cstring>

#include "base/cpuid.h"
#include "base/text.h"
#include "monitor/doctor/gather.h"
#include "src/amdsdk/productname.h"
#include "src/settings.h"
#include "src/system/operatingsystem.h"
#include "src/system/vbsstatus.h"

namespace zorvane {
namespace {

constexpr wchar_t kWindowsKey[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
constexpr wchar_t kBiosKey[] = L"HARDWARE\\DESCRIPTION\\System\\BIOS";
constexpr uint32_t kFirstBuildOfWindows11 = 22000;

std::string Registers(std::initializer_list<uint32_t> registers) {
    std::string text;
    for (const uint32_t value : registers) {
        char bytes[sizeof(value)];
        std::memcpy(bytes, &value, sizeof(value));
        text.append(bytes, sizeof(bytes));
    }
    return text;
}

// Three leaves of 16 characters, filled with NULs or blanks.
std::string ProcessorName() {
    constexpr uint32_t kHighestLeaf = 0x80000000;
    constexpr uint32_t kFirstLeaf = 0x80000002;
    constexpr uint32_t kLastLeaf = 0x80000004;
    if (AskProcessor(kHighestLeaf, 0).eax < kLastLeaf) {
        return {};
    }
    std::string name;
    for (uint32_t leaf = kFirstLeaf; leaf <= kLastLeaf; ++leaf) {
        const CpuidRegisters part = AskProcessor(leaf, 0);
        name += Registers({part.eax, part.ebx, part.ecx, part.edx});
    }
    name.resize(strnlen(name.data(), name.size()));
    name.erase(name.find_last_not_of(' ') + 1);
    name.erase(0, name.find_first_not_of(' '));
    return OneLine(ToWide(name));
}

ProcessorFacts GatherProcessor() {
    constexpr uint32_t kSignatureLeaf = 0x80000001;
    ProcessorFacts processor;
    const CpuidRegisters vendor = AskProcessor(0, 0);
    processor.vendor = OneLine(ToWide(Registers({vendor.ebx, vendor.edx, vendor.ecx})));
    processor.name = ProcessorName();
    const CpuidRegisters answer = AskProcessor(kSignatureLeaf, 0);
    processor.packageType = static_cast<int32_t>(answer.ebx) >> 28;
    processor.signature = answer.eax;
    processor.support = LookUpProcessor(processor.packageType, processor.signature);
    return processor;
}

OSVERSIONINFOEXW ReadVersion() {
    using Function = LONG WINAPI(OSVERSIONINFOEXW*);
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    const auto read = reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(ntdll, "RtlGetVersion")));
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    if (read) {
        read(&version);
    }
    return version;
}

// Windows 11 still calls itself Windows 10 there.
std::string Edition(uint32_t build) {
    const CRegistryKey key(HKEY_LOCAL_MACHINE, kWindowsKey, KEY_READ);
    std::wstring name = key.ReadText(L"ProductName").value_or(std::wstring());
    const size_t ten = name.find(L"10");
    if (build >= kFirstBuildOfWindows11 && ten != std::wstring::npos) {
        name[ten + 1] = L'1';
    }
    const auto release = key.ReadText(L"DisplayVersion");
    if (!name.empty() && release) {
        name += L" " + *release;
    }
    return OneLine(name);
}

}  // namespace

WindowsFacts GatherWindows() {
    const OSVERSIONINFOEXW version = ReadVersion();
    WindowsFacts windows;
    windows.supported = IsSupportedOS();
    windows.is64Bit = IsX64OS();
    windows.isServer = version.wProductType != VER_NT_WORKSTATION;
    windows.major = version.dwMajorVersion;
    windows.minor = version.dwMinorVersion;
    windows.build = version.dwBuildNumber;
    windows.edition = Edition(windows.build);
    return windows;
}

VbsQuestion AskVbs() {
    return VbsQuestion([]() -> std::optional<uint32_t> {
        uint32_t status = 0;
        return QueryVbsStatus(&status) == 0 ? std::optional(status) : std::nullopt;
    });
}

CpuFacts GatherCpu() {
    CpuFacts cpu;
    cpu.processor = GatherProcessor();
    const CRegistryKey bios(HKEY_LOCAL_MACHINE, kBiosKey, KEY_READ);
    if (const auto product = bios.ReadText(L"SystemProductName")) {
        cpu.product = OneLine(*product);
        cpu.productSkipped = IsSkippedProduct(*product);
    }
    return cpu;
}

SwitchFacts GatherSwitch(const DoctorTarget& target) {
    // The worker's own function asks beside its own program.
    const std::wstring path =
        target.host.substr(0, target.host.find_last_of(L"\\/") + 1) + kSettingsFileName;
    const FileFacts file = GatherFile(path);
    return {file.path, GetPrivateProfileIntW(kSettingsSection, kSettingsKey, 1, path.c_str()) != 0,
            file.written};
}

}  // namespace zorvane
