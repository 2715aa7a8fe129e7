/**
 * The part of NVIDIA's published NVML interface that is used here, with its names. Result codes,
 * clock types and the like are plain integers: a driver may answer with values that no header
 * knows.
 */
#pragma once

#include <cstddef>
#include <cstdint>

using nvmlReturn_t = int32_t;
inline constexpr nvmlReturn_t NVML_SUCCESS = 0;

using nvmlDevice_t = struct nvmlDevice_st*;

using nvmlTemperatureSensors_t = int32_t;
inline constexpr nvmlTemperatureSensors_t NVML_TEMPERATURE_GPU = 0;

/** 0 to 3: graphics, SM, memory, video. */
using nvmlClockType_t = int32_t;
inline constexpr nvmlClockType_t NVML_CLOCK_COUNT = 4;

using nvmlClockId_t = int32_t;
inline constexpr nvmlClockId_t NVML_CLOCK_ID_CURRENT = 0;

/** Shares of the last sample period in percent. */
struct nvmlUtilization_t {
    uint32_t gpu;
    uint32_t memory;
};

/** Sizes in bytes. */
struct nvmlMemory_t {
    uint64_t total;
    uint64_t free;
    uint64_t used;
};

/** Version 3. The older entry points fill the same layout up to the subsystem id. */
struct nvmlPciInfo_t {
    char busIdLegacy[16];
    uint32_t domain;
    uint32_t bus;
    uint32_t device;
    uint32_t pciDeviceId;
    uint32_t pciSubSystemId;
    char busId[32];
};

static_assert(sizeof(nvmlUtilization_t) == 8);
static_assert(sizeof(nvmlMemory_t) == 24);
static_assert(offsetof(nvmlPciInfo_t, domain) == 16);
static_assert(offsetof(nvmlPciInfo_t, busId) == 36);
static_assert(sizeof(nvmlPciInfo_t) == 68);
