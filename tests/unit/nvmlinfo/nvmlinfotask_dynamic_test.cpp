#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "src/nvmlinfo/nvmlinfotask.h"
#include "tests/support/fakenvml.h"
#include "tests/support/testlog.h"
#include "tests/unit/nvmlinfo/expectedrecord.h"
#include "tests/unit/nvmlinfo/tracingprocess.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr uint32_t kDynamic = 2;

// A task whose process has sent its static records already.
class NvmlDynamicRecord : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(m_task.Init(), 1);
        ASSERT_EQ(m_task.Execute(m_process), 1);
        Forget();
    }

    void Forget() {
        m_library.calls.clear();
        m_process->messages.clear();
        m_process->waits.clear();
    }

    const CFakeProcess::Message& First() const { return m_process->messages.at(0); }

    CTestLog m_log;
    CFakeNvml m_library;
    CNvmlInfoTask m_task;
    std::shared_ptr<CTracingProcess> m_process = std::make_shared<CTracingProcess>(m_library);
};

}  // namespace

TEST_F(NvmlDynamicRecord, IsSentForEachGpuInOrderWithExactlyItsBytes) {
    EXPECT_EQ(m_task.Execute(m_process), 1);
    ASSERT_EQ(KindsAndIndices(*m_process), "2/0 2/1");
    for (uint32_t index = 0; index < 2; ++index) {
        const auto record =
            CExpectedRecord::Of(kDynamic, index, 2, m_library.gpus[index], "not sent");
        EXPECT_EQ(Difference(m_process->messages[index], record), "same") << "GPU " << index;
    }
}

TEST_F(NvmlDynamicRecord, IsFilledInItsOrderWithALookUpForEachReadingAndAQuitCheckAtTheEnd) {
    m_library.deviceCount = 1;
    CNvmlInfoTask task;
    ASSERT_EQ(task.Init(), 1);
    m_library.calls.clear();
    EXPECT_EQ(task.Execute(m_process), 1);
    const std::string lookUp = "nvmlDeviceGetHandleByIndex_v2(0)";
    EXPECT_THAT(
        m_library.calls,
        ElementsAre(lookUp, "nvmlDeviceGetName(0, 64)", lookUp, "nvmlDeviceGetUtilizationRates(0)",
                    lookUp, "nvmlDeviceGetTemperature(0, 0)", lookUp, "nvmlDeviceGetFanSpeed(0)",
                    lookUp, "nvmlDeviceGetClock(0, 0, 0)", "nvmlDeviceGetClock(0, 1, 0)",
                    "nvmlDeviceGetClock(0, 2, 0)", "nvmlDeviceGetClock(0, 3, 0)", lookUp,
                    "nvmlDeviceGetPciInfo_v3(0)", "SendData", "WaitQuit(0)"));
    EXPECT_THAT(m_library.dirtyBuffers, IsEmpty());
}

TEST_F(NvmlDynamicRecord, KeepsTheDefaultsOfEverythingThatFailsWhateverWasWritten) {
    for (const char* call :
         {"nvmlDeviceGetName", "nvmlDeviceGetUtilizationRates", "nvmlDeviceGetTemperature",
          "nvmlDeviceGetFanSpeed", "nvmlDeviceGetClock", "nvmlDeviceGetPciInfo_v3"}) {
        m_library.results[call] = 999;
    }
    EXPECT_EQ(m_task.Execute(m_process), 1);
    ASSERT_EQ(KindsAndIndices(*m_process), "2/0 2/1");
    EXPECT_EQ(Difference(First(), CExpectedRecord(kDynamic, 0, 2)), "same");
}

TEST_F(NvmlDynamicRecord, HasAnUnknownFanSpeedOnAGpuWithoutAFan) {
    m_library.results["nvmlDeviceGetFanSpeed"] = 3;
    m_task.Execute(m_process);
    EXPECT_EQ(Number(First(), 100), 0xFFFFFFFF);
}

TEST_F(NvmlDynamicRecord, HasAnUnknownFanSpeedWithALibraryThatCannotReadIt) {
    m_library.missing = {"nvmlDeviceGetFanSpeed"};
    CNvmlInfoTask task;
    ASSERT_EQ(task.Init(), 1);
    EXPECT_EQ(task.Execute(m_process), 1);
    EXPECT_EQ(Number(First(), 100), 0xFFFFFFFF);
}

