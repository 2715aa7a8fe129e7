#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "src/nvmlinfo/nvmlinfotask.h"
#include "tests/support/fakenvml.h"
#include "tests/support/testlog.h"
#include "tests/unit/nvmlinfo/expectedrecord.h"
#include "tests/unit/nvmlinfo/tracingprocess.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint32_t kStatic = 1;

// Each test is a process of its own: its first Execute sends the static records.
class NvmlStaticRecord : public testing::Test {
  protected:
    // The static records of the first Execute.
    const std::vector<CFakeProcess::Message>& Send() {
        EXPECT_EQ(m_task.Init(), 1);
        m_library.calls.clear();
        EXPECT_EQ(m_task.Execute(m_process), 1);
        return m_process->messages;
    }

    CTestLog m_log;
    CFakeNvml m_library;
    CNvmlInfoTask m_task;
    std::shared_ptr<CTracingProcess> m_process = std::make_shared<CTracingProcess>(m_library);
};

}  // namespace

TEST_F(NvmlStaticRecord, HasExactlyItsBytesForEachGpu) {
    const auto& messages = Send();
    ASSERT_EQ(KindsAndIndices(*m_process), "1/0 1/1 2/0 2/1");
    for (uint32_t index = 0; index < 2; ++index) {
        const auto record =
            CExpectedRecord::Of(kStatic, index, 2, m_library.gpus[index], m_library.driverVersion);
        EXPECT_EQ(Difference(messages[index], record), "same") << "GPU " << index;
    }
}

TEST_F(NvmlStaticRecord, IsFilledInItsOrderAfterADriverVersionAndAQuitCheck) {
    m_library.deviceCount = 1;
    Send();
    m_library.calls.resize(29);
    const std::string lookUp = "nvmlDeviceGetHandleByIndex_v2(0)";
    EXPECT_THAT(
        m_library.calls,
        ElementsAre("nvmlSystemGetDriverVersion(100)", "WaitQuit(0)", lookUp,
                    "nvmlDeviceGetName(0, 64)", lookUp, "nvmlDeviceGetUtilizationRates(0)", lookUp,
                    "nvmlDeviceGetMemoryInfo(0)", lookUp, "nvmlDeviceGetTemperature(0, 0)", lookUp,
                    "nvmlDeviceGetPciInfo_v3(0)", lookUp, "nvmlDeviceGetFanSpeed(0)", lookUp,
                    "nvmlDeviceGetVbiosVersion(0, 100)", lookUp, "nvmlDeviceGetSerial(0, 100)",
                    lookUp, "nvmlDeviceGetMaxClockInfo(0, 0)", "nvmlDeviceGetMaxClockInfo(0, 1)",
                    "nvmlDeviceGetMaxClockInfo(0, 2)", "nvmlDeviceGetMaxClockInfo(0, 3)", lookUp,
                    "nvmlDeviceGetClock(0, 0, 0)", "nvmlDeviceGetClock(0, 1, 0)",
                    "nvmlDeviceGetClock(0, 2, 0)", "nvmlDeviceGetClock(0, 3, 0)", "SendData"));
    EXPECT_THAT(m_library.dirtyBuffers, IsEmpty());
}

TEST_F(NvmlStaticRecord, IsSentAfterItsLastClockAndBeforeTheNextQuitCheck) {
    Send();
    const auto sent = std::find(m_library.calls.begin(), m_library.calls.end(), "SendData");
    ASSERT_NE(sent, m_library.calls.end());
    EXPECT_EQ(*(sent - 1), "nvmlDeviceGetClock(0, 3, 0)");
    EXPECT_EQ(*(sent + 1), "WaitQuit(0)");
    EXPECT_EQ(*(sent + 2), "nvmlDeviceGetHandleByIndex_v2(1)");
}

