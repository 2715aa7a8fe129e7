#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "tests/unit/library/managerfixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ZorvaneProcessEnd : public CManagerTest {};

}  // namespace

TEST_F(ZorvaneProcessEnd, IsAtOnceForANullProcess) {
    EXPECT_EQ(m_manager.Execute(nullptr), 0);
    EXPECT_THAT(m_log.Messages(), IsEmpty());
    EXPECT_THAT(m_nvml.windowsCalls, IsEmpty());
}

TEST_F(ZorvaneProcessEnd, IsAfterInitWithoutACycleOrAReleaseWhenTheProcessQuitsAlready) {
    m_onPoll = [] { return true; };
    EXPECT_EQ(m_manager.Execute(m_process), 0);
    EXPECT_THAT(m_process->waits, ElementsAre(0u));
    EXPECT_THAT(m_process->messages, IsEmpty());
    EXPECT_EQ(m_log.Messages().back(), "[zorvaneprocess] add AmdSdkTask");
    EXPECT_EQ(AmdCalls("UnInit"), 0);
    EXPECT_EQ(m_nvml.calls.back(), "nvmlDeviceGetCount_v2()");
}

TEST_F(ZorvaneProcessEnd, IsAfterOneEmptyCycleAndNoPauseWithoutAnyTask) {
    m_nvml.fileExists = false;
    SwitchAmdTaskOff();
    EXPECT_EQ(m_manager.Execute(m_process), 1);
    EXPECT_THAT(m_process->waits, ElementsAre(0u));
    EXPECT_THAT(m_log.Messages(), ElementsAre("[zorvaneprocess] CZorvaneProcess::Init",
                                              "[nvmlinfotask] CNvmlInfoTask::Init file not exist. "
                                              "P:\\Programs\\NVIDIA Corporation\\NVSMI\\Nvml.dll",
                                              "[zorvaneprocess] add NvmlInfoTask failed",
                                              "[zorvaneprocess] sdk_flag is off...",
                                              "[zorvaneprocess] ZorvaneProcess Uninit. size:0"));
}

TEST_F(ZorvaneProcessEnd, ReleasesEveryTaskOnceAfterTheLogLineAndDestroysThem) {
    EXPECT_EQ(m_manager.Execute(m_process), 1);
    EXPECT_EQ(AmdCalls("UnInit"), 1);
    EXPECT_EQ(m_nvml.calls.back(), "nvmlShutdown()");
    const std::vector<std::string> messages = m_log.Messages();
    const std::vector<std::string> end(messages.end() - 2, messages.end());
    EXPECT_THAT(end, ElementsAre("[zorvaneprocess] ZorvaneProcess Uninit. size:2",
                                 "[utility] DeleteService AMDRyzenMasterDriverV15 success."));
}

TEST_F(ZorvaneProcessEnd, ReleasesEveryTaskAlsoWhenMemoryRunsOutInACycle) {
    m_onPause = [](int) { throw std::bad_alloc(); };
    EXPECT_THROW(m_manager.Execute(m_process), std::bad_alloc);
    EXPECT_EQ(AmdCalls("UnInit"), 1);
    EXPECT_EQ(m_nvml.calls.back(), "nvmlShutdown()");
    EXPECT_EQ(m_log.Messages().back(), "[utility] DeleteService AMDRyzenMasterDriverV15 success.");
}

TEST_F(ZorvaneProcessEnd, LetsGoOfTheProcess) {
    m_manager.Execute(m_process);
    EXPECT_EQ(m_process.use_count(), 1);
}

TEST_F(ZorvaneProcessEnd, MayComeTwice) {
    m_manager.Init();
    m_manager.Uninit();
    const auto releases = AmdCalls("UnInit");
    m_manager.Uninit();
    EXPECT_EQ(m_log.Messages().back(), "[zorvaneprocess] ZorvaneProcess Uninit. size:0");
    EXPECT_EQ(AmdCalls("UnInit"), releases);
    EXPECT_EQ(releases, 1);
}

TEST_F(ZorvaneProcessEnd, LeavesNothingThatIsSupported) {
    m_manager.Init();
    EXPECT_EQ(m_manager.IsSupported(), 1);
    m_manager.Uninit();
    EXPECT_EQ(m_manager.IsSupported(), 0);
}
