#include "monitor/outcome.h"

namespace zorvane {

ExitCode OutcomeOf(const RunFacts& facts) {
    if (facts.reason == EndReason::kOutputFailed) {
        return kExitOutput;
    }
    if (facts.reason == EndReason::kNotStarted) {
        return kExitNotStarted;
    }
    if (facts.reason == EndReason::kRecordingBad) {
        return kExitRecording;
    }
    // A worker in a recording that was ended by force says nothing about the replay.
    if (facts.forced && facts.reason != EndReason::kRecordingEnded) {
        return kExitForced;
    }
    if (facts.reason == EndReason::kWorkerEnded) {
        return facts.anyReading ? kExitWorkerEnded : kExitNoReading;
    }
    const bool endedByItself =
        facts.reason == EndReason::kDuration || facts.reason == EndReason::kRecordingEnded;
    if (endedByItself && !facts.anyReading) {
        return kExitNoReading;
    }
    if (endedByItself && facts.tooShort) {
        return kExitTooShort;
    }
    return kExitDone;
}

}  // namespace zorvane
