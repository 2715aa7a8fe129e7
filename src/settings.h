/** The settings file that the utility's programs share. */
#pragma once

/** The file, and the section and key of the switch in it. */
inline constexpr wchar_t kSettingsFileName[] = L"Qorvella.set";
inline constexpr wchar_t kSettingsSection[] = L"cpu_kernel";
inline constexpr wchar_t kSettingsKey[] = L"sdk_flag";

/**
 * Whether the AMD temperature task may be tried: section "cpu_kernel", key "sdk_flag" of
 * "Qorvella.set" beside the process's executable. True for any value but 0, and when the file or
 * the key is missing.
 */
bool IsAmdTaskSwitchedOn();

/**
 * Switches the AMD temperature task off for later runs; nothing in this system switches it on
 * again. A file that cannot be written is ignored: the task is then tried again next time.
 */
void SwitchAmdTaskOff();
