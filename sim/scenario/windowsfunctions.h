/** The functions of Windows for which a scenario can set results. */
#pragma once

/** Opening the driver's device; every other file opens as it does. */
inline constexpr char kCreateFileW[] = "CreateFileW";

inline constexpr char kOpenSCManagerW[] = "OpenSCManagerW";
inline constexpr char kOpenServiceW[] = "OpenServiceW";
inline constexpr char kCreateServiceW[] = "CreateServiceW";
inline constexpr char kQueryServiceStatus[] = "QueryServiceStatus";
inline constexpr char kStartServiceW[] = "StartServiceW";
inline constexpr char kControlService[] = "ControlService";
inline constexpr char kDeleteService[] = "DeleteService";

inline constexpr const char* kWindowsFunctions[] = {
    kOpenSCManagerW, kOpenServiceW,   kCreateServiceW, kQueryServiceStatus,
    kStartServiceW,  kControlService, kDeleteService,  kCreateFileW,
};
