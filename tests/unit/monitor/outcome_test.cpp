#include "monitor/outcome.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

struct Row {
    EndReason reason;
    bool anyReading;
    bool forced;
    ExitCode code;
    bool tooShort = false;
};

class OutcomeTest : public testing::TestWithParam<Row> {};

TEST_P(OutcomeTest, GivesTheGravestCodeThatFits) {
    const Row& row = GetParam();
    EXPECT_EQ(OutcomeOf({row.reason, row.anyReading, row.forced, row.tooShort}), row.code);
}

INSTANTIATE_TEST_SUITE_P(
    EveryReason, OutcomeTest,
    testing::Values(Row{EndReason::kCount, true, false, kExitDone},
                    Row{EndReason::kDuration, true, false, kExitDone},
                    Row{EndReason::kDuration, false, false, kExitNoReading},
                    Row{EndReason::kInterrupt, true, false, kExitDone},
                    Row{EndReason::kInterrupt, false, false, kExitDone},
                    Row{EndReason::kReaderGone, true, false, kExitDone},
                    Row{EndReason::kOutputFailed, true, false, kExitOutput},
                    Row{EndReason::kNotStarted, false, false, kExitNotStarted},
                    Row{EndReason::kNotStarted, true, false, kExitNotStarted},
                    Row{EndReason::kWorkerEnded, false, false, kExitNoReading},
                    Row{EndReason::kWorkerEnded, true, false, kExitWorkerEnded},
                    Row{EndReason::kCount, true, true, kExitForced},
                    Row{EndReason::kDuration, false, true, kExitForced},
                    Row{EndReason::kInterrupt, true, true, kExitForced},
                    Row{EndReason::kOutputFailed, true, true, kExitOutput},
                    Row{EndReason::kDuration, true, false, kExitTooShort, true},
                    Row{EndReason::kDuration, false, false, kExitNoReading, true},
                    Row{EndReason::kInterrupt, true, false, kExitDone, true},
                    Row{EndReason::kReaderGone, true, false, kExitDone, true},
                    Row{EndReason::kRecordingEnded, true, true, kExitDone},
                    Row{EndReason::kRecordingEnded, false, false, kExitNoReading},
                    Row{EndReason::kRecordingEnded, true, false, kExitTooShort, true},
                    Row{EndReason::kRecordingBad, true, false, kExitRecording}));

}  // namespace
}  // namespace zorvane
