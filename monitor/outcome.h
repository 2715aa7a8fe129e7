/** zorvanemon's exit code. */
#pragma once

namespace zorvane {

enum ExitCode : int {
    kExitDone = 0,
    kExitOutput = 1,
    kExitUsage = 2,
    kExitNotStarted = 3,
    kExitNoReading = 4,
    kExitForced = 5,
    kExitEndedEarly = 6,
};

/** Why a run came to its end. */
enum class EndReason {
    kCount,
    kDuration,
    kInterrupt,
    /** Whoever read standard output has gone. */
    kReaderGone,
    kOutputFailed,
    /** No worker could be started, or the host said that it could not bring the library up. */
    kNotStarted,
    /** The worker ended by itself, or crashed and is not to be started again. */
    kWorkerEnded,
};

struct RunFacts {
    EndReason reason = EndReason::kWorkerEnded;
    /** Whether anything but the hello was received. */
    bool anyReading = false;
    /** Whether the last worker was ended by force. */
    bool forced = false;
};

/** The exit code of a run; where several would fit, the gravest. */
ExitCode OutcomeOf(const RunFacts& facts);

}  // namespace zorvane
