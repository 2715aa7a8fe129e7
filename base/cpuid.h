/** Asking the processor about itself. */
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

/** What this processor answers. */
CpuidRegisters AskProcessor(uint32_t leaf, uint32_t subleaf);

}  // namespace zorvane
