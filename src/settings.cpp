#include "src/settings.h"

#include "src/module.h"

namespace {

constexpr wchar_t kFileName[] = L"Qorvella.set";
constexpr wchar_t kSection[] = L"cpu_kernel";
constexpr wchar_t kKey[] = L"sdk_flag";

}  // namespace

bool IsAmdTaskSwitchedOn() {
    ModulePath path;
    GetPathBesideModule(nullptr, kFileName, path);
    return GetPrivateProfileIntW(kSection, kKey, 1, path) != 0;
}

void SwitchAmdTaskOff() {
    ModulePath path;
    GetPathBesideModule(nullptr, kFileName, path);
    WritePrivateProfileStringW(kSection, kKey, L"0", path);
}
