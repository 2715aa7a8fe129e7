/** NVML, bound at run time. */
#pragma once

#include <cstdint>

#include "src/nvmlinfo/nvmlentrypoints.h"

/** An 8-bit text from NVML, always terminated; empty when it could not be read. */
struct NvmlText {
    static constexpr uint32_t kCapacity = 100;
    char characters[kCapacity + 1];
};

/** Clocks in MHz by clock type. */
struct NvmlClocks {
    uint32_t mhz[NVML_CLOCK_COUNT];
};

/** A signature by a name, so that a pointer to it can be declared as to any other type. */
template <typename Signature>
using NvmlFunction = Signature;

/**
 * The entry points of NVML that a task may need, and the number of GPUs. Zero-filled at creation;
 * only init and device count are sure to be there after a successful Load. The library stays loaded
 * until the process ends. Work thread only.
 *
 * Every reading that takes a GPU index looks the device handle up anew. One that fails tells
 * NVML's error-string function and leaves its argument as it was.
 */
struct NvmlApi {
    uint32_t deviceCount;

#define ZORVANE_NVML_MEMBER(member, presence, signature, ...) NvmlFunction<signature>* member;
    ZORVANE_NVML_ENTRY_POINTS(ZORVANE_NVML_MEMBER)
#undef ZORVANE_NVML_MEMBER

    /**
     * Loads the library at `path`, binds it, starts NVML and counts the GPUs. Non-zero exactly when
     * there is at least one. NVML stays started when counting fails.
     */
    int Load(const wchar_t* path);

    NvmlText Name(uint32_t index) const;
    NvmlText Serial(uint32_t index) const;
    NvmlText VbiosVersion(uint32_t index) const;
    NvmlText DriverVersion() const;

    bool Utilization(uint32_t index, nvmlUtilization_t& rates) const;
    /** Bytes. */
    bool TotalMemory(uint32_t index, uint64_t& bytes) const;
    /** Degrees Celsius. */
    bool Temperature(uint32_t index, uint32_t& celsius) const;
    /** Percent of the highest intended speed; may exceed 100. */
    bool FanSpeed(uint32_t index, uint32_t& percent) const;
    bool PciInfo(uint32_t index, nvmlPciInfo_t& pci) const;

    /** The four clocks up to the first that cannot be read; that one and the later ones are 0. */
    NvmlClocks MaxClocks(uint32_t index) const;
    NvmlClocks CurrentClocks(uint32_t index) const;
};
