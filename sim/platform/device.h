/** The devices of the simulated Platform.dll. */
#pragma once

#include "base/slottable.h"
#include "sim/scenario/scenario.h"

/** Ends the process: nobody may call a slot that the simulated library does not have. */
[[noreturn]] void ReportUnusedSlot(size_t number);

/** The scenario's processor; one without devices, on which Init fails, when it has none. */
Cpu& CurrentCpu();

/** The library answers only between these two; before and after, calls fail with status -1. */
void StartDevices();
void StopDevices();

/** The device of a type and index, null when the scenario has none there. */
zorvane::SlotObject* FindDevice(int32_t type, int32_t index);
