/**
 * The exports of the simulated Nvml.dll, as NVIDIA publishes them. Declared here and not taken from
 * the program under test, so that a mistake in its declarations shows.
 */
#pragma once

#include <cstdint>

/** Return codes; a scenario may set any other 32-bit number too. */
enum ENvmlResult : int32_t {
    kNvmlSuccess = 0,
    kNvmlUninitialized = 1,
    kNvmlInvalidArgument = 2,
    kNvmlNotSupported = 3,
    kNvmlInsufficientSize = 7,
    kNvmlUnknown = 999
};

/** A GPU; only this library knows what is behind it. */
using NvmlDevice = void*;

struct NvmlUtilization {
    uint32_t gpu;
    uint32_t memory;
};

/** Bytes */
struct NvmlMemory {
    uint64_t total;
    uint64_t free;
    uint64_t used;
};

/** Version 3. Version 2 ends after pciSubSystemId, version 1 before it. */
struct NvmlPciInfo {
    char busIdLegacy[16];
    uint32_t domain;
    uint32_t bus;
    uint32_t device;
    uint32_t pciDeviceId;
    uint32_t pciSubSystemId;
    char busId[32];
};
static_assert(sizeof(NvmlPciInfo) == 68);

extern "C" {
int32_t nvmlInit_v2();
int32_t nvmlInit();
int32_t nvmlShutdown();
const char* nvmlErrorString(int32_t result);
int32_t nvmlSystemGetDriverVersion(char* version, uint32_t length);
int32_t nvmlDeviceGetCount_v2(uint32_t* count);
int32_t nvmlDeviceGetCount(uint32_t* count);
int32_t nvmlDeviceGetHandleByIndex_v2(uint32_t index, NvmlDevice* device);
int32_t nvmlDeviceGetHandleByIndex(uint32_t index, NvmlDevice* device);
int32_t nvmlDeviceGetName(NvmlDevice device, char* name, uint32_t length);
int32_t nvmlDeviceGetSerial(NvmlDevice device, char* serial, uint32_t length);
int32_t nvmlDeviceGetVbiosVersion(NvmlDevice device, char* version, uint32_t length);
int32_t nvmlDeviceGetBoardPartNumber(NvmlDevice device, char* partNumber, uint32_t length);
int32_t nvmlDeviceGetUtilizationRates(NvmlDevice device, NvmlUtilization* utilization);
int32_t nvmlDeviceGetMemoryInfo(NvmlDevice device, NvmlMemory* memory);
int32_t nvmlDeviceGetTemperature(NvmlDevice device, uint32_t sensor, uint32_t* temperature);
int32_t nvmlDeviceGetFanSpeed(NvmlDevice device, uint32_t* speed);
int32_t nvmlDeviceGetClockInfo(NvmlDevice device, uint32_t type, uint32_t* clock);
int32_t nvmlDeviceGetMaxClockInfo(NvmlDevice device, uint32_t type, uint32_t* clock);
int32_t nvmlDeviceGetClock(NvmlDevice device, uint32_t type, uint32_t id, uint32_t* clock);
int32_t nvmlDeviceGetPciInfo_v3(NvmlDevice device, NvmlPciInfo* pci);
int32_t nvmlDeviceGetPciInfo_v2(NvmlDevice device, NvmlPciInfo* pci);
int32_t nvmlDeviceGetPciInfo(NvmlDevice device, NvmlPciInfo* pci);
}
