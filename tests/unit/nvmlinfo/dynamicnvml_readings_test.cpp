#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

#include "src/nvmlinfo/dynamicnvml.h"
#include "tests/support/fakenvml.h"
#include "tests/support/testlog.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char kLookUp[] = "nvmlDeviceGetHandleByIndex_v2(1)";

// One reading of GPU 1: what it calls after the look-up, its answer as text, and what is left where
// it fails.
struct Reading {
    const char* function;
    std::vector<std::string> calls;
    std::string (*read)(const NvmlApi& nvml, uint32_t index);
    std::string answer;
    std::string failed;
};

std::string Join(const NvmlClocks& clocks) {
    return std::accumulate(
        std::begin(clocks.mhz), std::end(clocks.mhz), std::string(),
        [](const std::string& text, uint32_t mhz) { return text + std::to_string(mhz) + " "; });
}

const std::vector<Reading>& Readings() {
    static const std::vector<Reading> kReadings{
        {"nvmlDeviceGetName",
         {"nvmlDeviceGetName(1, 64)"},
         [](const NvmlApi& nvml, uint32_t index) -> std::string {
             return nvml.Name(index).characters;
         },
         "GeForce 1",
         ""},
        {"nvmlDeviceGetSerial",
         {"nvmlDeviceGetSerial(1, 100)"},
         [](const NvmlApi& nvml, uint32_t index) -> std::string {
             return nvml.Serial(index).characters;
         },
         "Serial 1",
         ""},
        {"nvmlDeviceGetVbiosVersion",
         {"nvmlDeviceGetVbiosVersion(1, 100)"},
         [](const NvmlApi& nvml, uint32_t index) -> std::string {
             return nvml.VbiosVersion(index).characters;
         },
         "95.02.1",
         ""},
        {"nvmlDeviceGetMemoryInfo",
         {"nvmlDeviceGetMemoryInfo(1)"},
         [](const NvmlApi& nvml, uint32_t index) {
             uint64_t bytes = 77;
             return nvml.TotalMemory(index, bytes) ? std::to_string(bytes)
                                                   : "left " + std::to_string(bytes);
         },
         "9663676416",
         "left 77"},
        {"nvmlDeviceGetTemperature",
         {"nvmlDeviceGetTemperature(1, 0)"},
         [](const NvmlApi& nvml, uint32_t index) {
             uint32_t celsius = 77;
             return nvml.Temperature(index, celsius) ? std::to_string(celsius)
                                                     : "left " + std::to_string(celsius);
         },
         "41",
         "left 77"},
        {"nvmlDeviceGetFanSpeed",
         {"nvmlDeviceGetFanSpeed(1)"},
         [](const NvmlApi& nvml, uint32_t index) {
             uint32_t percent = 77;
             return nvml.FanSpeed(index, percent) ? std::to_string(percent)
                                                  : "left " + std::to_string(percent);
         },
         "31",
         "left 77"},
        {"nvmlDeviceGetPciInfo_v3",
         {"nvmlDeviceGetPciInfo_v3(1)"},
         [](const NvmlApi& nvml, uint32_t index) {
             nvmlPciInfo_t pci{};
             return nvml.PciInfo(index, pci) ? std::string(pci.busId)
                                             : "left " + std::to_string(pci.domain);
         },
         "00000000:01:00.0",
         "left 0"},
        {"nvmlDeviceGetMaxClockInfo",
         {"nvmlDeviceGetMaxClockInfo(1, 0)", "nvmlDeviceGetMaxClockInfo(1, 1)",
          "nvmlDeviceGetMaxClockInfo(1, 2)", "nvmlDeviceGetMaxClockInfo(1, 3)"},
         [](const NvmlApi& nvml, uint32_t index) { return Join(nvml.MaxClocks(index)); },
         "2101 2201 2301 2401 ",
         "0 0 0 0 "},
        {"nvmlDeviceGetClock",
         {"nvmlDeviceGetClock(1, 0, 0)", "nvmlDeviceGetClock(1, 1, 0)",
          "nvmlDeviceGetClock(1, 2, 0)", "nvmlDeviceGetClock(1, 3, 0)"},
         [](const NvmlApi& nvml, uint32_t index) { return Join(nvml.CurrentClocks(index)); },
         "1101 1201 1301 1401 ",
         "0 0 0 0 "},
    };
    return kReadings;
}

