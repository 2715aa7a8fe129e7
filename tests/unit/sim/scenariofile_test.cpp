#include "sim/scenario/scenariofile.h"

#include <gmock/gmock.h>

#include "base/modulepath.h"
#include "sim/scenario/jsonplace.h"
#include "tests/support/standardfile.h"
#include "tests/unit/sim/nvml.h"

namespace {

using testing::HasSubstr;

using CScenarioFileTest = CSimTest;

TEST_F(CScenarioFileTest, EnvironmentNamesTheScenario) {
    EXPECT_EQ(ScenarioPath(), ScenarioFile());
}

TEST_F(CScenarioFileTest, WithoutTheEnvironmentItLiesBesideTheModule) {
    SetEnvironmentVariableW(L"ZORVANE_SIM_SCENARIO", nullptr);
    EXPECT_EQ(ScenarioPath(), zorvane::ModuleFolder(nullptr) + L"scenario.json");
    const CNvml nvml;
    EXPECT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    uint32_t count = 0;
    EXPECT_EQ(nvml.nvmlDeviceGetCount_v2(&count), kNvmlSuccess);
    EXPECT_EQ(count, 2u);
}

TEST_F(CScenarioFileTest, MissingFileIsNamed) {
    try {
        LoadScenario(Folder() / "none.json");
        FAIL() << "a missing file was read";
    } catch (const CScenarioError& error) {
        EXPECT_THAT(error.what(), HasSubstr("none.json: the file cannot be opened"));
    }
}

TEST_F(CScenarioFileTest, BadScenarioMakesInitFailAndIsReportedOnce) {
    SetScenario(R"({"gpus": 5})");
    const CStandardFile errors(STD_ERROR_HANDLE, Folder() / "errors.txt");
    const CNvml nvml;
    EXPECT_EQ(nvml.nvmlInit_v2(), kNvmlUnknown);
    EXPECT_EQ(nvml.nvmlInit_v2(), kNvmlUnknown);
    const std::string report =
        "scenario " + ScenarioFile().string() + ": /gpus: expected a list, found 5";
    EXPECT_EQ(errors.Text(), report + "\r\n");
    EXPECT_THAT(Calls(), testing::ElementsAre("error: " + report, "nvmlInit_v2() = 999",
                                              "nvmlInit_v2() = 999"));
}

TEST_F(CScenarioFileTest, BadScenarioMakesThePlatformFail) {
    SetScenario("{");
    const CStandardFile errors(STD_ERROR_HANDLE, Folder() / "errors.txt");
    const CLoadedLibrary library(SimFolder() / "Platform.dll");
    void* platform = library.Get<void*()>("?GetPlatform@@YAAEAVIPlatform@@XZ")();
    const auto init = **static_cast<uint64_t (***)(void*, void*, void*)>(platform);
    EXPECT_EQ(init(platform, nullptr, nullptr) & 0xFF, 0u);
    EXPECT_THAT(errors.Text(), HasSubstr("line 1, column 2"));
}

}  // namespace
