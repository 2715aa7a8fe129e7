/** The CPUID instruction. */
#pragma once

#include <cstdint>

namespace zorvane {

/** The registers that CPUID writes. */
struct CpuidRegisters {
    uint32_t eax;
    uint32_t ebx;
    uint32_t ecx;
    uint32_t edx;

    bool operator==(const CpuidRegisters&) const = default;
};

/** Executes CPUID for a leaf. */
CpuidRegisters AskProcessor(uint32_t leaf, uint32_t subleaf);

}  // namespace zorvane
