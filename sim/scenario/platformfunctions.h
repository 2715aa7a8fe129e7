/** The functions of the simulated Platform.dll, as scenarios and the call log name them. */
#pragma once

inline constexpr char kGetPlatform[] = "GetPlatform";
inline constexpr char kPlatformInit[] = "IPlatform::Init";
inline constexpr char kPlatformUnInit[] = "IPlatform::UnInit";
inline constexpr char kPlatformGetDeviceManager[] = "IPlatform::GetDeviceManager";
inline constexpr char kManagerGetDevice[] = "IDeviceManager::GetDevice";
inline constexpr char kDeviceGetName[] = "IDevice::GetName";
inline constexpr char kDeviceGetTemperatureOffset[] = "IDevice::GetTemperatureOffset";
inline constexpr char kDeviceGetCurrentTemperature[] = "IDevice::GetCurrentTemperature";
inline constexpr char kDeviceGetPMTableData[] = "IDevice::GetPMTableData";

inline constexpr const char* kPlatformFunctions[] = {
    kGetPlatform,
    kPlatformInit,
    kPlatformUnInit,
    kPlatformGetDeviceManager,
    kManagerGetDevice,
    kDeviceGetName,
    kDeviceGetTemperatureOffset,
    kDeviceGetCurrentTemperature,
    kDeviceGetPMTableData,
};
