/** Which processors the vendor library knows. */
#pragma once

#include <cstdint>

/** What is known of a processor. */
enum class ProcessorSupport {
    kNo,
    /** Supported, but only while Virtualization-Based Security is off. */
    kVbsMustBeOff,
    kYes
};

/**
 * Looks a processor up: `packageType` is EBX of CPUID leaf 0x80000001 shifted right by 28 as a
 * signed number (-8 to 7), `signature` that leaf's whole EAX.
 */
ProcessorSupport LookUpProcessor(int32_t packageType, uint32_t signature);
