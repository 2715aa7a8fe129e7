// What the table of reasons says of logs that the shipped library has written.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/reasons/missingreasons.h"
#include "tests/e2e/simulatedmachine.h"
#include "tests/support/records.h"
#include "tests/support/winetest.h"

using testing::StartsWith;
using namespace zorvane;

namespace {

const std::string kOneGpu = R"("gpus": [{"name": "one", "bus": 1}])";

std::string ScenarioOf(const std::string& first, const std::string& second) {
    return "{" + first + ", " + second + "}";
}

class Reasons : public CWineTest {
  protected:
    // Runs a worker that has nothing to read and so ends by itself.
    void RunToItsEnd(const MachineParts& parts) { RunToItsEnd(CSimulatedMachine(parts)); }

    void RunToItsEnd(const CSimulatedMachine& machine) {
        ASSERT_EQ(machine.StartWorker(m_stub.WindowWord())->Wait(), 0u);
        ReadLog(machine);
    }

    void ReadLog(const CSimulatedMachine& machine) {
        m_lines = ParseLog(ReadFileBytes(machine.LogPath()));
        ASSERT_FALSE(m_lines.empty());
        ASSERT_EQ(LatestRun(m_lines, m_lines.front().processId).size(), m_lines.size());
        for (const LogLine& line : m_lines) {
            EXPECT_TRUE(ExplainLine(line.source, line.message)) << line.message;
        }
        m_missing = FindMissingReadings(m_lines);
    }

    static std::string IdOf(const std::optional<Explanation>& missing) {
        return missing ? missing->id : "";
    }

    std::string Gpu() const { return IdOf(m_missing.gpu); }
    std::string Cpu() const { return IdOf(m_missing.cpu); }

    CRecordingStub m_stub;
    std::vector<LogLine> m_lines;
    MissingReadings m_missing;
};

}  // namespace

TEST_F(Reasons, AreNoneOnAHealthyMachine) {
    const CSimulatedMachine machine({.scenario = ScenarioOf(kRyzen, kOneGpu)});
    const auto worker = machine.StartWorker(m_stub.WindowWord());
    ASSERT_TRUE(m_stub.WaitForMessages(kCopyDataStop, 1)) << worker->Errors();
    m_stub.SendToWorker(kCopyDataStop);
    ASSERT_EQ(worker->Wait(), 0u);
    ReadLog(machine);
    EXPECT_EQ(Gpu(), "");
    EXPECT_EQ(Cpu(), "");
    for (const LogLine& line : m_lines) {
        const ReasonKind kind = ExplainLine(line.source, line.message)->kind;
        EXPECT_TRUE(kind == ReasonKind::kHealthy || kind == ReasonKind::kReading) << line.message;
    }
}

TEST_F(Reasons, AreTheMissingNvmlAndTheSwitch) {
    RunToItsEnd({.scenario = ScenarioOf(kRyzen, kOneGpu),
                 .nvml = L"none",
                 .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"});
    EXPECT_EQ(Gpu(), "nvml.path");
    EXPECT_EQ(Cpu(), "amd.switched_off");
}

TEST_F(Reasons, AreABrokenNvmlAndAnotherMakersProcessor) {
    RunToItsEnd(
        {.scenario = ScenarioOf(R"("cpu": {"vendor": "GenuineIntel", "name": "Intel"})", kOneGpu),
         .nvml = L"not-a-library"});
    EXPECT_EQ(Gpu(), "nvml.load");
    EXPECT_EQ(Cpu(), "amd.vendor");
}

TEST_F(Reasons, AreNvmlsCodeAndAnUnknownProcessor) {
    RunToItsEnd({.scenario = ScenarioOf(R"("cpu": {"signature": 1, "name": "unknown"})",
                                        R"("results": {"nvmlInit": 9})")});
    EXPECT_EQ(Gpu(), "nvml.init.9");
    EXPECT_EQ(Cpu(), "amd.processor");
}

TEST_F(Reasons, AreTheAbsenceOfGpusAndTheStandIn) {
    RunToItsEnd({.scenario = ScenarioOf(kRyzen, R"("gpus": [])"), .standIn = true});
    EXPECT_EQ(Gpu(), "nvml.count.0");
    EXPECT_EQ(Cpu(), "amd.platform");
}

TEST_F(Reasons, AreTheDriverBehindTheLibrary) {
    const CSimulatedMachine machine({.scenario = ScenarioOf(kRyzen, kOneGpu), .nvml = L"no-init"});
    ASSERT_TRUE(DeleteFileW(machine.DriverPath().c_str()));
    RunToItsEnd(machine);
    EXPECT_EQ(Gpu(), "nvml.functions");
    EXPECT_THAT(Cpu(), StartsWith("driver.service."));
}

TEST_F(Reasons, AreAReadingThatFails) {
    RunToItsEnd({.scenario = ScenarioOf(R"("cpu": {"signature": "0x00870F10", "packageType": 2,
                                 "name": "AMD Ryzen 9 3900X 12-Core Processor",
                                 "pmTable": {"status": 4}, "currentTemperature": {"status": -1}})",
                                        R"("results": {"nvmlDeviceGetCount": 999}, "gpus": [])")});
    EXPECT_EQ(Gpu(), "nvml.count_failed.999");
    EXPECT_EQ(Cpu(), "amd.temperature_failed");
}
