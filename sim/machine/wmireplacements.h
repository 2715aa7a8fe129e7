/** The WMI query for virtualisation-based security. */
#pragma once

#include <span>

#include "sim/machine/replacement.h"

/** The functions to replace; they answer for CurrentMachine. */
std::span<const Replacement> WmiReplacements();
