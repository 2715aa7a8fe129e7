/** The service manager and the driver's device. */
#pragma once

#include <span>

#include "sim/machine/replacement.h"

/** The functions to replace; they answer for CurrentMachine. */
std::span<const Replacement> DriverReplacements();