TEST_F(NvmlDynamicRecord, HasTheClocksUpToTheTypeThatFails) {
    m_library.results["nvmlDeviceGetClock(0, 2, 0)"] = 3;
    m_task.Execute(m_process);
    EXPECT_EQ(Number(First(), 376), 1100u);
    EXPECT_EQ(Number(First(), 380), 1200u);
    EXPECT_EQ(Number(First(), 384), 0u);
    EXPECT_EQ(Number(First(), 388), 0u);
}

TEST_F(NvmlDynamicRecord, TakesAnOlderPciInfoInTheSameLayout) {
    m_library.missing = {"nvmlDeviceGetPciInfo_v3", "nvmlDeviceGetPciInfo_v2"};
    std::fill(std::begin(m_library.gpus[0].pci.busId), std::end(m_library.gpus[0].pci.busId), '\0');
    CNvmlInfoTask task;
    ASSERT_EQ(task.Init(), 1);
    EXPECT_EQ(task.Execute(m_process), 1);
    const auto record = CExpectedRecord::Of(kDynamic, 0, 2, m_library.gpus[0], "not sent");
    EXPECT_EQ(Difference(First(), record), "same");
    EXPECT_EQ(Number(First(), 404), 0x40u);
    EXPECT_EQ(Number(First(), 412), 0u);
}

TEST_F(NvmlDynamicRecord, EndsThePassAfterTheGpuAtWhichTheProcessQuits) {
    m_process->QuitAtWait(1);
    EXPECT_EQ(m_task.Execute(m_process), 0);
    EXPECT_EQ(KindsAndIndices(*m_process), "2/0");
    EXPECT_THAT(m_process->waits, ElementsAre(0u));
}

TEST_F(NvmlDynamicRecord, EndsThePassAlsoWhenTheProcessQuitsAtTheLastGpu) {
    m_process->QuitAtWait(2);
    EXPECT_EQ(m_task.Execute(m_process), 0);
    EXPECT_EQ(KindsAndIndices(*m_process), "2/0 2/1");
}

TEST_F(NvmlDynamicRecord, StopsAtQuitAmongFourBillionGpus) {
    m_library.deviceCount = UINT32_MAX;
    CNvmlInfoTask task;
    ASSERT_EQ(task.Init(), 1);
    m_process->QuitAtWait(100);
    EXPECT_EQ(task.Execute(m_process), 0);
    ASSERT_EQ(m_process->messages.size(), 100u);
    const auto record =
        CExpectedRecord::Of(kDynamic, 99, UINT32_MAX, m_library.gpus[1], "not sent");
    EXPECT_EQ(Difference(m_process->messages[99], record), "same");
}

TEST_F(NvmlDynamicRecord, LogsTheGpuCountAtEachExecuteAndNothingElse) {
    const size_t before = m_log.Messages().size();
    m_task.Execute(m_process);
    m_task.Execute(m_process);
    std::vector<std::string> messages = m_log.Messages();
    messages.erase(messages.begin(), messages.begin() + static_cast<ptrdiff_t>(before));
    EXPECT_THAT(messages, ElementsAreArray({"[nvmlinfotask] NVML gpu count:2",
                                            "[nvmlinfotask] NVML gpu count:2"}));
}

TEST_F(NvmlDynamicRecord, IsNotSentByATaskWithoutAGpuWhichFailsAfterItsLogLine) {
    CNvmlInfoTask task;
    EXPECT_EQ(task.Execute(m_process), 0);
    EXPECT_EQ(m_log.Messages().back(), "[nvmlinfotask] NVML gpu count:0");
    EXPECT_THAT(m_library.calls, IsEmpty());
    EXPECT_THAT(m_process->messages, IsEmpty());
}

TEST_F(NvmlDynamicRecord, IsFollowedByTheNextOneWhateverBecomesOfIt) {
    m_process->sendResult = false;
    EXPECT_EQ(m_task.Execute(m_process), 1);
    EXPECT_EQ(KindsAndIndices(*m_process), "2/0 2/1");
}
