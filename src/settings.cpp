#include "src/settings.h"

#include "src/module.h"

bool IsAmdTaskSwitchedOn() {
    ModulePath path;
    GetPathBesideModule(nullptr, kSettingsFileName, path);
    return GetPrivateProfileIntW(kSettingsSection, kSettingsKey, 1, path) != 0;
}

void SwitchAmdTaskOff() {
    ModulePath path;
    GetPathBesideModule(nullptr, kSettingsFileName, path);
    WritePrivateProfileStringW(kSettingsSection, kSettingsKey, L"0", path);
}
