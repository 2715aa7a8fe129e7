/** What a library in this process meets in place of Windows' service manager and clock. */
#pragma once

#include <windows.h>

/**
 * Replaces functions in the module's import table until the process ends: the driver's service
 * and device exist in this process only, so that runs side by side do not meet; the pause between
 * cycles and the period of the check for the stub are short.
 */
void DriveMachine(HMODULE module);

/** True when the driver's service exists. */
bool IsDriverServiceLeft();
