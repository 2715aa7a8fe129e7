/**
 * NVML as NVIDIA publishes it, as far as it is simulated. Written down here and not taken from the
 * program under test, so that a mistake in its declarations shows.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/** Return codes that the simulation itself gives; a scenario may set any other 32-bit number. */
enum NvmlResult : int32_t {
    kNvmlSuccess = 0,
    kNvmlUninitialized = 1,
    kNvmlInvalidArgument = 2,
    kNvmlNotSupported = 3,
    kNvmlNoPermission = 4,
    kNvmlInsufficientSize = 7,
    kNvmlGpuIsLost = 15,
    kNvmlUnknown = 999
};

/** Clock types: graphics, SM, memory, video. */
inline constexpr size_t kClockTypes = 4;

/** The handle of a GPU. */
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

/**
 * Version 3. In version 2 four reserved words stand in place of the bus id; version 1 ends before
 * pciSubSystemId.
 */
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

/** What a function of NVML is about. */
enum class NvmlSubject { kSystem, kGpu, kGpuClock, kErrorText };

/**
 * Every entry point: ENTRY(name, subject, result type, (parameters)). The build reads the names of
 * the exports from these lines too, so each begins with ENTRY and the name.
 */
#define ZORVANE_SIM_NVML_ENTRY_POINTS(ENTRY)                                                      \
    ENTRY(nvmlInit_v2, kSystem, int32_t, ())                                                      \
    ENTRY(nvmlInit, kSystem, int32_t, ())                                                         \
    ENTRY(nvmlShutdown, kSystem, int32_t, ())                                                     \
    ENTRY(nvmlErrorString, kErrorText, const char*, (int32_t result))                             \
    ENTRY(nvmlSystemGetDriverVersion, kSystem, int32_t, (char* version, uint32_t length))         \
    ENTRY(nvmlDeviceGetCount_v2, kSystem, int32_t, (uint32_t * count))                            \
    ENTRY(nvmlDeviceGetCount, kSystem, int32_t, (uint32_t * count))                               \
    ENTRY(nvmlDeviceGetHandleByIndex_v2, kGpu, int32_t, (uint32_t index, NvmlDevice * device))    \
    ENTRY(nvmlDeviceGetHandleByIndex, kGpu, int32_t, (uint32_t index, NvmlDevice * device))       \
    ENTRY(nvmlDeviceGetName, kGpu, int32_t, (NvmlDevice device, char* name, uint32_t length))     \
    ENTRY(nvmlDeviceGetSerial, kGpu, int32_t, (NvmlDevice device, char* serial, uint32_t length)) \
    ENTRY(nvmlDeviceGetVbiosVersion, kGpu, int32_t,                                               \
          (NvmlDevice device, char* version, uint32_t length))                                    \
    ENTRY(nvmlDeviceGetBoardPartNumber, kGpu, int32_t,                                            \
          (NvmlDevice device, char* partNumber, uint32_t length))                                 \
    ENTRY(nvmlDeviceGetUtilizationRates, kGpu, int32_t,                                           \
          (NvmlDevice device, NvmlUtilization * utilization))                                     \
    ENTRY(nvmlDeviceGetMemoryInfo, kGpu, int32_t, (NvmlDevice device, NvmlMemory * memory))       \
    ENTRY(nvmlDeviceGetTemperature, kGpu, int32_t,                                                \
          (NvmlDevice device, uint32_t sensor, uint32_t * temperature))                           \
    ENTRY(nvmlDeviceGetFanSpeed, kGpu, int32_t, (NvmlDevice device, uint32_t * speed))            \
    ENTRY(nvmlDeviceGetClockInfo, kGpuClock, int32_t,                                             \
          (NvmlDevice device, uint32_t type, uint32_t * clock))                                   \
    ENTRY(nvmlDeviceGetMaxClockInfo, kGpuClock, int32_t,                                          \
          (NvmlDevice device, uint32_t type, uint32_t * clock))                                   \
    ENTRY(nvmlDeviceGetClock, kGpuClock, int32_t,                                                 \
          (NvmlDevice device, uint32_t type, uint32_t id, uint32_t * clock))                      \
    ENTRY(nvmlDeviceGetPciInfo_v3, kGpu, int32_t, (NvmlDevice device, NvmlPciInfo * pci))         \
    ENTRY(nvmlDeviceGetPciInfo_v2, kGpu, int32_t, (NvmlDevice device, NvmlPciInfo * pci))         \
    ENTRY(nvmlDeviceGetPciInfo, kGpu, int32_t, (NvmlDevice device, NvmlPciInfo * pci))

#define ZORVANE_SIM_NVML_DECLARE(name, subject, result, parameters) result name parameters;
extern "C" {
ZORVANE_SIM_NVML_ENTRY_POINTS(ZORVANE_SIM_NVML_DECLARE)
}
#undef ZORVANE_SIM_NVML_DECLARE

/** One entry point by name. */
struct NvmlEntryPoint {
    const char* name;
    NvmlSubject subject;
};

#define ZORVANE_SIM_NVML_ROW(name, subject, result, parameters) {#name, NvmlSubject::subject},
inline constexpr NvmlEntryPoint kNvmlEntryPoints[] = {
    ZORVANE_SIM_NVML_ENTRY_POINTS(ZORVANE_SIM_NVML_ROW)};
#undef ZORVANE_SIM_NVML_ROW
