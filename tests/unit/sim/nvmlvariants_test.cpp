#include <gmock/gmock.h>

#include <cstdlib>

#include "tests/unit/sim/nvml.h"

namespace {

std::vector<std::string> NamesMissingFrom(const std::string& variant) {
    const CLoadedLibrary library(NvmlPath(variant));
    std::vector<std::string> missing;
    for (const NvmlEntryPoint& entry : kNvmlEntryPoints) {
        if (!library.Has(entry.name)) {
            missing.emplace_back(entry.name);
        }
    }
    return missing;
}

using CNvmlVariantsTest = CSimTest;
using testing::UnorderedElementsAre;

TEST_F(CNvmlVariantsTest, CurrentOneAndTheCrashingOneExportEverything) {
    EXPECT_EQ(std::size(kNvmlEntryPoints), 23u);
    EXPECT_THAT(NamesMissingFrom(""), testing::IsEmpty());
    EXPECT_THAT(NamesMissingFrom("crashes"), testing::IsEmpty());
}

TEST_F(CNvmlVariantsTest, OldNamesHasNoVersionedName) {
    EXPECT_THAT(NamesMissingFrom("old-names"),
                UnorderedElementsAre("nvmlInit_v2", "nvmlDeviceGetCount_v2",
                                     "nvmlDeviceGetHandleByIndex_v2", "nvmlDeviceGetPciInfo_v2",
                                     "nvmlDeviceGetPciInfo_v3"));
}

TEST_F(CNvmlVariantsTest, PciV2HasOnlyTheSecondPciInfo) {
    EXPECT_THAT(NamesMissingFrom("pci-v2"),
                UnorderedElementsAre("nvmlDeviceGetPciInfo", "nvmlDeviceGetPciInfo_v3"));
}

TEST_F(CNvmlVariantsTest, NoFanLacksTheFanSpeedOnly) {
    EXPECT_THAT(NamesMissingFrom("no-fan"), UnorderedElementsAre("nvmlDeviceGetFanSpeed"));
}

TEST_F(CNvmlVariantsTest, NoTemperatureLacksTheTemperatureOnly) {
    EXPECT_THAT(NamesMissingFrom("no-temperature"),
                UnorderedElementsAre("nvmlDeviceGetTemperature"));
}

TEST_F(CNvmlVariantsTest, NoInitLacksBothInits) {
    EXPECT_THAT(NamesMissingFrom("no-init"), UnorderedElementsAre("nvmlInit", "nvmlInit_v2"));
}

TEST_F(CNvmlVariantsTest, NoCountLacksBothCounts) {
    EXPECT_THAT(NamesMissingFrom("no-count"),
                UnorderedElementsAre("nvmlDeviceGetCount", "nvmlDeviceGetCount_v2"));
}

TEST_F(CNvmlVariantsTest, MinimalHasOldInitAndCountOnly) {
    const CLoadedLibrary library(NvmlPath("minimal"));
    EXPECT_TRUE(library.Has("nvmlInit"));
    EXPECT_TRUE(library.Has("nvmlDeviceGetCount"));
    EXPECT_EQ(NamesMissingFrom("minimal").size(), std::size(kNvmlEntryPoints) - 2);
}

constexpr DWORD kBadExeFormat = ERROR_BAD_EXE_FORMAT;

TEST_F(CNvmlVariantsTest, NotALibraryIsAFileThatWindowsRefuses) {
    EXPECT_TRUE(std::filesystem::exists(NvmlPath("not-a-library")));
    const zorvane::CUniqueModule library(LoadLibraryW(NvmlPath("not-a-library").c_str()));
    const DWORD error = GetLastError();
    EXPECT_EQ(library, nullptr);
    EXPECT_EQ(error, kBadExeFormat);
}

// Reads the fan `count` times; the process ends in an orderly way when none of them crashes.
[[noreturn]] void ReadFanAndEnd(const std::string& variant, int count) {
    const CNvml nvml(variant);
    nvml.nvmlInit_v2();
    const NvmlDevice gpu = nvml.Device(0);
    uint32_t speed = 0;
    for (int call = 0; call < count; ++call) {
        nvml.nvmlDeviceGetFanSpeed(gpu, &speed);
    }
    std::_Exit(0);
}

using CNvmlCrashDeathTest = CSimTest;

TEST_F(CNvmlCrashDeathTest, CrashesVariantCrashesAtItsFortyFirstReading) {
    SetScenario(R"({"gpus": [{"name": "a", "fanSpeed": 1}]})");
    EXPECT_EXIT(ReadFanAndEnd("crashes", 40), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(ReadFanAndEnd("crashes", 41), testing::ExitedWithCode(kAccessViolation), "");
}

TEST_F(CNvmlCrashDeathTest, ScenarioSetsTheReadingAfterWhichAnyVariantCrashes) {
    SetScenario(R"({"crashAfterReadings": 2, "gpus": [{"name": "a", "fanSpeed": 1}]})");
    EXPECT_EXIT(ReadFanAndEnd("", 2), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(ReadFanAndEnd("", 3), testing::ExitedWithCode(kAccessViolation), "");
}

}  // namespace
