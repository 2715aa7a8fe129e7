/** Administrator rights, the version of Windows and the product's name in the registry. */
#pragma once

#include <span>

#include "sim/machine/replacement.h"

/** The functions to replace; they answer for CurrentMachine. */
std::span<const Replacement> SystemReplacements();
