#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

#include "src/nvmlinfo/dynamicnvml.h"
#include "tests/support/fakenvml.h"
#include "tests/support/testlog.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr wchar_t kPath[] = L"N:\\100% NVSMI\\Nvml.dll";

class NvmlApiLoad : public testing::Test {
  protected:
    CTestLog m_log;
    CFakeNvml m_library;
    NvmlApi m_nvml{};
};

struct OptionalEntryPoint {
    const char* name;
    bool (*isBound)(const NvmlApi& nvml);
};

constexpr OptionalEntryPoint kOptional[] = {
    {"nvmlShutdown", [](const NvmlApi& nvml) { return nvml.shutdown != nullptr; }},
    {"nvmlErrorString", [](const NvmlApi& nvml) { return nvml.errorString != nullptr; }},
    {"nvmlDeviceGetUtilizationRates",
     [](const NvmlApi& nvml) { return nvml.deviceGetUtilizationRates != nullptr; }},
    {"nvmlDeviceGetMemoryInfo",
     [](const NvmlApi& nvml) { return nvml.deviceGetMemoryInfo != nullptr; }},
    {"nvmlDeviceGetName", [](const NvmlApi& nvml) { return nvml.deviceGetName != nullptr; }},
    {"nvmlDeviceGetTemperature",
     [](const NvmlApi& nvml) { return nvml.deviceGetTemperature != nullptr; }},
    {"nvmlDeviceGetFanSpeed",
     [](const NvmlApi& nvml) { return nvml.deviceGetFanSpeed != nullptr; }},
    {"nvmlDeviceGetClockInfo",
     [](const NvmlApi& nvml) { return nvml.deviceGetClockInfo != nullptr; }},
    {"nvmlDeviceGetMaxClockInfo",
     [](const NvmlApi& nvml) { return nvml.deviceGetMaxClockInfo != nullptr; }},
    {"nvmlDeviceGetClock", [](const NvmlApi& nvml) { return nvml.deviceGetClock != nullptr; }},
    {"nvmlDeviceGetSerial", [](const NvmlApi& nvml) { return nvml.deviceGetSerial != nullptr; }},
    {"nvmlDeviceGetVbiosVersion",
     [](const NvmlApi& nvml) { return nvml.deviceGetVbiosVersion != nullptr; }},
    {"nvmlSystemGetDriverVersion",
     [](const NvmlApi& nvml) { return nvml.systemGetDriverVersion != nullptr; }},
    {"nvmlDeviceGetBoardPartNumber",
     [](const NvmlApi& nvml) { return nvml.deviceGetBoardPartNumber != nullptr; }},
};

}  // namespace

TEST_F(NvmlApiLoad, AsksForEveryEntryPointInItsOrderAndForNoOlderNameOfOneThatIsThere) {
    EXPECT_NE(m_nvml.Load(kPath), 0);
    EXPECT_THAT(
        m_library.askedNames,
        ElementsAre("nvmlInit_v2", "nvmlShutdown", "nvmlErrorString", "nvmlDeviceGetCount_v2",
                    "nvmlDeviceGetHandleByIndex_v2", "nvmlDeviceGetUtilizationRates",
                    "nvmlDeviceGetMemoryInfo", "nvmlDeviceGetName", "nvmlDeviceGetTemperature",
                    "nvmlDeviceGetPciInfo_v3", "nvmlDeviceGetFanSpeed", "nvmlDeviceGetClockInfo",
                    "nvmlDeviceGetMaxClockInfo", "nvmlDeviceGetClock", "nvmlDeviceGetSerial",
                    "nvmlDeviceGetVbiosVersion", "nvmlSystemGetDriverVersion",
                    "nvmlDeviceGetBoardPartNumber"));
}

