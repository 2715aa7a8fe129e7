#include "monitor/outcome.h"

namespace zorvane {

ExitCode OutcomeOf(const RunFacts& facts) {
    if (facts.reason == EndReason::kOutputFailed) {
        return kExitOutput;
    }
    if (facts.reason == EndReason::kNotStarted) {
        return kExitNotStarted;
    }
    if (facts.forced) {
        return kExitForced;
    }
    if (facts.reason == EndReason::kWorkerEnded) {
        return facts.anyReading ? kExitEndedEarly : kExitNoReading;
    }
    if (facts.reason == EndReason::kDuration && !facts.anyReading) {
        return kExitNoReading;
    }
    return kExitDone;
}

}  // namespace zorvane
