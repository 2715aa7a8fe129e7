#include "tests/support/fakeamdmachine.h"

#include <gtest/gtest.h>
#include <shlobj.h>

#include <cstring>

#include "tests/support/importpatch.h"

namespace {

HKEY Key() { return reinterpret_cast<HKEY>(ULONG_PTR{0x10}); }

}  // namespace

struct CFakeAmdMachine::Patches {
    explicit Patches(CFakeAmdMachine& owner) : machine(owner) {}

    CFakeAmdMachine& machine;

    PATCH_IMPORT(isAdmin, IsUserAnAdmin, [this] {
        machine.calls.emplace_back("IsUserAnAdmin()");
        return machine.isAdmin ? TRUE : FALSE;
    });
    PATCH_IMPORT(verifyVersion, VerifyVersionInfoW, [this](LPOSVERSIONINFOEXW, DWORD, DWORDLONG) {
        machine.calls.emplace_back("VerifyVersionInfoW()");
        return machine.isWorkstation ? TRUE : FALSE;
    });
    PATCH_IMPORT(openKey, RegOpenKeyExW,
                 [this](HKEY parent, LPCWSTR path, DWORD options, REGSAM access, PHKEY key) {
                     machine.calls.push_back(
                         std::string("RegOpenKeyExW(") +
                         (parent == HKEY_LOCAL_MACHINE ? "HKEY_LOCAL_MACHINE" : "another key") +
                         ", " + Quoted(path) + ", " + std::to_string(options) + ", " + Hex(access) +
                         ")");
                     if (machine.openKeyResult == ERROR_SUCCESS) {
                         *key = Key();
                     }
                     return machine.openKeyResult;
                 });
    PATCH_IMPORT(queryValue, RegQueryValueExW,
                 [this](HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                        LPDWORD size) -> LSTATUS {
                     EXPECT_EQ(key, Key());
                     EXPECT_EQ(reserved, nullptr);
                     machine.calls.emplace_back("RegQueryValueExW(" + Quoted(name) + ", " +
                                                std::to_string(*size) + ")");
                     *type = machine.productType;
                     *size = static_cast<DWORD>((machine.product.size() + 1) * sizeof(wchar_t));
                     std::memcpy(data, machine.product.c_str(), *size);
                     return machine.queryValueResult;
                 });
    PATCH_IMPORT(closeKey, RegCloseKey, [this](HKEY key) -> LSTATUS {
        EXPECT_EQ(key, Key());
        machine.calls.emplace_back("RegCloseKey()");
        return ERROR_SUCCESS;
    });
};

CFakeAmdMachine::CFakeAmdMachine() {
    platform.Reset();
    platform.cpuName = L"AMD Ryzen 7 3700X 8-Core Processor";
    platform.init = [](void*, void*) { return true; };
    platform.pmTable = [this](PMTableData* data) {
        data->currentTemperature = temperature;
        return 0;
    };
    platform.currentTemperature = [this](double* celsius) {
        *celsius = temperature;
        return 0;
    };
    m_patches = std::make_unique<Patches>(*this);
    m_cpuid = std::make_unique<CFakeCpuid>([this](uint32_t leaf) { return AnswerCpuid(leaf); });
}

CFakeAmdMachine::~CFakeAmdMachine() { platform.Reset(); }

CpuidRegisters CFakeAmdMachine::AnswerCpuid(uint32_t leaf) {
    calls.emplace_back("CPUID(" + Hex(leaf) + ")");
    return leaf == 0 ? vendor : CpuidRegisters{signature, packageBits, 0, 0};
}
