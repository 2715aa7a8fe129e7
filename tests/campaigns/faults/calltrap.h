/** Counting the calls that a module makes, and failing some of them. */
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

/** Which calls of one function fail: the one with the number `first`, from 1, or all from it on. */
struct FaultPlan {
    std::string function;
    uint32_t first = 0;
    bool isForGood = false;
};

/** How often a function was called, and how many of these calls were made to fail. */
struct CallCount {
    std::string function;
    uint32_t calls = 0;
    uint32_t failed = 0;
};

/**
 * Decides which calls fail; before the first trap is set. Without it none does. A process has one
 * plan.
 */
void SetFaultPlan(const FaultPlan& plan);

/**
 * Puts a trap into every entry of the module's import table, and before every function that the
 * module gets by GetProcAddress from now on. A trap changes neither registers nor the last error of
 * a call that goes on. Traps stay until the process ends. Throws std::runtime_error for a function
 * that the list of failures does not have.
 */
void TrapImports(HMODULE module);

/** The functions that were called, in the order in which they were trapped. */
std::vector<CallCount> TrappedCalls();
