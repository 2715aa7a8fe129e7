#include "monitor/run/run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "tests/support/importpatch.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Gives the events of a list and then ends.
class CListSource : public ISource {
  public:
    CListSource(std::vector<Event> events, EndReason reason)
        : m_events(std::move(events)), m_reason(reason) {}

    void Start(IEventSink& sink, Moment) override { m_sink = &sink; }

    void OnTime(Moment) override {
        while (m_next < m_events.size() && !m_end) {
            m_sink->OnEvent(m_events[m_next++]);
        }
        if (!m_runsOn) {
            m_end = m_reason;
        }
    }

    std::optional<std::chrono::milliseconds> DueTick() const override {
        return std::chrono::milliseconds(0);
    }

    void Stop() override {
        if (--m_stopsNeeded <= 0) {
            m_end = m_reason;
        }
    }
    std::optional<EndReason> End() const override { return m_end; }

    void RunOn() { m_runsOn = true; }
    void EndAfterStops(int count) { m_stopsNeeded = count; }

  private:
    std::vector<Event> m_events;
    const EndReason m_reason;
    IEventSink* m_sink = nullptr;
    size_t m_next = 0;
    bool m_runsOn = false;
    int m_stopsNeeded = 1;
    std::optional<EndReason> m_end;
};

// Keeps what it is told, as short words.
class CRecordingView : public IView {
  public:
    void OnEvent(const Event& event, const CMachineModel&) override {
        told.push_back("event " + std::to_string(event.body.index()));
        failure = failsWith;
    }
    void OnRound(const CMachineModel& model) override {
        std::string round = "round";
        for (const auto& [source, row] : model.Gpus()) {
            round += row.latest ? " " + std::to_string(row.index) : "";
        }
        rounds.push_back(round + (model.Cpu() ? " cpu" : ""));
    }
    void OnEnd(const CMachineModel&) override { ++ends; }
    std::optional<ViewFailure> Failure() const override { return failure; }

    std::vector<std::string> told;
    std::vector<std::string> rounds;
    int ends = 0;
    std::optional<ViewFailure> failsWith;
    std::optional<ViewFailure> failure;
};

class RunTest : public testing::Test, protected INotes {
  protected:
    ExitCode Run(std::vector<EventBody> bodies, const RunLimits& limits = {},
                 EndReason reason = EndReason::kRecordingEnded) {
        std::vector<Event> events;
        for (EventBody& body : bodies) {
            events.push_back(EventAt(static_cast<int>(events.size()), std::move(body)));
        }
        CListSource source(std::move(events), reason);
        if (limits.duration) {
            source.RunOn();
        }
        CInterrupts interrupts;
        return CRun(source, {&m_view}, *this, limits, interrupts).Execute();
    }

    void ShowNote(const std::string& text) override { m_notes.push_back(text); }

    static GpuReading Gpu(uint32_t index) { return Reading(index, ""); }

    CRecordingView m_view;
    std::vector<std::string> m_notes;
};

TEST_F(RunTest, ShowsARoundWhenOneOfItsSourcesRepeatsItself) {
    EXPECT_EQ(Run({Gpu(0), Gpu(1), CpuTemperature{40}, Gpu(0), CpuTemperature{40}, Gpu(0)}),
              kExitDone);
    EXPECT_THAT(m_view.rounds, ElementsAre("round 0 1 cpu", "round 0 cpu", "round 0"));
    EXPECT_EQ(m_view.ends, 1);
}

TEST_F(RunTest, CountsACpuTemperatureThatCouldNotBeRead) {
    EXPECT_EQ(Run({CpuTemperature{40}, CpuUnreadEvent(), CpuUnreadEvent(), CpuTemperature{41}},
                  {.count = 3, .duration = {}}),
              kExitDone);
    EXPECT_THAT(m_view.rounds, ElementsAre("round cpu", "round", "round"));
}

TEST_F(RunTest, ShowsNoReadingOfTheRoundBeforeInAnUnfinishedOne) {
    Run({WorkerStartEvent{1}, Gpu(0), Gpu(1), Gpu(0), ExitEvent{}});
    EXPECT_THAT(m_view.rounds, ElementsAre("round 0 1", "round 0"));
    m_view.rounds.clear();
    Run({WorkerStartEvent{1}, Gpu(0), Gpu(1), Gpu(1), StaleEvent{}});
    EXPECT_THAT(m_view.rounds, ElementsAre("round 0 1", "round 1"));
}

