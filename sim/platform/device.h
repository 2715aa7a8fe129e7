/** The devices of the simulated Platform.dll. */
#pragma once

#include "sim/platform/vendorobject.h"
#include "sim/scenario/scenario.h"

/** The scenario's processor; one without devices, on which Init fails, when it has none. */
Cpu& CurrentCpu();

/** The library answers only between these two; before and after, calls fail with status -1. */
void StartDevices();
void StopDevices();

/** The device of a type and index, null when the scenario has none there. */
VendorObject* FindDevice(int32_t type, int32_t index);
