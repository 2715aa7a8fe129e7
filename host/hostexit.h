/** Exit codes of the hosts. */
#pragma once

/** docs/protocol.md lists them. 6 and 7 are taken by the host of the simulated machine. */
enum class HostExit : int {
    kOrderlyEnd = 0,
    kLibraryMissing = 2,
    /** A library that the worker library needs is missing or broken. */
    kDependencyMissing = 3,
    kExportMissing = 4,
    /** The file is there but Windows refuses it. */
    kLibraryUnusable = 5,
    /** A word of the command line that is meant for the host has a wrong value. */
    kBadWord = 8,
    /** The stub had gone, and the worker did not end within the grace period. */
    kEndedByForce = 9
};