// Utilisation differs from the others in one point only.
const Reading& Utilization() {
    static const Reading kUtilization{
        "nvmlDeviceGetUtilizationRates",
        {"nvmlDeviceGetUtilizationRates(1)"},
        [](const NvmlApi& nvml, uint32_t index) {
            nvmlUtilization_t rates{77, 78};
            const std::string result = nvml.Utilization(index, rates) ? "" : "left ";
            return result + std::to_string(rates.gpu) + " " + std::to_string(rates.memory);
        },
        "61 71",
        "left 77 78"};
    return kUtilization;
}

std::vector<Reading> AllReadings() {
    std::vector<Reading> readings = Readings();
    readings.push_back(Utilization());
    return readings;
}

class NvmlApiReading : public testing::Test {
  protected:
    void Load() {
        m_nvml = {};
        ASSERT_NE(m_nvml.Load(L"Nvml.dll"), 0);
        m_library.calls.clear();
    }

    CTestLog m_log;
    CFakeNvml m_library;
    NvmlApi m_nvml{};
};

}  // namespace

TEST_F(NvmlApiReading, LooksTheHandleUpAnewThenCallsWithIt) {
    Load();
    for (const Reading& reading : AllReadings()) {
        SCOPED_TRACE(reading.function);
        m_library.calls.clear();
        EXPECT_EQ(reading.read(m_nvml, 1), reading.answer) << reading.function;
        std::vector<std::string> expected{kLookUp};
        expected.insert(expected.end(), reading.calls.begin(), reading.calls.end());
        EXPECT_THAT(m_library.calls, ElementsAreArray(expected));
    }
    EXPECT_THAT(m_library.dirtyBuffers, IsEmpty());
}

TEST_F(NvmlApiReading, LooksTheHandleUpAlsoForAnEntryPointThatIsMissing) {
    for (const Reading& reading : Readings()) {
        m_library.missing = {reading.function, "nvmlDeviceGetPciInfo_v2", "nvmlDeviceGetPciInfo"};
        Load();
        EXPECT_EQ(reading.read(m_nvml, 1), reading.failed) << reading.function;
        EXPECT_THAT(m_library.calls, ElementsAre(kLookUp)) << reading.function;
    }
}

TEST_F(NvmlApiReading, DoesNotLookTheHandleUpForUtilizationThatIsMissing) {
    m_library.missing = {Utilization().function};
    Load();
    EXPECT_EQ(Utilization().read(m_nvml, 1), Utilization().failed);
    EXPECT_THAT(m_library.calls, IsEmpty());
}

TEST_F(NvmlApiReading, CallsNothingWithoutAHandleLookUp) {
    m_library.missing = {"nvmlDeviceGetHandleByIndex_v2", "nvmlDeviceGetHandleByIndex"};
    Load();
    for (const Reading& reading : AllReadings()) {
        EXPECT_EQ(reading.read(m_nvml, 1), reading.failed) << reading.function;
    }
    EXPECT_THAT(m_library.calls, IsEmpty());
}

TEST_F(NvmlApiReading, CallsNothingForAnIndexThatIsNotBelowTheCount) {
    Load();
    for (const Reading& reading : AllReadings()) {
        EXPECT_EQ(reading.read(m_nvml, 2), reading.failed) << reading.function;
        EXPECT_EQ(reading.read(m_nvml, UINT32_MAX), reading.failed) << reading.function;
    }
    EXPECT_THAT(m_library.calls, IsEmpty());
}

TEST_F(NvmlApiReading, HandsAFailedLookUpToTheErrorStringAndIgnoresTheHandleThatItWrote) {
    Load();
    m_library.results["nvmlDeviceGetHandleByIndex_v2"] = 15;
    for (const Reading& reading : AllReadings()) {
        SCOPED_TRACE(reading.function);
        m_library.calls.clear();
        EXPECT_EQ(reading.read(m_nvml, 1), reading.failed) << reading.function;
        EXPECT_THAT(m_library.calls, ElementsAre(kLookUp, "nvmlErrorString(15)"));
    }
}

TEST_F(NvmlApiReading, DoesNotCallWithANullHandleFromALookUpThatSucceeded) {
    Load();
    m_library.nullHandles = true;
    for (const Reading& reading : AllReadings()) {
        SCOPED_TRACE(reading.function);
        m_library.calls.clear();
        EXPECT_EQ(reading.read(m_nvml, 1), reading.failed) << reading.function;
        EXPECT_THAT(m_library.calls, ElementsAre(kLookUp));
    }
}

