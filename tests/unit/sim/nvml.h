/** The entry points of a simulated Nvml.dll as a caller sees them. */
#pragma once

#include "sim/nvml/nvmlexports.h"
#include "tests/unit/sim/simfixture.h"

// A name that is declared cannot stand in parentheses. NOLINTNEXTLINE(bugprone-macro-parentheses)
#define ZORVANE_ENTRY(name) decltype(::name)* name = m_library.Get<decltype(::name)>(#name)

/** A loaded simulated Nvml.dll; an entry point that a variant lacks is null. */
class CNvml {
  public:
    explicit CNvml(const std::string& variant = "") : m_library(NvmlPath(variant)) {}

    /** The handle of a GPU; null when there is none. */
    NvmlDevice Device(uint32_t index) const {
        NvmlDevice device = nullptr;
        nvmlDeviceGetHandleByIndex_v2(index, &device);
        return device;
    }

  private:
    CLoadedLibrary m_library;

  public:
    ZORVANE_ENTRY(nvmlInit_v2);
    ZORVANE_ENTRY(nvmlInit);
    ZORVANE_ENTRY(nvmlShutdown);
    ZORVANE_ENTRY(nvmlErrorString);
    ZORVANE_ENTRY(nvmlSystemGetDriverVersion);
    ZORVANE_ENTRY(nvmlDeviceGetCount_v2);
    ZORVANE_ENTRY(nvmlDeviceGetCount);
    ZORVANE_ENTRY(nvmlDeviceGetHandleByIndex_v2);
    ZORVANE_ENTRY(nvmlDeviceGetHandleByIndex);
    ZORVANE_ENTRY(nvmlDeviceGetName);
    ZORVANE_ENTRY(nvmlDeviceGetSerial);
    ZORVANE_ENTRY(nvmlDeviceGetVbiosVersion);
    ZORVANE_ENTRY(nvmlDeviceGetBoardPartNumber);
    ZORVANE_ENTRY(nvmlDeviceGetUtilizationRates);
    ZORVANE_ENTRY(nvmlDeviceGetMemoryInfo);
    ZORVANE_ENTRY(nvmlDeviceGetTemperature);
    ZORVANE_ENTRY(nvmlDeviceGetFanSpeed);
    ZORVANE_ENTRY(nvmlDeviceGetClockInfo);
    ZORVANE_ENTRY(nvmlDeviceGetMaxClockInfo);
    ZORVANE_ENTRY(nvmlDeviceGetClock);
    ZORVANE_ENTRY(nvmlDeviceGetPciInfo_v3);
    ZORVANE_ENTRY(nvmlDeviceGetPciInfo_v2);
    ZORVANE_ENTRY(nvmlDeviceGetPciInfo);
};

#undef ZORVANE_ENTRY
