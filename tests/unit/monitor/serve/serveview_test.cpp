#include "monitor/serve/serveview.h"

#include <gtest/gtest.h>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

TEST(ServedTrouble, IsWhyThereAreNoReadings) {
    CMachineModel model;
    EXPECT_EQ(TroubleOf(model), "No worker runs.");
    model.Apply(EventAt(0, WorkerStartEvent{1}));
    EXPECT_EQ(TroubleOf(model), "The worker has not reported a reading yet.");
    model.Apply(EventAt(1, FullReading()));
    EXPECT_EQ(TroubleOf(model), "");
    model.Apply(EventAt(2, StaleEvent{TimeOfTest(1)}));
    EXPECT_EQ(TroubleOf(model),
              "No reading has been received since " + Rfc3339(TimeOfTest(1)) + ".");
    model.Apply(EventAt(3, CpuTemperature{50}));
    EXPECT_EQ(TroubleOf(model), "");
}

TEST(ServedTrouble, TellsAPauseFromTheEndOfTheWorker) {
    CMachineModel model;
    model.Apply(EventAt(0, WorkerStartEvent{1}));
    model.Apply(EventAt(1, ExitEvent()));
    model.Apply(EventAt(1, PausedEvent()));
    EXPECT_EQ(TroubleOf(model), "No worker runs while the computer runs on battery.");
    model.Apply(EventAt(2, ResumedEvent()));
    EXPECT_EQ(TroubleOf(model), "No worker runs.");
}

}  // namespace
}  // namespace zorvane
