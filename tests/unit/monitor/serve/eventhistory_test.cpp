#include "monitor/serve/eventhistory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/monitor/readings.h"

using testing::ElementsAre;

namespace zorvane {
namespace {

class EventHistoryTest : public testing::Test {
  protected:
    // The line is a name for the test in place of JSON.
    void Add(int second, EventBody body, const std::string& line) {
        m_history.Add(EventAt(second, std::move(body)), line);
    }

    void AddReading(int second) {
        Add(second, Reading(0, "bus"), "reading " + std::to_string(second));
    }

    std::vector<std::string> Lines(std::optional<int> seconds = std::nullopt) const {
        std::vector<std::string> lines;
        for (const SharedText& line :
             m_history.Lines(seconds ? std::optional(std::chrono::milliseconds(*seconds * 1000))
                                     : std::nullopt)) {
            lines.push_back(*line);
        }
        return lines;
    }

    CEventHistory m_history{{std::chrono::seconds(10), 1000}};
};

TEST_F(EventHistoryTest, KeepsWhatIsYoungEnough) {
    for (int second = 0; second <= 12; ++second) {
        AddReading(second);
    }
    const std::vector<std::string> lines = Lines();
    EXPECT_EQ(lines.size(), 11u);
    EXPECT_EQ(lines.front(), "reading 2");
    EXPECT_THAT(Lines(1), ElementsAre("reading 11", "reading 12"));
}

TEST_F(EventHistoryTest, KeepsNoMoreThanItsBytes) {
    for (int i = 0; i < 100; ++i) {
        Add(0, Reading(0, "bus"), std::string(100, 'x'));
    }
    EXPECT_EQ(Lines().size(), 10u);
    EXPECT_EQ(m_history.Bytes(), 1000u);
}

TEST_F(EventHistoryTest, KeepsAPauseWhileItLasts) {
    Add(0, PausedEvent(), "paused");
    AddReading(100);
    EXPECT_THAT(Lines(), ElementsAre("paused", "reading 100"));
    Add(101, ResumedEvent(), "resumed");
    AddReading(200);
    EXPECT_THAT(Lines(), ElementsAre("reading 200"));
}

TEST_F(EventHistoryTest, KeepsTheFactsThatStillHold) {
    Add(0, StartEvent(), "start");
    Add(0, WorkerStartEvent(), "worker");
    Add(0, HelloEvent(), "hello");
    Add(0, FullStatic(), "static");
    Add(0, MissingEvent{"cpu", "id", "", "", ""}, "missing");
    Add(1, StaleEvent(), "stale");
    Add(2, FreshEvent(), "fresh");
    AddReading(20);
    EXPECT_THAT(Lines(),
                ElementsAre("start", "worker", "hello", "static", "missing", "reading 20"));
}

TEST_F(EventHistoryTest, ForgetsTheFactsOfAWorkerThatHasGone) {
    Add(0, StartEvent(), "start");
    Add(0, WorkerStartEvent(), "worker 1");
    Add(0, FullStatic(), "static 1");
    Add(1, ExitEvent(), "exit 1");
    Add(2, WorkerStartEvent(), "worker 2");
    AddReading(20);
    EXPECT_THAT(Lines(), ElementsAre("start", "worker 2", "reading 20"));
}

TEST_F(EventHistoryTest, KeepsThatAWorkerHasEnded) {
    Add(0, WorkerStartEvent(), "worker");
    Add(0, HelloEvent(), "hello");
    Add(1, StaleEvent(), "stale");
    Add(2, ExitEvent(), "exit");
    AddReading(20);
    EXPECT_THAT(Lines(), ElementsAre("worker", "exit", "reading 20"));
}

TEST_F(EventHistoryTest, PutsTheFactsBeforeAShorterTimeToo) {
    Add(0, StartEvent(), "start");
    Add(0, FullStatic(), "static");
    AddReading(5);
    EXPECT_THAT(Lines(1), ElementsAre("start", "static", "reading 5"));
}

TEST_F(EventHistoryTest, GivesWhatAReaderHasMissed) {
    for (int second = 0; second <= 3; ++second) {
        AddReading(second);
    }
    const auto missed = m_history.After(2);
    ASSERT_TRUE(missed);
    ASSERT_EQ(missed->size(), 2u);
    EXPECT_EQ(missed->front().number, 3u);
    EXPECT_EQ(*missed->back().line, "reading 3");
    EXPECT_TRUE(m_history.After(4)->empty());
    EXPECT_EQ(m_history.After(0)->size(), 4u);
}

TEST_F(EventHistoryTest, SaysWhenItNoLongerHasWhatAReaderMissed) {
    for (int second = 0; second <= 20; ++second) {
        AddReading(second);
    }
    EXPECT_FALSE(m_history.After(5));
    EXPECT_FALSE(m_history.After(22));
    EXPECT_TRUE(m_history.After(10));
}

TEST_F(EventHistoryTest, KeepsAWarningOfEachSourceUntilItIsBackBelow) {
    const GpuId first{0, "00000000:01:00.0"};
    const GpuId second{1, "00000000:02:00.0"};
    Add(0, WarningEvent{"cpu.temp", std::nullopt, 96, 95, true}, "cpu over");
    Add(0, WarningEvent{"gpu.temp", first, 90, 85, true}, "first over");
    Add(0, WarningEvent{"gpu.temp", second, 90, 85, true}, "second over");
    AddReading(100);
    EXPECT_THAT(Lines(), ElementsAre("cpu over", "first over", "second over", "reading 100"));
    Add(101, WarningEvent{"gpu.temp", first, 80, 85, false}, "first back");
    Add(101, WarningEvent{"cpu.temp", std::nullopt, 80, 95, false}, "cpu back");
    AddReading(200);
    EXPECT_THAT(Lines(), ElementsAre("second over", "reading 200"));
}

TEST_F(EventHistoryTest, HasNothingBeforeTheFirstEvent) {
    EXPECT_THAT(Lines(), testing::IsEmpty());
    EXPECT_THAT(Lines(5), testing::IsEmpty());
}

}  // namespace
}  // namespace zorvane
