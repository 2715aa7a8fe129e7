/** What a worker's exit code says. */
#pragma once

#include <windows.h>

#include <string>

namespace zorvane {

enum class ExitKind {
    /** The worker ended with 0 after it had been asked to. */
    kOrderly,
    /**
     * It ended with 0 without having been asked: no task was left, or somebody ended it from
     * outside with this code. The exit code does not tell the two apart, the worker's log does.
     */
    kByItself,
    /** The host could not bring the library up; it has said why on standard error. */
    kHostFailure,
    /** The worker died. Vendor libraries crash: for a stub this is normal life, start again. */
    kCrash,
};

/**
 * Sorts an exit code. `greeted` says whether the worker's hello had come: from then on the host has
 * done its part, and every code but 0 is a crash, also a small one, which the C runtime gives after
 * abort(). `asked` says whether the worker had been asked to end.
 */
ExitKind ClassifyExit(DWORD code, bool greeted, bool asked);

/** The exit code in words and as a number, fit to follow "the worker ": "ended in order (0)". */
std::string DescribeExit(DWORD code, bool greeted, bool asked);

}  // namespace zorvane
