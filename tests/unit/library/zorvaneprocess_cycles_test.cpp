#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/library/managerfixture.h"

namespace {

using testing::ElementsAre;

constexpr ULONG_PTR kGpu = 3344;
constexpr ULONG_PTR kCpu = 3345;
constexpr char kLogOff[] = "[E]-------log off";

class ZorvaneProcessCycle : public CManagerTest {
  protected:
    // The first dynamic record is followed by a quit that only the NVML task gets to see.
    void DropNvmlTaskInCycle(int cycle) {
        m_onPoll = [this, cycle, seen = 0]() mutable {
            const auto& messages = m_process->messages;
            const bool afterDynamic = !messages.empty() && messages.back().code == kGpu &&
                                      messages.back().payload[68] == 2;
            seen += afterDynamic ? 1 : 0;
            return afterDynamic && seen == cycle;
        };
    }
};

}  // namespace

TEST_F(ZorvaneProcessCycle, RunsTheTasksInTheOrderOfAddingWithAPauseOfOneSecondBetween) {
    m_cycles = 3;
    EXPECT_EQ(m_manager.Execute(m_process), 1);
    EXPECT_THAT(Codes(), ElementsAre(kGpu, kGpu, kCpu, kGpu, kCpu, kGpu, kCpu));
    EXPECT_EQ(m_process->messages.at(2).payload, std::string("{\"CpuTemp\":47}") + '\0');
    // The manager's poll, the first cycle's polls before the static and after the dynamic record.
    EXPECT_THAT(m_process->waits, ElementsAre(0u, 0u, 0u, 1000u, 0u, 1000u, 0u, 1000u));
}

TEST_F(ZorvaneProcessCycle, EndsInThePauseInWhichTheProcessQuits) {
    EXPECT_EQ(m_manager.Execute(m_process), 1);
    EXPECT_THAT(Codes(), ElementsAre(kGpu, kGpu, kCpu));
    EXPECT_EQ(m_process->waits.back(), 1000u);
}

TEST_F(ZorvaneProcessCycle, DropsATaskThatFailsAndRunsTheOneThatMovesUpInTheSameCycle) {
    m_cycles = 3;
    DropNvmlTaskInCycle(1);
    EXPECT_EQ(m_manager.Execute(m_process), 1);
    EXPECT_THAT(Codes(), ElementsAre(kGpu, kGpu, kCpu, kCpu, kCpu));
    EXPECT_EQ(LogLines("[zorvaneprocess] task erro. size:1"), 1);
    EXPECT_EQ(LogLines("[zorvaneprocess] ZorvaneProcess Uninit. size:1"), 1);
    EXPECT_EQ(m_nvml.calls.back(), "nvmlShutdown()");
}

TEST_F(ZorvaneProcessCycle, DropsATaskAlsoInALaterCycleForGood) {
    m_cycles = 4;
    DropNvmlTaskInCycle(2);
    EXPECT_EQ(m_manager.Execute(m_process), 1);
    EXPECT_THAT(Codes(), ElementsAre(kGpu, kGpu, kCpu, kGpu, kCpu, kCpu, kCpu));
    EXPECT_EQ(LogLines("task erro. size:1"), 1);
}

TEST_F(ZorvaneProcessCycle, ReleasesATaskThatFailsBeforeItsLogLineAndOnlyOnce) {
    m_cycles = 2;
    m_onPause = [this](int) { m_amd.temperature = 0.0; };
    EXPECT_EQ(m_manager.Execute(m_process), 1);
    EXPECT_THAT(Codes(), ElementsAre(kGpu, kGpu, kCpu, kGpu));
    EXPECT_EQ(AmdCalls("UnInit"), 1);
    const std::vector<std::string> messages = m_log.Messages();
    const std::vector<std::string> end(messages.end() - 4, messages.end());
    EXPECT_THAT(end, ElementsAre("[amdsdktask] temp is 0",
                                 "[utility] DeleteService AMDRyzenMasterDriverV15 success.",
                                 "[zorvaneprocess] task erro. size:1",
                                 "[zorvaneprocess] ZorvaneProcess Uninit. size:1"));
}

TEST_F(ZorvaneProcessCycle, EndsWithoutAPauseWhenTheLastTaskFails) {
    m_amd.temperature = 0.0;
    DropNvmlTaskInCycle(1);
    EXPECT_EQ(m_manager.Execute(m_process), 1);
    EXPECT_THAT(m_process->waits, ElementsAre(0u, 0u, 0u));
    EXPECT_EQ(LogLines("task erro. size:1"), 1);
    EXPECT_EQ(LogLines("task erro. size:0"), 1);
    EXPECT_EQ(LogLines("ZorvaneProcess Uninit. size:0"), 1);
}

TEST_F(ZorvaneProcessCycle, HasNoQuitCheckBetweenItsTasks) {
    m_onPoll = [this] { return !m_process->messages.empty(); };
    EXPECT_EQ(m_manager.Execute(m_process), 1);
    EXPECT_THAT(Codes(), ElementsAre(kGpu, kGpu, kCpu));
    EXPECT_THAT(m_process->waits, ElementsAre(0u, 0u, 0u, 1000u));
}

TEST_F(ZorvaneProcessCycle, LogsInFullFiveTimes) {
    m_cycles = 5;
    m_manager.Execute(m_process);
    EXPECT_EQ(LogLines(kLogOff), 0);
    EXPECT_EQ(LogLines("NVML gpu count:1"), 5);
    EXPECT_EQ(LogLines("ZorvaneProcess Uninit. size:2"), 1);
}

TEST_F(ZorvaneProcessCycle, TurnsTheLogOffAfterTheTasksOfTheSixthCycleAndOfEveryLaterOne) {
    m_cycles = 8;
    std::vector<long long> markers;
    m_onPause = [&](int) { markers.push_back(LogLines(kLogOff)); };
    EXPECT_EQ(m_manager.Execute(m_process), 1);
    EXPECT_THAT(markers, ElementsAre(0, 0, 0, 0, 0, 1, 2, 3));
    EXPECT_EQ(LogLines("NVML gpu count:1"), 6);
    EXPECT_EQ(LogLines("ZorvaneProcess Uninit. size:2"), 0);
}

TEST_F(ZorvaneProcessCycle, TurnsTheLogOffAlsoInASixthCycleThatLosesTheLastTask) {
    SwitchAmdTaskOff();
    m_cycles = 9;
    DropNvmlTaskInCycle(6);
    EXPECT_EQ(m_manager.Execute(m_process), 1);
    EXPECT_EQ(LogLines("task erro. size:0"), 1);
    EXPECT_EQ(LogLines(kLogOff), 1);
    EXPECT_EQ(LogLines("ZorvaneProcess Uninit. size:0"), 0);
}
