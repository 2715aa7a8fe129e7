/** What a worker's exit code says. */
#pragma once

#include <windows.h>

#include <string>

namespace zorvane {

enum class ExitKind {
    /** The worker ended with 0 after it had been asked to. */
    kOrderly,
    /**
     * The worker ended with 0 without being asked to: it had no task left, or something else ended
     * the process with this code. Only the worker's log tells which.
     */
    kByItself,
    /** The host could not load the library; it has said why on standard error. */
    kHostFailure,
    /** The worker crashed. Vendor libraries do that: start the worker again. */
    kCrash,
};

/**
 * Classifies an exit code. `greeted`: the worker's hello had come. From then on the host's own
 * codes are ruled out and every code but 0 is a crash, even a small one: the C runtime exits with 3
 * after abort(). `asked`: the worker had been asked to end.
 */
ExitKind ClassifyExit(DWORD code, bool greeted, bool asked);

/** The exit code in words and as a number, fit to follow "the worker ": "ended in order (0)". */
std::string DescribeExit(DWORD code, bool greeted, bool asked);

}  // namespace zorvane