TEST_F(RunTest, EndsWithItsLastRoundAndTellsNothingOfTheNext) {
    EXPECT_EQ(Run({Gpu(0), Gpu(0), Gpu(0), Gpu(0)}, {.count = 2, .duration = {}}), kExitDone);
    EXPECT_THAT(m_view.rounds, ElementsAre("round 0", "round 0"));
    EXPECT_EQ(m_view.told.size(), 2u);
}

TEST_F(RunTest, SaysThatItEndedBeforeAllRoundsHadCome) {
    EXPECT_EQ(Run({Gpu(0), Gpu(0)}, {.count = 5, .duration = std::chrono::milliseconds(300)}),
              kExitTooShort);
    EXPECT_EQ(Run({Gpu(0), Gpu(0)}, {.count = 5, .duration = {}}), kExitTooShort);
    EXPECT_EQ(Run({Gpu(0), Gpu(0)}, {.count = {}, .duration = std::chrono::milliseconds(300)}),
              kExitDone);
}

TEST_F(RunTest, SaysThatNoReadingsCameAtTheEndOfItsTime) {
    const RunLimits limits{.count = {}, .duration = std::chrono::milliseconds(300)};
    ExitEvent crash;
    crash.exit.kind = ExitKind::kCrash;
    crash.restartIn = std::chrono::seconds(1);
    EXPECT_EQ(Run({Gpu(0), crash}, limits), kExitTooShort);
    EXPECT_EQ(Run({Gpu(0), StaleEvent{}}, limits), kExitTooShort);
    EXPECT_EQ(Run({crash}, limits), kExitNoReading);
    EXPECT_THAT(m_notes, testing::Contains("no reading was received in the time given"));
    EXPECT_EQ(Run({Gpu(0), crash, Gpu(0)}, limits), kExitDone);
}

TEST_F(RunTest, PutsIntoWordsWhatNeedsThem) {
    Run({CpuTemperature{40}, NoticeEvent{"id", "something"},
         ErrorEvent{{PayloadFault::kWrongSize, "too short"}, 2}});
    EXPECT_THAT(m_notes,
                ElementsAre("something", "payload: too short (and 2 more of this kind before)"));
}

TEST_F(RunTest, EndsWhenAViewCanShowNothingMore) {
    m_view.failsWith = ViewFailure{{"WriteFile", ERROR_DISK_FULL}, false};
    EXPECT_EQ(Run({Gpu(0), Gpu(0), Gpu(0)}), kExitOutput);
    ASSERT_EQ(m_notes.size(), 1u);
    EXPECT_THAT(m_notes[0], HasSubstr("WriteFile: "));
}

TEST_F(RunTest, EndsInPeaceWhenNobodyReadsAnyMore) {
    m_view.failsWith = ViewFailure{{"WriteFile", ERROR_BROKEN_PIPE}, true};
    EXPECT_EQ(Run({Gpu(0), Gpu(0), Gpu(0)}), kExitDone);
    EXPECT_TRUE(m_notes.empty());
}

// The worker's end takes seconds: whoever pressed Ctrl+C must not wonder what happens.
TEST_F(RunTest, SaysAtOnceWhatItWaitsForAfterCtrlC) {
    PHANDLER_ROUTINE handler = nullptr;
    PATCH_IMPORT(console, SetConsoleCtrlHandler,
                 [&handler](PHANDLER_ROUTINE routine, WINBOOL) -> WINBOOL {
                     handler = routine;
                     return TRUE;
                 });
    CInterrupts interrupts;
    ASSERT_FALSE(interrupts.Install());
    interrupts.Take();
    CListSource source({EventAt(0, Gpu(0))}, EndReason::kWorkerEnded);
    source.RunOn();
    source.EndAfterStops(2);
    ASSERT_NE(handler, nullptr);
    handler(CTRL_C_EVENT);
    handler(CTRL_C_EVENT);
    EXPECT_EQ(CRun(source, {&m_view}, *this, {}, interrupts).Execute(), kExitDone);
    EXPECT_THAT(m_notes, ElementsAre(HasSubstr("waiting for the worker to end in order")));
}

TEST_F(RunTest, KeepsTheReasonOfASourceThatCouldNotStart) {
    EXPECT_EQ(Run({}, {}, EndReason::kNotStarted), kExitNotStarted);
}

}  // namespace
}  // namespace zorvane