TEST_F(NvmlApiLoad, AsksForOlderNamesRightAfterTheNewerOnesThatAreMissing) {
    m_library.missing = {"nvmlInit_v2", "nvmlDeviceGetCount_v2", "nvmlDeviceGetHandleByIndex_v2",
                         "nvmlDeviceGetPciInfo_v3", "nvmlDeviceGetPciInfo_v2"};
    EXPECT_NE(m_nvml.Load(kPath), 0);
    EXPECT_THAT(
        m_library.askedNames,
        ElementsAre("nvmlInit_v2", "nvmlInit", "nvmlShutdown", "nvmlErrorString",
                    "nvmlDeviceGetCount_v2", "nvmlDeviceGetCount", "nvmlDeviceGetHandleByIndex_v2",
                    "nvmlDeviceGetHandleByIndex", "nvmlDeviceGetUtilizationRates",
                    "nvmlDeviceGetMemoryInfo", "nvmlDeviceGetName", "nvmlDeviceGetTemperature",
                    "nvmlDeviceGetPciInfo_v3", "nvmlDeviceGetPciInfo_v2", "nvmlDeviceGetPciInfo",
                    "nvmlDeviceGetFanSpeed", "nvmlDeviceGetClockInfo", "nvmlDeviceGetMaxClockInfo",
                    "nvmlDeviceGetClock", "nvmlDeviceGetSerial", "nvmlDeviceGetVbiosVersion",
                    "nvmlSystemGetDriverVersion", "nvmlDeviceGetBoardPartNumber"));
}

TEST_F(NvmlApiLoad, SucceedsWithALibraryThatExportsOnlyTheOldNamesOfTheTwoThatAreNeeded) {
    m_library.missing = {"nvmlInit_v2",
                         "nvmlDeviceGetCount_v2",
                         "nvmlDeviceGetHandleByIndex_v2",
                         "nvmlDeviceGetHandleByIndex",
                         "nvmlDeviceGetPciInfo_v3",
                         "nvmlDeviceGetPciInfo_v2",
                         "nvmlDeviceGetPciInfo"};
    for (const OptionalEntryPoint& entryPoint : kOptional) {
        m_library.missing.insert(entryPoint.name);
    }
    EXPECT_NE(m_nvml.Load(kPath), 0);
    EXPECT_THAT(m_library.calls, ElementsAre("nvmlInit()", "nvmlDeviceGetCount()"));
    EXPECT_EQ(m_nvml.deviceCount, 2u);
    EXPECT_EQ(m_nvml.deviceGetHandleByIndex, nullptr);
    EXPECT_EQ(m_nvml.deviceGetPciInfo, nullptr);
}

TEST_F(NvmlApiLoad, BindsTheNewestPciInfoThatIsThere) {
    nvmlPciInfo_t pci{};
    for (const char* name :
         {"nvmlDeviceGetPciInfo_v3", "nvmlDeviceGetPciInfo_v2", "nvmlDeviceGetPciInfo"}) {
        SCOPED_TRACE(name);
        NvmlApi nvml{};
        ASSERT_NE(nvml.Load(kPath), 0);
        EXPECT_TRUE(nvml.PciInfo(0, pci));
        EXPECT_EQ(m_library.calls.back(), std::string(name) + "(0)");
        m_library.missing.insert(name);
    }
}

TEST_F(NvmlApiLoad, BindsTheOlderHandleLookUpWhenTheNewerIsMissing) {
    m_library.missing = {"nvmlDeviceGetHandleByIndex_v2"};
    m_nvml.Load(kPath);
    m_nvml.Name(1);
    EXPECT_EQ(m_library.calls.at(2), "nvmlDeviceGetHandleByIndex(1)");
}

TEST_F(NvmlApiLoad, SucceedsWithoutAnOptionalEntryPointAndLeavesOnlyThatOneNull) {
    for (const OptionalEntryPoint& absent : kOptional) {
        m_library.missing = {absent.name};
        NvmlApi nvml{};
        EXPECT_NE(nvml.Load(kPath), 0) << absent.name;
        for (const OptionalEntryPoint& entryPoint : kOptional) {
            EXPECT_EQ(entryPoint.isBound(nvml), entryPoint.name != absent.name)
                << entryPoint.name << " of a library without " << absent.name;
        }
    }
}

