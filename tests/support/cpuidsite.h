/** A CPUID instruction whose place is known. */
#pragma once

#include <cstdint>

#include "base/cpuid.h"

extern "C" {

/** Executes the instruction. */
void ExecuteCpuid(uint32_t leaf, uint32_t subleaf, zorvane::CpuidRegisters* answer);

/** The instruction's two bytes. */
extern const unsigned char kCpuidSite[];
}
