/** Checks of the machine, and the driver service. All of it is called on the work thread. */
#pragma once

#include <cstdint>

/** The driver's service and its file, which lies beside the process's executable. */
inline constexpr wchar_t kDriverServiceName[] = L"AMDRyzenMasterDriverV15";
inline constexpr wchar_t kDriverFileName[] = L"AMDRyzenMasterDriver.sys";

/** True on a 64-bit Windows 10 workstation; later versions of Windows report that number too. */
bool IsSupportedOS();

/** True when the operating system itself is 64-bit. Found out once. */
bool IsX64OS();

/**
 * Asks WMI for Virtualization-Based Security. 0: the query ran, and `*status` holds the answer of
 * the last instance, or is unchanged when none came. 1: a step of the query failed.
 */
int QueryVbsStatus(uint32_t* status);

/**
 * 0: the driver service runs. -1: the service control manager cannot be opened, or the service was
 * there without running and has been deleted. -2: the service cannot be opened.
 */
int QueryDrvService();

/**
 * Installs and starts the driver service. 1: the driver's device can be opened, 0: it cannot. The
 * device stays open until the process ends.
 */
int InstallDriver();

/** Stops and deletes the driver service, unless the process's command line holds "skip_delete". */
void DeleteDriver();
