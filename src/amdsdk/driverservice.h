/** The service of AMD's kernel driver. Work thread only. */
#pragma once

/** The driver's service and its file, which lies beside the process's executable. */
inline constexpr wchar_t kDriverServiceName[] = L"AMDRyzenMasterDriverV15";
inline constexpr wchar_t kDriverFileName[] = L"AMDRyzenMasterDriver.sys";

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
