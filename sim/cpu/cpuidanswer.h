/** How the simulated processor answers CPUID. */
#pragma once

#include <cstdint>

#include "base/cpuid.h"
#include "sim/scenario/scenario.h"

/**
 * The answer for `leaf`, given the real processor's: the scenario's vendor in leaf 0, its signature
 * and package type (the highest four bits of EBX) in leaf 0x80000001, all else as it is.
 */
zorvane::CpuidRegisters AnswerCpuid(const Cpu& cpu, uint32_t leaf,
                                    const zorvane::CpuidRegisters& real);
