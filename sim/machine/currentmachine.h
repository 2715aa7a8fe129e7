/** The machine for which replaced functions answer. */
#pragma once

#include "sim/scenario/machine.h"

/** Needs SetCurrentMachine. */
Machine& CurrentMachine();

/** `machine` must live until the process ends. */
void SetCurrentMachine(Machine& machine);
