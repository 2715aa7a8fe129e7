/** Functions that take the place of Windows' own in an import table. */
#pragma once

#include <windows.h>

#include <span>

#include "sim/scenario/machine.h"

/** The machine for which the replacements answer. */
Machine& CurrentMachine();

/** One replaced function. */
struct Replacement {
    const char* function;
    void* replacement;
    /** Takes the address of Windows' own function. */
    void** original;
};

/** A row of a table of replacements: `original` is a pointer of the replacement's own type. */
template <class Function>
Replacement Replace(const char* function, Function* replacement, Function*& original) {
    return {function, reinterpret_cast<void*>(replacement), reinterpret_cast<void**>(&original)};
}

/** Administrator rights, the version of Windows and the product's name in the registry. */
std::span<const Replacement> SystemReplacements();

/** The service manager and the driver's device. */
std::span<const Replacement> DriverReplacements();

/** The query for virtualisation-based security. */
std::span<const Replacement> WmiReplacements();
