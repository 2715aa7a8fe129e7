/** How the simulated processor answers CPUID. */
#pragma once

#include <cstdint>

#include "sim/scenario/scenario.h"

/** The registers that CPUID writes. */
struct CpuidRegisters {
    uint32_t eax;
    uint32_t ebx;
    uint32_t ecx;
    uint32_t edx;
};

/**
 * The answer for `leaf`, given the real processor's: the scenario's vendor in leaf 0, its signature
 * and package type (the highest four bits of EBX) in leaf 0x80000001, all else as it is.
 */
CpuidRegisters AnswerCpuid(const Cpu& cpu, uint32_t leaf, const CpuidRegisters& real);