TEST_F(NvmlApiReading, HandsAFailureToTheErrorStringAndUsesNothingOfWhatTheCallWrote) {
    Load();
    for (const Reading& reading : AllReadings()) {
        SCOPED_TRACE(reading.function);
        m_library.calls.clear();
        m_library.results = {{reading.function, 3}};
        EXPECT_EQ(reading.read(m_nvml, 1), reading.failed) << reading.function;
        EXPECT_THAT(m_library.calls,
                    ElementsAre(kLookUp, reading.calls.front(), "nvmlErrorString(3)"));
    }
}

TEST_F(NvmlApiReading, FailsQuietlyWithoutAnErrorString) {
    m_library.missing = {"nvmlErrorString"};
    Load();
    for (const Reading& reading : AllReadings()) {
        m_library.results = {{reading.function, 3}};
        EXPECT_EQ(reading.read(m_nvml, 1), reading.failed) << reading.function;
    }
    m_library.results = {{"nvmlDeviceGetHandleByIndex_v2", 3}};
    EXPECT_EQ(m_nvml.Name(1).characters, std::string());
    EXPECT_THAT(m_library.calls, Each(testing::Not(testing::StartsWith("nvmlErrorString"))));
}

TEST_F(NvmlApiReading, IsZeroWhenACallSucceedsWithoutWriting) {
    Load();
    m_library.writesNothing = true;
    EXPECT_EQ(m_nvml.Name(1).characters, std::string());
    EXPECT_EQ(m_nvml.Serial(1).characters, std::string());
    EXPECT_EQ(m_nvml.VbiosVersion(1).characters, std::string());
    EXPECT_EQ(m_nvml.DriverVersion().characters, std::string());
    uint64_t bytes = 77;
    EXPECT_TRUE(m_nvml.TotalMemory(1, bytes));
    EXPECT_EQ(bytes, 0u);
    EXPECT_EQ(Join(m_nvml.CurrentClocks(1)), "0 0 0 0 ");
    EXPECT_EQ(Join(m_nvml.MaxClocks(1)), "0 0 0 0 ");
}

TEST_F(NvmlApiReading, EndsAClockSeriesAtItsFirstFailureWithOneErrorString) {
    Load();
    m_library.results = {{"nvmlDeviceGetMaxClockInfo(1, 1)", 5},
                         {"nvmlDeviceGetClock(1, 2, 0)", 6}};
    EXPECT_EQ(Join(m_nvml.MaxClocks(1)), "2101 0 0 0 ");
    EXPECT_EQ(Join(m_nvml.CurrentClocks(1)), "1101 1201 0 0 ");
    EXPECT_THAT(m_library.calls,
                ElementsAre(kLookUp, "nvmlDeviceGetMaxClockInfo(1, 0)",
                            "nvmlDeviceGetMaxClockInfo(1, 1)", "nvmlErrorString(5)", kLookUp,
                            "nvmlDeviceGetClock(1, 0, 0)", "nvmlDeviceGetClock(1, 1, 0)",
                            "nvmlDeviceGetClock(1, 2, 0)", "nvmlErrorString(6)"));
}

TEST_F(NvmlApiReading, AsksForTheDriverVersionWithoutAHandle) {
    Load();
    EXPECT_EQ(m_nvml.DriverVersion().characters, std::string("555.42"));
    EXPECT_THAT(m_library.calls, ElementsAre("nvmlSystemGetDriverVersion(100)"));
    EXPECT_THAT(m_library.dirtyBuffers, IsEmpty());
}

TEST_F(NvmlApiReading, HasNoDriverVersionWhenTheCallFailsOrIsMissing) {
    Load();
    m_library.results = {{"nvmlSystemGetDriverVersion", 7}};
    EXPECT_EQ(m_nvml.DriverVersion().characters, std::string());
    EXPECT_THAT(m_library.calls,
                ElementsAre("nvmlSystemGetDriverVersion(100)", "nvmlErrorString(7)"));
    m_library.missing = {"nvmlSystemGetDriverVersion"};
    Load();
    EXPECT_EQ(m_nvml.DriverVersion().characters, std::string());
    EXPECT_THAT(m_library.calls, IsEmpty());
}

TEST_F(NvmlApiReading, LogsNothing) {
    Load();
    const size_t messages = m_log.Messages().size();
    m_library.results = {{"nvmlDeviceGetName", 3}, {"nvmlSystemGetDriverVersion", 3}};
    m_nvml.Name(1);
    m_nvml.DriverVersion();
    EXPECT_EQ(m_log.Messages().size(), messages);
}
