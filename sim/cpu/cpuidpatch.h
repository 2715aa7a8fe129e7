/** Making the CPUID instructions of a loaded library answer for the simulated processor. */
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "sim/scenario/scenario.h"

/** Which image it is, and where its CPUID instructions begin, relative to its base. */
struct CpuidImage {
    uint32_t sizeOfImage;
    uint32_t checkSum;
    std::span<const uint32_t> addresses;
};

/**
 * Patches the library that is loaded at `module`, which must be exactly the one that `image`
 * describes; it then answers as `cpu` until the process ends, on every thread. Call once, before
 * any code of the library that asks runs. An empty answer is success, any other says what failed.
 */
std::wstring PatchCpuid(void* module, const CpuidImage& image, const Cpu& cpu);
