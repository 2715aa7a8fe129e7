/** What a worker's exit code says. */
#pragma once

#include <windows.h>

#include <string>

namespace zorvane {

enum class ExitKind {
    /** The worker took its leave: it was stopped, the stub window went, or no task was left. */
    kOrderly,
    /** The host could not bring the library up; it has said why on standard error. */
    kHostFailure,
    /** The worker died. Vendor libraries crash: for a stub this is normal life, start again. */
    kCrash,
};

/**
 * Sorts an exit code. `greeted` says whether the worker's hello had come: from then on the host has
 * done its part, and every code but 0 is a crash, also a small one, which the C runtime gives after
 * abort().
 */
ExitKind ClassifyExit(DWORD code, bool greeted);

/** The exit code in words and as a number, fit to follow "the worker ": "ended in order (0)". */
std::string DescribeExit(DWORD code, bool greeted);

}  // namespace zorvane
