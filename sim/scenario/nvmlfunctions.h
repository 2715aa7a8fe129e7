/** The functions of Nvml.dll for which a scenario can set results. */
#pragma once

#include <string_view>

/** One function, without the suffix of a newer version. */
struct NvmlFunction {
    std::string_view name;
    bool takesDevice;
    bool takesClockType;
    /** 1: only the plain name; 2: "_v2" too; 3: "_v2" and "_v3" too. */
    int versions;
};

inline constexpr NvmlFunction kNvmlFunctions[] = {
    {"nvmlInit", false, false, 2},
    {"nvmlShutdown", false, false, 1},
    {"nvmlDeviceGetCount", false, false, 2},
    {"nvmlDeviceGetHandleByIndex", true, false, 2},
    {"nvmlDeviceGetUtilizationRates", true, false, 1},
    {"nvmlDeviceGetMemoryInfo", true, false, 1},
    {"nvmlDeviceGetName", true, false, 1},
    {"nvmlDeviceGetTemperature", true, false, 1},
    {"nvmlDeviceGetPciInfo", true, false, 3},
    {"nvmlDeviceGetFanSpeed", true, false, 1},
    {"nvmlDeviceGetClockInfo", true, true, 1},
    {"nvmlDeviceGetMaxClockInfo", true, true, 1},
    {"nvmlDeviceGetClock", true, true, 1},
    {"nvmlDeviceGetSerial", true, false, 1},
    {"nvmlDeviceGetVbiosVersion", true, false, 1},
    {"nvmlSystemGetDriverVersion", false, false, 1},
    {"nvmlDeviceGetBoardPartNumber", true, false, 1},
};

/** The function that is exported as `entryPoint`, suffix included; null when there is none. */
const NvmlFunction* FindNvmlFunction(std::string_view entryPoint);

/** `entryPoint` without a "_v" suffix. */
std::string_view WithoutVersion(std::string_view entryPoint);
