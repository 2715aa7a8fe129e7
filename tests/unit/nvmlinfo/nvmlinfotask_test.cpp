#include "src/nvmlinfo/nvmlinfotask.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/fakenvml.h"
#include "tests/support/testlog.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr wchar_t kExpand[] =
    L"ExpandEnvironmentStringsW(%ProgramW6432%\\NVIDIA Corporation\\NVSMI\\Nvml.dll, 260)";
constexpr wchar_t kExists[] = L"PathFileExistsW(P:\\Programs\\NVIDIA Corporation\\NVSMI\\Nvml.dll)";
constexpr wchar_t kLoad[] = L"LoadLibraryW(P:\\Programs\\NVIDIA Corporation\\NVSMI\\Nvml.dll)";

class NvmlInfoTask : public testing::Test {
  protected:
    auto Shutdowns() const {
        return std::count(m_library.calls.begin(), m_library.calls.end(), "nvmlShutdown()");
    }

    CTestLog m_log;
    CFakeNvml m_library;
};

}  // namespace

TEST_F(NvmlInfoTask, InitExpandsThePathLooksForTheFileThenLoadsIt) {
    CNvmlInfoTask task;
    EXPECT_EQ(task.Init(), 1);
    EXPECT_THAT(m_library.windowsCalls, ElementsAre(kExpand, kExists, kLoad));
    EXPECT_THAT(m_library.dirtyBuffers, IsEmpty());
    EXPECT_THAT(m_log.Messages(), ElementsAre("[dynamicnvml] nvmlDeviceGetCount = 2"));
}

TEST_F(NvmlInfoTask, InitFailsAndLogsThePathOfAMissingFileAndLoadsNothing) {
    m_library.fileExists = false;
    m_library.programFiles = L"P:\\100%s %n";
    CNvmlInfoTask task;
    EXPECT_EQ(task.Init(), 0);
    EXPECT_EQ(m_library.windowsCalls.size(), 2u);
    EXPECT_THAT(m_log.Messages(), ElementsAre("[nvmlinfotask] CNvmlInfoTask::Init file not exist. "
                                              "P:\\100%s %n\\NVIDIA Corporation\\NVSMI\\Nvml.dll"));
}

TEST_F(NvmlInfoTask, InitFailsWhereTheLibraryCannotBeUsed) {
    m_library.results = {{"nvmlInit_v2", 9}};
    CNvmlInfoTask task;
    EXPECT_EQ(task.Init(), 0);
    EXPECT_THAT(m_log.Messages(), ElementsAre("[dynamicnvml] nvmlInit failed, ret = 9"));
}

TEST_F(NvmlInfoTask, InitFailsWithoutAGpu) {
    m_library.deviceCount = 0;
    CNvmlInfoTask task;
    EXPECT_EQ(task.Init(), 0);
}

TEST_F(NvmlInfoTask, TakesAPathThatDoesNotFitForAFileThatIsMissing) {
    // 259 characters and a NUL just fit.
    const std::wstring below = L"\\NVIDIA Corporation\\NVSMI\\Nvml.dll";
    m_library.programFiles = std::wstring(259 - below.size(), L'p');
    EXPECT_EQ(CNvmlInfoTask().Init(), 1);
    m_library.programFiles += L"p";
    EXPECT_EQ(CNvmlInfoTask().Init(), 0);
    EXPECT_EQ(m_log.Messages().back(), "[nvmlinfotask] CNvmlInfoTask::Init file not exist. ");
    EXPECT_EQ(CNvmlInfoTask().IsSupported(), 0);
}

TEST_F(NvmlInfoTask, IsSupportedWhereTheFileIsAndLoadsNothing) {
    CNvmlInfoTask task;
    EXPECT_NE(task.IsSupported(), 0);
    EXPECT_THAT(m_library.windowsCalls, ElementsAre(kExpand, kExists));
    EXPECT_THAT(m_library.dirtyBuffers, IsEmpty());
    EXPECT_THAT(m_library.calls, IsEmpty());
    EXPECT_THAT(m_log.Messages(), IsEmpty());
}

TEST_F(NvmlInfoTask, IsNotSupportedWhereTheFileIsMissing) {
    m_library.fileExists = false;
    EXPECT_EQ(CNvmlInfoTask().IsSupported(), 0);
    EXPECT_THAT(m_log.Messages(), IsEmpty());
}

TEST_F(NvmlInfoTask, ShutsNvmlDownWhenItIsDestroyedNotAtUninitAndUnloadsNothing) {
    m_library.deviceCount = 1;
    {
        CNvmlInfoTask task;
        task.Init();
        task.Uninit();
        EXPECT_EQ(Shutdowns(), 0);
    }
    EXPECT_EQ(Shutdowns(), 1);
    EXPECT_EQ(m_library.calls.back(), "nvmlShutdown()");
    EXPECT_THAT(m_library.windowsCalls, ElementsAre(kExpand, kExists, kLoad));
}

TEST_F(NvmlInfoTask, DoesNotShutNvmlDownThatStartedWithoutAGpu) {
    m_library.deviceCount = 0;
    { CNvmlInfoTask().Init(); }
    EXPECT_THAT(m_library.calls, ElementsAre("nvmlInit_v2()", "nvmlDeviceGetCount_v2()"));
}

TEST_F(NvmlInfoTask, DoesNotShutNvmlDownThatStartedAndCouldNotCount) {
    m_library.results = {{"nvmlDeviceGetCount_v2", 999}};
    { CNvmlInfoTask().Init(); }
    EXPECT_THAT(m_library.calls, ElementsAre("nvmlInit_v2()", "nvmlDeviceGetCount_v2()"));
}

TEST_F(NvmlInfoTask, DoesNotShutDownWhatWasNeverStarted) {
    { CNvmlInfoTask task; }
    EXPECT_THAT(m_library.calls, IsEmpty());
}

TEST_F(NvmlInfoTask, IsDestroyedQuietlyWithoutAShutdownEntryPoint) {
    m_library.missing = {"nvmlShutdown"};
    { EXPECT_EQ(CNvmlInfoTask().Init(), 1); }
    EXPECT_EQ(m_library.calls.back(), "nvmlDeviceGetCount_v2()");
}
