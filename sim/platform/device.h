/** The devices of the simulated Platform.dll. */
#pragma once

#include <string>

#include "base/slottable.h"
#include "sim/scenario/scenario.h"

/** Ends the process: nobody may call a slot that the simulated library does not have. */
[[noreturn]] void ReportUnusedSlot(size_t number);

/** The scenario's processor; one without devices, on which Init fails, when it has none. */
Cpu& CurrentCpu();

/**
 * Lets a call hang or crash when the scenario says so. `function` is one of platformfunctions.h,
 * `arguments` as the call log shows them.
 */
void DisturbPlatformCall(const char* function, const std::string& arguments);

/** The library answers only between these two; before and after, calls fail with status -1. */
void StartDevices();
void StopDevices();

/** The device of a type and index, null when the scenario has none there. */
zorvane::SlotObject* FindDevice(int32_t type, int32_t index);