TEST_F(NvmlApiLoad, LoadsThePathItselfStartsNvmlThenCountsAndNeverUnloads) {
    EXPECT_NE(m_nvml.Load(kPath), 0);
    EXPECT_THAT(m_library.windowsCalls, ElementsAre(L"LoadLibraryW(" + std::wstring(kPath) + L")"));
    EXPECT_THAT(m_library.calls, ElementsAre("nvmlInit_v2()", "nvmlDeviceGetCount_v2()"));
    EXPECT_EQ(m_nvml.deviceCount, 2u);
    EXPECT_THAT(m_log.Messages(), ElementsAre("[dynamicnvml] nvmlDeviceGetCount = 2"));
}

TEST_F(NvmlApiLoad, DoesNothingForANullPath) {
    EXPECT_EQ(m_nvml.Load(nullptr), 0);
    EXPECT_THAT(m_library.windowsCalls, IsEmpty());
    EXPECT_THAT(m_log.Messages(), IsEmpty());
}

TEST_F(NvmlApiLoad, FailsAndLogsWhenTheLibraryCannotBeLoaded) {
    m_library.loadable = false;
    EXPECT_EQ(m_nvml.Load(kPath), 0);
    EXPECT_THAT(m_library.askedNames, IsEmpty());
    EXPECT_THAT(m_log.Messages(),
                ElementsAre("[dynamicnvml] NVML DLL is not installed or not found at the default "
                            "path."));
}

TEST_F(NvmlApiLoad, FailsAndLogsWithoutTheInitEntryPointOnceAllNamesWereAskedFor) {
    m_library.missing = {"nvmlInit_v2", "nvmlInit"};
    EXPECT_EQ(m_nvml.Load(kPath), 0);
    EXPECT_EQ(m_library.askedNames.back(), "nvmlDeviceGetBoardPartNumber");
    EXPECT_THAT(m_library.calls, IsEmpty());
    EXPECT_THAT(m_log.Messages(), ElementsAre("[dynamicnvml] nvmlInit func failed"));
}

TEST_F(NvmlApiLoad, FailsAndLogsWithoutTheCountEntryPointBeforeNvmlStarts) {
    m_library.missing = {"nvmlDeviceGetCount_v2", "nvmlDeviceGetCount"};
    EXPECT_EQ(m_nvml.Load(kPath), 0);
    EXPECT_THAT(m_library.calls, IsEmpty());
    EXPECT_THAT(m_log.Messages(), ElementsAre("[dynamicnvml] nvmlInit func failed"));
}

TEST_F(NvmlApiLoad, FailsAndLogsTheCodeWhenNvmlDoesNotStart) {
    for (const nvmlReturn_t code : {1, 9, 999, 12345, -1, INT_MIN}) {
        SCOPED_TRACE(code);
        CTestLog log;
        m_library.calls.clear();
        m_library.results["nvmlInit_v2"] = code;
        EXPECT_EQ(m_nvml.Load(kPath), 0);
        EXPECT_THAT(m_library.calls, ElementsAre("nvmlInit_v2()"));
        EXPECT_THAT(log.Messages(),
                    ElementsAre("[dynamicnvml] nvmlInit failed, ret = " + std::to_string(code)));
    }
}

TEST_F(NvmlApiLoad, FailsAndLogsTheCodeWhenCountingFailsAndLeavesNvmlStartedWithACountOfZero) {
    m_library.results["nvmlDeviceGetCount_v2"] = 999;
    EXPECT_EQ(m_nvml.Load(kPath), 0);
    EXPECT_EQ(m_nvml.deviceCount, 0u);
    EXPECT_THAT(m_library.calls, ElementsAre("nvmlInit_v2()", "nvmlDeviceGetCount_v2()"));
    EXPECT_THAT(m_log.Messages(),
                ElementsAre("[dynamicnvml] nvmlDeviceGetCount failed, ret = 999"));
}

TEST_F(NvmlApiLoad, FailsAndLogsTheCountWhenThereIsNoGpu) {
    m_library.deviceCount = 0;
    EXPECT_EQ(m_nvml.Load(kPath), 0);
    EXPECT_THAT(m_library.calls, ElementsAre("nvmlInit_v2()", "nvmlDeviceGetCount_v2()"));
    EXPECT_THAT(m_log.Messages(), ElementsAre("[dynamicnvml] nvmlDeviceGetCount = 0"));
}
