/** A worker's command line. */
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "base/environment.h"
#include "base/processidentity.h"

namespace zorvane {

/** What a stub decides about the worker that it starts. */
struct WorkerCommand {
    /** Path of the host program. It is not searched for along PATH. */
    std::wstring host;
    /** Path of the library; empty: the host takes the one beside itself. */
    std::wstring libraryPath;
    /** The worker's name. It comes back with every record, cut at 31 characters. */
    std::wstring entry;
    /** Further words of the command line. "skip_delete" keeps the AMD driver service at the end. */
    std::vector<std::wstring> words;
    /** Variables that the worker's environment has in addition to the stub's, or in place of them.
     */
    std::vector<EnvironmentChange> environment;
};

/** The library that the host loads for this command, if it finds it there. */
std::wstring ExpectedLibrary(const WorkerCommand& command);

/** The value of --wnd: a window handle has 32 significant bits and travels as a signed decimal. */
std::wstring WindowText(HWND window);

/**
 * The whole command line, the host's path as its first word. `stub` is the process of the stub
 * window, whose end the host watches for.
 */
std::wstring BuildCommandLine(const WorkerCommand& command, HWND stubWindow,
                              const ProcessIdentity& stub);

}  // namespace zorvane
