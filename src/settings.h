/** The settings file that the utility's programs share. */
#pragma once

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
