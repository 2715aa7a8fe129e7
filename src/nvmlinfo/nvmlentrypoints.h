/**
 * The entry points of NVML that a task may need, each once:
 *
 *     ENTRY(member of NvmlApi, whether NVML is of use without it, signature, exported names...)
 *
 * Of several names the first that the library exports is taken: "_v2" and "_v3" came with later
 * drivers and are better where they exist.
 */
#pragma once

#include "src/nvmlinfo/nvml.h"

enum class NvmlPresence { kOptional, kMandatory };

#define ZORVANE_NVML_ENTRY_POINTS(ENTRY)                                                           \
    ENTRY(init, kMandatory, nvmlReturn_t(), "nvmlInit_v2", "nvmlInit")                             \
    ENTRY(shutdown, kOptional, nvmlReturn_t(), "nvmlShutdown")                                     \
    ENTRY(errorString, kOptional, const char*(nvmlReturn_t result), "nvmlErrorString")             \
    ENTRY(deviceGetCount, kMandatory, nvmlReturn_t(uint32_t* count), "nvmlDeviceGetCount_v2",      \
          "nvmlDeviceGetCount")                                                                    \
    ENTRY(deviceGetHandleByIndex, kOptional, nvmlReturn_t(uint32_t index, nvmlDevice_t* device),   \
          "nvmlDeviceGetHandleByIndex_v2", "nvmlDeviceGetHandleByIndex")                           \
    ENTRY(deviceGetUtilizationRates, kOptional,                                                    \
          nvmlReturn_t(nvmlDevice_t device, nvmlUtilization_t* rates),                             \
          "nvmlDeviceGetUtilizationRates")                                                         \
    ENTRY(deviceGetMemoryInfo, kOptional, nvmlReturn_t(nvmlDevice_t device, nvmlMemory_t* memory), \
          "nvmlDeviceGetMemoryInfo")                                                               \
    ENTRY(deviceGetName, kOptional,                                                                \
          nvmlReturn_t(nvmlDevice_t device, char* name, uint32_t length), "nvmlDeviceGetName")     \
    ENTRY(deviceGetTemperature, kOptional,                                                         \
          nvmlReturn_t(nvmlDevice_t device, nvmlTemperatureSensors_t sensor, uint32_t* celsius),   \
          "nvmlDeviceGetTemperature")                                                              \
    ENTRY(deviceGetPciInfo, kOptional, nvmlReturn_t(nvmlDevice_t device, nvmlPciInfo_t* pci),      \
          "nvmlDeviceGetPciInfo_v3", "nvmlDeviceGetPciInfo_v2", "nvmlDeviceGetPciInfo")            \
    ENTRY(deviceGetFanSpeed, kOptional, nvmlReturn_t(nvmlDevice_t device, uint32_t* percent),      \
          "nvmlDeviceGetFanSpeed")                                                                 \
    ENTRY(deviceGetClockInfo, kOptional,                                                           \
          nvmlReturn_t(nvmlDevice_t device, nvmlClockType_t type, uint32_t* mhz),                  \
          "nvmlDeviceGetClockInfo")                                                                \
    ENTRY(deviceGetMaxClockInfo, kOptional,                                                        \
          nvmlReturn_t(nvmlDevice_t device, nvmlClockType_t type, uint32_t* mhz),                  \
          "nvmlDeviceGetMaxClockInfo")                                                             \
    ENTRY(                                                                                         \
        deviceGetClock, kOptional,                                                                 \
        nvmlReturn_t(nvmlDevice_t device, nvmlClockType_t type, nvmlClockId_t id, uint32_t* mhz),  \
        "nvmlDeviceGetClock")                                                                      \
    ENTRY(deviceGetSerial, kOptional,                                                              \
          nvmlReturn_t(nvmlDevice_t device, char* serial, uint32_t length), "nvmlDeviceGetSerial") \
    ENTRY(deviceGetVbiosVersion, kOptional,                                                        \
          nvmlReturn_t(nvmlDevice_t device, char* version, uint32_t length),                       \
          "nvmlDeviceGetVbiosVersion")                                                             \
    ENTRY(systemGetDriverVersion, kOptional, nvmlReturn_t(char* version, uint32_t length),         \
          "nvmlSystemGetDriverVersion")                                                            \
    ENTRY(deviceGetBoardPartNumber, kOptional,                                                     \
          nvmlReturn_t(nvmlDevice_t device, char* number, uint32_t length),                        \
          "nvmlDeviceGetBoardPartNumber")
