/** Windows' list of services: putting zorvanemon into it, taking it out, asking about it. */
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "base/callerror.h"

namespace zorvane {

/** What is to run as a service. */
struct ServiceDefinition {
    /** At most 256 characters, without slashes. */
    std::wstring name;
    /** The program's quoted path and its words. */
    std::wstring commandLine;
    /** As Windows names it: "LocalSystem", "NT AUTHORITY\LocalService". */
    std::wstring account;
};

enum class ServiceChange { kCreated, kChanged };

/**
 * Makes the service as defined, or changes the one of that name: started with Windows after what
 * matters more, started again a minute after each failure. It is not started.
 */
[[nodiscard]] std::optional<CallError> InstallService(const ServiceDefinition& definition,
                                                      ServiceChange& change);

/** Starts a stopped service and waits until it runs, half a minute at most. */
[[nodiscard]] std::optional<CallError> StartInstalledService(const std::wstring& name);

/**
 * Stops the service and waits for its end, which takes the time of a worker's end, then takes it
 * out of the list. `existed` says whether there was one; without one there is nothing to do.
 */
[[nodiscard]] std::optional<CallError> RemoveService(const std::wstring& name, bool& existed);

/** What Windows knows of a service. */
struct ServiceState {
    /** SERVICE_RUNNING and the like. */
    DWORD state = SERVICE_STOPPED;
    /** 0 when it does not run. */
    DWORD processId = 0;
    /** How it ended last; ERROR_SERVICE_SPECIFIC_ERROR: with `ownExitCode`. */
    DWORD exitCode = 0;
    DWORD ownExitCode = 0;
    std::wstring commandLine;
    std::wstring account;
};

/** Empty without an error: there is no such service. Needs no rights. */
[[nodiscard]] std::optional<CallError> QueryService(const std::wstring& name,
                                                    std::optional<ServiceState>& state);

/** The state in a word: "running". */
std::string StateWord(DWORD state);

}  // namespace zorvane
