#include "src/amdsdk/amdsdktask.h"

#include "tests/unit/amdsdk/executefixture.h"

// What needs no reading.

namespace {

class CAmdTaskTest : public CExecuteTest {};

TEST_F(CAmdTaskTest, IsAlwaysSupportedAndAsksNothing) {
    EXPECT_EQ(m_task.IsSupported(), 1);
    EXPECT_EQ(m_platform.calls, Lines{});
    EXPECT_EQ(m_log.Messages(), Lines{});
}

TEST_F(CAmdTaskTest, UninitShutsTheLibraryDownAndThenDeletesTheDriverService) {
    m_task.Uninit();
    ASSERT_EQ(m_platform.calls.size(), 7u);
    EXPECT_EQ(m_platform.calls.front(), "UnInit");
    EXPECT_THAT(m_platform.calls, testing::Contains("DeleteService(service1)"));
    EXPECT_EQ(m_log.Messages(), Lines{"[utility] DeleteService AMDRyzenMasterDriverV15 success."});
}

TEST_F(CAmdTaskTest, UninitShutsTheLibraryDownAlsoWhenTheServiceIsKept) {
    m_executable.commandLine = L"worker.exe skip_delete";
    m_task.Uninit();
    EXPECT_EQ(m_platform.calls, Lines{"UnInit"});
    EXPECT_EQ(m_log.Messages(), Lines{});
}

TEST_F(CAmdTaskTest, UninitMayBeCalledTwice) {
    m_task.Uninit();
    m_services.errors["OpenServiceW"] = {ERROR_SERVICE_DOES_NOT_EXIST};
    m_task.Uninit();
    EXPECT_EQ(std::count(m_platform.calls.begin(), m_platform.calls.end(), "UnInit"), 2);
    EXPECT_EQ(m_log.Messages().back(), "[utility] DeleteDriver OpenService failed. 1060");
}

}  // namespace
