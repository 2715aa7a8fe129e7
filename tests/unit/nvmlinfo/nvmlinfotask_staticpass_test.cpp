#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "src/nvmlinfo/nvmlinfotask.h"
#include "tests/support/fakenvml.h"
#include "tests/support/testlog.h"
#include "tests/unit/nvmlinfo/expectedrecord.h"
#include "tests/unit/nvmlinfo/tracingprocess.h"

namespace {

// Each test is a process of its own, in which no static record was sent yet.
class NvmlStaticPass : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(m_task.Init(), 1); }

    // What one Execute sends.
    std::string Send(CNvmlInfoTask& task) {
        m_process->messages.clear();
        m_result = task.Execute(m_process);
        return KindsAndIndices(*m_process);
    }

    CTestLog m_log;
    CFakeNvml m_library;
    CNvmlInfoTask m_task;
    std::shared_ptr<CTracingProcess> m_process = std::make_shared<CTracingProcess>(m_library);
    int m_result = -1;
};

}  // namespace

TEST_F(NvmlStaticPass, ComesOnceBeforeTheDynamicRecords) {
    EXPECT_EQ(Send(m_task), "1/0 1/1 2/0 2/1");
    EXPECT_EQ(m_result, 1);
    EXPECT_EQ(Send(m_task), "2/0 2/1");
    EXPECT_EQ(m_result, 1);
    EXPECT_EQ(Send(m_task), "2/0 2/1");
}

TEST_F(NvmlStaticPass, ComesOnceForAllTasksOfTheProcess) {
    EXPECT_EQ(Send(m_task), "1/0 1/1 2/0 2/1");
    CNvmlInfoTask second;
    ASSERT_EQ(second.Init(), 1);
    EXPECT_EQ(Send(second), "2/0 2/1");
}

TEST_F(NvmlStaticPass, SendsNothingWhenTheProcessQuitsBeforeItAndComesAgain) {
    m_process->QuitAtWait(1);
    EXPECT_EQ(Send(m_task), "");
    EXPECT_EQ(m_result, 0);
    EXPECT_EQ(m_library.calls.back(), "WaitQuit(0)");
    m_process->onWaitQuit = nullptr;
    EXPECT_EQ(Send(m_task), "1/0 1/1 2/0 2/1");
}

TEST_F(NvmlStaticPass, StopsBeforeTheGpuAtWhichTheProcessQuitsAndComesAgainFromTheStart) {
    m_process->QuitAtWait(2);
    EXPECT_EQ(Send(m_task), "1/0");
    EXPECT_EQ(m_result, 0);
    m_process->onWaitQuit = nullptr;
    EXPECT_EQ(Send(m_task), "1/0 1/1 2/0 2/1");
}

TEST_F(NvmlStaticPass, IsCompleteWithItsLastRecordWhateverComesOfTheDynamicOnes) {
    m_process->QuitAtWait(3);
    EXPECT_EQ(Send(m_task), "1/0 1/1 2/0");
    EXPECT_EQ(m_result, 0);
    m_process->onWaitQuit = nullptr;
    EXPECT_EQ(Send(m_task), "2/0 2/1");
}

TEST_F(NvmlStaticPass, ReadsTheDriverVersionOnceForAllGpus) {
    Send(m_task);
    Send(m_task);
    EXPECT_EQ(std::count(m_library.calls.begin(), m_library.calls.end(),
                         "nvmlSystemGetDriverVersion(100)"),
              1);
}

TEST_F(NvmlStaticPass, IsStillToComeAfterATaskWithoutAGpu) {
    CNvmlInfoTask idle;
    EXPECT_EQ(Send(idle), "");
    EXPECT_EQ(m_result, 0);
    EXPECT_EQ(Send(m_task), "1/0 1/1 2/0 2/1");
}

TEST_F(NvmlStaticPass, IsCompleteAlsoWhenNoReadingSucceeds) {
    m_library.results["nvmlDeviceGetHandleByIndex_v2"] = 15;
    EXPECT_EQ(Send(m_task), "1/0 1/1 2/0 2/1");
    EXPECT_EQ(Send(m_task), "2/0 2/1");
}

TEST_F(NvmlStaticPass, StopsAtQuitAmongFourBillionGpus) {
    m_library.deviceCount = UINT32_MAX;
    CNvmlInfoTask task;
    ASSERT_EQ(task.Init(), 1);
    m_process->QuitAtWait(11);
    EXPECT_EQ(Send(task), "1/0 1/1 1/2 1/3 1/4 1/5 1/6 1/7 1/8 1/9");
    EXPECT_EQ(m_result, 0);
    EXPECT_EQ(Number(m_process->messages.front(), 76), UINT32_MAX);
}
