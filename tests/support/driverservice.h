/** AMD's driver service in the real service manager. Under Wine only: never on a real Windows. */
#pragma once

#include <windows.h>

#include <optional>

#include "src/amdsdk/servicehandle.h"

inline constexpr wchar_t kDriverDevice[] = L"\\\\.\\AMDRyzenMasterDriverV15";

/** Whether this is Wine, where a test may install a driver. */
bool IsWine();

CServiceHandle OpenServiceManager();

/** Null when there is no such service. */
CServiceHandle OpenDriverService();

/** The service's state, empty when it is not there. */
std::optional<DWORD> ServiceState();

/** Waits, 10 seconds at most, for the service to be in `state`; false when it never was. */
bool WaitForServiceState(DWORD state);

/**
 * Stops the service; false when it does not come to rest. What counts is the state: now and then
 * the process in which Wine runs the driver is gone before it has answered the stop.
 */
bool StopDriverService();

/**
 * Stops and deletes the service if it is there, and waits, 10 seconds at most, for it and its
 * device to go.
 */
void RemoveDriverService();

/** True when the driver's device can be opened. */
bool DriverDeviceOpens();
