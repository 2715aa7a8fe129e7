#include <windows.h>

#include <shlwapi.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/importpatch.h"
#include "tests/unit/library/managerfixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ZorvaneProcessInit : public CManagerTest {
  protected:
    std::string Settings() const { return ReadFileBytes(m_settingsPath); }

    // The manager's own lines.
    std::vector<std::string> Messages() const {
        std::vector<std::string> messages;
        const std::string source = "[zorvaneprocess] ";
        for (const std::string& message : m_log.Messages()) {
            if (message.starts_with(source)) {
                messages.push_back(message.substr(source.size()));
            }
        }
        return messages;
    }
};

}  // namespace

TEST_F(ZorvaneProcessInit, AddsTheNvmlTaskThenTheAmdTaskWhereBothWork) {
    EXPECT_EQ(m_manager.Init(), 1);
    EXPECT_THAT(Messages(),
                ElementsAre("CZorvaneProcess::Init", "add NvmlInfoTask", "add AmdSdkTask"));
    EXPECT_EQ(Settings(), "");
    EXPECT_EQ(AmdCalls("UnInit"), 0);
}

TEST_F(ZorvaneProcessInit, LogsEachTaskAfterWhatTheTaskItselfHasLogged) {
    m_manager.Init();
    EXPECT_THAT(
        m_log.Messages(),
        ElementsAre("[zorvaneprocess] CZorvaneProcess::Init",
                    "[dynamicnvml] nvmlDeviceGetCount = 1", "[zorvaneprocess] add NvmlInfoTask",
                    "[amdsdktask] pkgType:2, CPUID:8851216", "[amdsdktask] product_name:Board",
                    "[amdsdktask] cpu name:AMD Ryzen 7 3700X 8-Core Processor",
                    "[zorvaneprocess] add AmdSdkTask"));
}

TEST_F(ZorvaneProcessInit, GoesOnWithTheAmdTaskWhenTheNvmlTaskFails) {
    m_nvml.fileExists = false;
    EXPECT_EQ(m_manager.Init(), 1);
    EXPECT_THAT(Messages(),
                ElementsAre("CZorvaneProcess::Init", "add NvmlInfoTask failed", "add AmdSdkTask"));
}

TEST_F(ZorvaneProcessInit, DestroysANvmlTaskThatFailedAndLeavesNvmlStarted) {
    m_nvml.deviceCount = 0;
    m_manager.Init();
    m_manager.Uninit();
    EXPECT_THAT(m_nvml.calls, ElementsAre("nvmlInit_v2()", "nvmlDeviceGetCount_v2()"));
}

TEST_F(ZorvaneProcessInit, ReleasesAnAmdTaskThatFailsLogsItThenSwitchesItOff) {
    m_amd.isAdmin = false;
    std::vector<std::string> messagesAtWrite;
    PATCH_IMPORT(patch, WritePrivateProfileStringW, [&](auto... arguments) {
        messagesAtWrite = m_log.Messages();
        return patch.Original(arguments...);
    });
    EXPECT_EQ(m_manager.Init(), 1);
    EXPECT_THAT(
        messagesAtWrite,
        ElementsAre("[zorvaneprocess] CZorvaneProcess::Init",
                    "[dynamicnvml] nvmlDeviceGetCount = 1", "[zorvaneprocess] add NvmlInfoTask",
                    "[amdsdktask] User is not admin...",
                    "[utility] DeleteService AMDRyzenMasterDriverV15 success.",
                    "[zorvaneprocess] add AmdSdkTask failed"));
    EXPECT_EQ(m_log.Messages().size(), messagesAtWrite.size());
    EXPECT_EQ(AmdCalls("GetPlatform"), 1);
    EXPECT_EQ(AmdCalls("UnInit"), 1);
    EXPECT_EQ(Settings(), "[cpu_kernel]\r\nsdk_flag=0\r\n");
}

TEST_F(ZorvaneProcessInit, DoesNotTryTheAmdTaskAgainAfterItFailed) {
    m_amd.isAdmin = false;
    m_manager.Init();
    m_amd.isAdmin = true;
    CZorvaneProcess next;
    next.Init();
    EXPECT_EQ(Messages().back(), "sdk_flag is off...");
}

TEST_F(ZorvaneProcessInit, LeavesTheAmdTaskAndItsLibraryAloneWhenItIsSwitchedOff) {
    SwitchAmdTaskOff();
    EXPECT_EQ(m_manager.Init(), 1);
    EXPECT_THAT(Messages(),
                ElementsAre("CZorvaneProcess::Init", "add NvmlInfoTask", "sdk_flag is off..."));
    EXPECT_THAT(m_amd.calls, IsEmpty());
    EXPECT_EQ(Settings(), "[cpu_kernel]\r\nsdk_flag=0\r\n");
}

TEST_F(ZorvaneProcessInit, TriesTheAmdTaskWithAnyOtherNumber) {
    WriteFileBytes(m_settingsPath, "[cpu_kernel]\r\nsdk_flag=2\r\n");
    m_manager.Init();
    EXPECT_EQ(Messages().back(), "add AmdSdkTask");
    EXPECT_EQ(Settings(), "[cpu_kernel]\r\nsdk_flag=2\r\n");
}

TEST_F(ZorvaneProcessInit, SucceedsWithoutAnyTask) {
    m_nvml.fileExists = false;
    SwitchAmdTaskOff();
    EXPECT_EQ(m_manager.Init(), 1);
    EXPECT_THAT(Messages(), ElementsAre("CZorvaneProcess::Init", "add NvmlInfoTask failed",
                                        "sdk_flag is off..."));
}

TEST_F(ZorvaneProcessInit, IsNotNeededToKnowThatAnEmptyListIsNotSupported) {
    EXPECT_EQ(m_manager.IsSupported(), 0);
}

TEST_F(ZorvaneProcessInit, MakesTasksWhoseAnswersAreOredTogetherWithEveryTaskAsked) {
    m_manager.Init();
    PATCH_IMPORT(patch, PathFileExistsW, [](const wchar_t*) -> BOOL { return 4; });
    EXPECT_EQ(m_manager.IsSupported(), 5);
}

TEST_F(ZorvaneProcessInit, MakesTasksOfWhichOneIsEnoughToBeSupported) {
    m_manager.Init();
    m_nvml.fileExists = false;
    EXPECT_EQ(m_manager.IsSupported(), 1);
}

TEST_F(ZorvaneProcessInit, MakesANvmlTaskThatAnswersAlone) {
    SwitchAmdTaskOff();
    m_manager.Init();
    EXPECT_EQ(m_manager.IsSupported(), 1);
    m_nvml.fileExists = false;
    EXPECT_EQ(m_manager.IsSupported(), 0);
}
