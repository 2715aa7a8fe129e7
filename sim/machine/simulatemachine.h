/** Making Windows answer a module as a scenario says. */
#pragma once

#include <windows.h>

#include "sim/scenario/machine.h"

/**
 * Replaces functions of Windows in the import table of `module` (null: the program), so that they
 * answer it for `machine`; functions that the module does not import are left out. Holds for all
 * threads until the process ends. `machine` must live as long; all modules share the last one. The
 * imports that a module binds later (delayed, or by GetProcAddress) are not replaced, but for the
 * version of Windows.
 */
void SimulateMachine(HMODULE module, Machine& machine);

/**
 * The same for administrator rights, the version of Windows, its folder and the product's name
 * alone; the service manager and WMI stay real.
 */
void SimulateSystem(HMODULE module, Machine& machine);