TEST_F(NvmlStaticRecord, KeepsTheDefaultsOfEverythingThatFailsWhateverWasWritten) {
    for (const char* call :
         {"nvmlDeviceGetName", "nvmlDeviceGetUtilizationRates", "nvmlDeviceGetMemoryInfo",
          "nvmlDeviceGetTemperature", "nvmlDeviceGetPciInfo_v3", "nvmlDeviceGetFanSpeed",
          "nvmlDeviceGetVbiosVersion", "nvmlDeviceGetSerial", "nvmlSystemGetDriverVersion",
          "nvmlDeviceGetMaxClockInfo", "nvmlDeviceGetClock"}) {
        m_library.results[call] = 999;
    }
    const auto& messages = Send();
    EXPECT_EQ(Difference(messages.at(0), CExpectedRecord(kStatic, 0, 2)), "same");
    EXPECT_EQ(Difference(messages.at(1), CExpectedRecord(kStatic, 1, 2)), "same");
    EXPECT_EQ(KindsAndIndices(*m_process), "1/0 1/1 2/0 2/1");
}

TEST_F(NvmlStaticRecord, HasAnUnknownFanSpeedOnAGpuWithoutAFan) {
    m_library.results["nvmlDeviceGetFanSpeed"] = 3;
    EXPECT_EQ(Number(Send().at(0), 100), 0xFFFFFFFF);
}

TEST_F(NvmlStaticRecord, HasBothSeriesOfClocksUpToTheTypeThatFails) {
    m_library.results = {{"nvmlDeviceGetMaxClockInfo(0, 1)", 3},
                         {"nvmlDeviceGetClock(0, 2, 0)", 3}};
    FakeGpu gpu = m_library.gpus[0];
    std::fill(gpu.maxClocks + 1, gpu.maxClocks + 4, 0);
    std::fill(gpu.clocks + 2, gpu.clocks + 4, 0);
    EXPECT_EQ(Difference(Send().at(0), CExpectedRecord::Of(kStatic, 0, 2, gpu, "555.42")), "same");
}

TEST_F(NvmlStaticRecord, HasTheMemorySizeInWholeKibibytes) {
    m_library.gpus[0].memory.total = 1023;
    m_library.gpus[1].memory.total = UINT64_MAX;
    const auto& messages = Send();
    const auto small = CExpectedRecord::Of(kStatic, 0, 2, m_library.gpus[0], "555.42");
    const auto large = CExpectedRecord::Of(kStatic, 1, 2, m_library.gpus[1], "555.42");
    EXPECT_EQ(Number(messages.at(0), 88), 0u);
    EXPECT_EQ(Number(messages.at(1), 92), 0x003FFFFFu);
    EXPECT_EQ(Difference(messages.at(0), small), "same");
    EXPECT_EQ(Difference(messages.at(1), large), "same");
}

TEST_F(NvmlStaticRecord, CutsEveryTextToThirtyOneCharactersAlsoOneWithoutAnEnd) {
    m_library.driverVersion = std::string(200, 'd');
    m_library.gpus[0].name = std::string(200, 'n');
    m_library.gpus[0].serial = std::string(200, 's');
    m_library.gpus[0].vbiosVersion = std::string(200, 'v');
    FakeGpu cut = m_library.gpus[0];
    cut.name.resize(31);
    cut.serial.resize(31);
    cut.vbiosVersion.resize(31);
    const auto record = CExpectedRecord::Of(kStatic, 0, 2, cut, std::string(31, 'd'));
    EXPECT_EQ(Difference(Send().at(0), record), "same");
}

TEST_F(NvmlStaticRecord, IsAnnouncedWithTheWholeDriverVersionWhichIsNeverAFormat) {
    m_library.driverVersion = std::string(70, 'd') + "%s%n";
    Send();
    EXPECT_THAT(
        m_log.Messages(),
        ElementsAre("[dynamicnvml] nvmlDeviceGetCount = 2", "[nvmlinfotask] NVML gpu count:2",
                    "[nvmlinfotask] NVML driver ver:" + m_library.driverVersion));
}

TEST_F(NvmlStaticRecord, IsAnnouncedWithAnEmptyDriverVersionThatCannotBeRead) {
    m_library.missing = {"nvmlSystemGetDriverVersion"};
    Send();
    EXPECT_EQ(m_log.Messages().back(), "[nvmlinfotask] NVML driver ver:");
}
