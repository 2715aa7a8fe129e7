/** NVML, bound at run time. */
#pragma once

#include <cstdint>

#include "src/nvmlinfo/nvml.h"

/** An 8-bit text from NVML, always terminated; empty when it could not be read. */
struct NvmlText {
    static constexpr uint32_t kCapacity = 100;
    char characters[kCapacity + 1];
};

/** Clocks in MHz by clock type. */
struct NvmlClocks {
    uint32_t mhz[NVML_CLOCK_COUNT];
};

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

    nvmlReturn_t (*init)();
    nvmlReturn_t (*shutdown)();
    const char* (*errorString)(nvmlReturn_t result);
    nvmlReturn_t (*deviceGetCount)(uint32_t* count);
    nvmlReturn_t (*deviceGetHandleByIndex)(uint32_t index, nvmlDevice_t* device);
    nvmlReturn_t (*deviceGetUtilizationRates)(nvmlDevice_t device, nvmlUtilization_t* rates);
    nvmlReturn_t (*deviceGetMemoryInfo)(nvmlDevice_t device, nvmlMemory_t* memory);
    nvmlReturn_t (*deviceGetName)(nvmlDevice_t device, char* name, uint32_t length);
    nvmlReturn_t (*deviceGetTemperature)(nvmlDevice_t device, nvmlTemperatureSensors_t sensor,
                                         uint32_t* celsius);
    nvmlReturn_t (*deviceGetPciInfo)(nvmlDevice_t device, nvmlPciInfo_t* pci);
    nvmlReturn_t (*deviceGetFanSpeed)(nvmlDevice_t device, uint32_t* percent);
    nvmlReturn_t (*deviceGetClockInfo)(nvmlDevice_t device, nvmlClockType_t type, uint32_t* mhz);
    nvmlReturn_t (*deviceGetMaxClockInfo)(nvmlDevice_t device, nvmlClockType_t type, uint32_t* mhz);
    nvmlReturn_t (*deviceGetClock)(nvmlDevice_t device, nvmlClockType_t type, nvmlClockId_t id,
                                   uint32_t* mhz);
    nvmlReturn_t (*deviceGetSerial)(nvmlDevice_t device, char* serial, uint32_t length);
    nvmlReturn_t (*deviceGetVbiosVersion)(nvmlDevice_t device, char* version, uint32_t length);
    nvmlReturn_t (*systemGetDriverVersion)(char* version, uint32_t length);
    nvmlReturn_t (*deviceGetBoardPartNumber)(nvmlDevice_t device, char* number, uint32_t length);

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
