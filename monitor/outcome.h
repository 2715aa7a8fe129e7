/** zorvanemon's exit code. */
#pragma once

namespace zorvane {

enum ExitCode : int {
    kExitDone = 0,
    kExitOutput = 1,
    kExitUsage = 2,
    kExitNotStarted = 3,
    /** No reading came; from doctor: none can come. */
    kExitNoReading = 4,
    kExitForced = 5,
    kExitWorkerEnded = 6,
    kExitTooShort = 7,
    kExitRecording = 8,
    kExitListen = 9,
    kExitService = 10,
};

/** Why a run came to its end. */
enum class EndReason {
    kCount,
    kDuration,
    kInterrupt,
    /** The reader of standard output has gone. */
    kReaderGone,
    kOutputFailed,
    /** No worker could be started, or the host could not load the library. */
    kNotStarted,
    /** The worker ended by itself, or crashed and is not to be started again. */
    kWorkerEnded,
    /** All of a recording was shown. */
    kRecordingEnded,
    /** A recording cannot be read, or not to its end. */
    kRecordingBad,
};

struct RunFacts {
    EndReason reason = EndReason::kWorkerEnded;
    /** Whether anything but the hello was received. */
    bool anyReading = false;
    /** Whether the last worker was ended by force. */
    bool forced = false;
    /** Whether fewer rounds have come than were asked for, or the readings had stopped. */
    bool tooShort = false;
};

/** The exit code of a run; if several apply, the gravest. */
ExitCode OutcomeOf(const RunFacts& facts);

}  // namespace zorvane
