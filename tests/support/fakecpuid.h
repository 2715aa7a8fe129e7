/** A scriptable fake of the CPUID instruction. */
#pragma once

#include <cstdint>
#include <functional>

#include "base/cpuidtrap.h"

using zorvane::CpuidRegisters;

/**
 * Makes every CPUID instruction of this program a trap that asks `answer` for the leaf's registers,
 * for its own life; one at a time. The places of the instructions come from the list that
 * zorvane_test_fake_cpuid(target) lets the build write beside the program.
 */
class CFakeCpuid {
  public:
    using Answer = std::function<CpuidRegisters(uint32_t leaf)>;

    /** Throws std::runtime_error when there is no list, or it is not this program's. */
    explicit CFakeCpuid(Answer answer);

  private:
    zorvane::CCpuidTrap m_trap;
};

/** Leaf 0 of a processor whose vendor is `vendor`, 12 characters. */
CpuidRegisters VendorLeaf(const char (&vendor)[13]);
