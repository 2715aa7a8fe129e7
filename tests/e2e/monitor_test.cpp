// zorvanemon with the shipped library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "tests/e2e/monitor.h"
#include "tests/support/records.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class Monitor : public testing::Test {
  protected:
    // Runs a command of zorvanemon on a machine to its end; its exit code.
    std::optional<DWORD> RunMonitor(const MachineParts& parts, const std::wstring& words,
                                    const std::wstring& command = L"watch") {
        m_machine = std::make_unique<CSimulatedMachine>(parts);
        m_monitor = StartMonitor(*m_machine, command + L" --stale-after 600 " + words);
        return m_monitor->Wait();
    }

    std::vector<nlohmann::json> Lines() const {
        std::vector<nlohmann::json> lines = JsonLines(*m_monitor);
        // Where the readings come from, and why others do not, is not what these tests are about.
        std::erase_if(lines, [](const nlohmann::json& line) {
            return line["type"] == "start" || line["type"] == "worker_start" ||
                   line["type"] == "missing";
        });
        return lines;
    }

    std::vector<std::string> Types() const {
        std::vector<std::string> types;
        for (const nlohmann::json& line : Lines()) {
            types.push_back(line["type"]);
        }
        return types;
    }

    static MachineParts TwoGpusOnly() {
        return {.scenario = kTwoGpus, .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"};
    }

    std::unique_ptr<CSimulatedMachine> m_machine;
    std::unique_ptr<CChildProcess> m_monitor;
};

}  // namespace

TEST_F(Monitor, ShowsWholeRoundsAndEndsTheWorkerInOrder) {
    ASSERT_EQ(RunMonitor(TwoGpusOnly(), L"--format json --count 2"), 0u) << m_monitor->Errors();
    EXPECT_THAT(Types(), ElementsAre("hello", "gpu_static", "gpu_static", "gpu", "gpu", "gpu",
                                     "gpu", "worker_exit"));
    EXPECT_THAT(m_machine->LogMessages(),
                testing::Contains("[msgloopprocess] OnCopyData StopLoop"));
    EXPECT_EQ(Lines().back()["exit_code"], 0);
}

TEST_F(Monitor, GivesTheReadingsOfTheLibrary) {
    ASSERT_EQ(RunMonitor(TwoGpusOnly(), L"--format json --count 1"), 0u) << m_monitor->Errors();
    const std::vector<nlohmann::json> lines = Lines();
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[1]["serial"], "1320523000001");
    EXPECT_EQ(lines[1]["memory_total_kib"], 24564 * 1024);
    EXPECT_EQ(lines[3]["temperature_celsius"], 42);
    EXPECT_EQ(lines[3]["fan_speed_percent"], 52);
    EXPECT_EQ(lines[3]["clocks_mhz"]["graphics"], 1002);
    EXPECT_EQ(lines[4]["name"], "Tesla T4");
    EXPECT_TRUE(lines[4]["fan_speed_percent"].is_null());
}

TEST_F(Monitor, ShowsATableWhenNotAskedForJson) {
    ASSERT_EQ(RunMonitor(TwoGpusOnly(), L"--count 1"), 0u) << m_monitor->Errors();
    EXPECT_THAT(m_monitor->Output(), HasSubstr("NVIDIA GeForce RTX 4090"));
    EXPECT_THAT(m_monitor->Output(), HasSubstr("n/a"));
    EXPECT_THAT(m_monitor->Output(), testing::Not(HasSubstr("4294967295")));
}

TEST_F(Monitor, GivesTheSameReadingsInTheFormsForOtherTools) {
    MachineParts parts = TwoGpusOnly();
    // The same from the first round on: a zorvanemon that the computer keeps waiting loses records.
    parts.scenario =
        std::regex_replace(parts.scenario, std::regex(R"(("perRead": \[\d+, \d+), \d+)"), "$1");
    ASSERT_EQ(RunMonitor(parts,
                         L"--format csv --count 1 --fields "
                         L"pci_bus_id,gpu_temperature_celsius,fan_speed_percent"),
              0u)
        << m_monitor->Errors();
    EXPECT_THAT(m_monitor->Output(), HasSubstr("\r\n00000000:01:00.0,42,52\r\n"));
    ASSERT_EQ(RunMonitor(parts, L"--format prometheus --count 1"), 0u) << m_monitor->Errors();
    const std::string gpu = R"({worker="zorvanemon",pci_bus_id="00000000:01:00.0"})";
    EXPECT_THAT(m_monitor->Output(), HasSubstr("zorvane_gpu_temperature_celsius" + gpu + " 42\n"));
    EXPECT_THAT(m_monitor->Output(), HasSubstr("zorvane_gpu_fan_speed_ratio" + gpu + " 0.52\n"));
}

TEST_F(Monitor, SaysThatThereWasNothingToRead) {
    MachineParts parts = TwoGpusOnly();
    parts.nvml = L"none";
    EXPECT_EQ(RunMonitor(parts, L"--count 1"), 4u);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("Qorvella_HardwareDll.log"));
}

TEST_F(Monitor, PassesOnWhatTheHostSaysOfAMissingLibrary) {
    EXPECT_EQ(RunMonitor(TwoGpusOnly(), L"--count 1 --library Z:\\missing\\Zorvane.dll"), 3u);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("missing\\Zorvane.dll"));
}

TEST_F(Monitor, NamesTheBusIdsThatAnOldDriverLeavesOut) {
    MachineParts parts = TwoGpusOnly();
    parts.nvml = L"old-names";
    ASSERT_EQ(RunMonitor(parts, L"--format json --count 1"), 0u) << m_monitor->Errors();
    EXPECT_EQ(Lines()[1]["pci"]["bus_id"], "00000000:01:00.0");
    EXPECT_EQ(Lines()[2]["pci"]["bus_id"], "00000000:0A:00.0");
}

TEST_F(Monitor, EndsInTimeWhileAWorkerSendsWithoutAPause) {
    MachineParts parts = TwoGpusOnly();
    parts.scenario = R"({"deviceCount": 4294967295, "gpus": [{"name": "one", "bus": 1}]})";
    EXPECT_EQ(RunMonitor(parts, L"--format json --duration 2"), 4u);
    EXPECT_THAT(m_monitor->Output(), HasSubstr(R"("cause":"bad_record")"));
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("no reading was received"));
}

TEST_F(Monitor, SaysThatTheWorkerCrashed) {
    MachineParts parts = TwoGpusOnly();
    parts.nvml = L"crashes";
    // The variant crashes in its fortieth reading, long after the first record has arrived.
    EXPECT_EQ(RunMonitor(parts, L"--count 1000 --no-restart --format json"), 6u);
    EXPECT_EQ(Lines().back()["exit_code"], 0xC0000005u);
    EXPECT_EQ(Lines().back()["crashed"], true);
}

TEST_F(Monitor, TellsThatAGpuIsLostAndThatItIsBack) {
    MachineParts parts = TwoGpusOnly();
    parts.scenario = R"({"gpus": [
        {"name": "GPU", "bus": 1, "temperature": 50, "clocks": [1, 2, 3, 4]},
        {"name": "GPU", "bus": 2, "temperature": 50, "clocks": [1, 2, 3, 4],
         "fault": {"result": 15, "afterCalls": 60, "forCalls": 30}}]})";
    ASSERT_EQ(RunMonitor(parts, L"--format json --count 12"), 0u) << m_monitor->Errors();
    bool isLost = false;
    bool wasBack = false;
    for (const nlohmann::json& line : Lines()) {
        if (line["type"] == "gpu_lost" || line["type"] == "gpu_back") {
            EXPECT_EQ(line["bus_id"], "00000000:02:00.0");
            isLost = line["type"] == "gpu_lost";
            wasBack = wasBack || line["type"] == "gpu_back";
        }
        if (isLost && line["type"] == "gpu" && line["index"] == 1) {
            EXPECT_TRUE(line["gpu_utilization_percent"].is_null());
            EXPECT_TRUE(line["temperature_celsius"].is_null());
        }
    }
    EXPECT_TRUE(wasBack);
    EXPECT_FALSE(isLost);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("GPU 1 (00000000:02:00.0) gives no reading"));
}

TEST_F(Monitor, WarnsWhenAGpuCrossesItsThresholdAndWhenItIsBack) {
    MachineParts parts = TwoGpusOnly();
    parts.scenario = R"({"gpus": [
        {"name": "GPU", "bus": 1, "temperature": {"perRead": [80, 90, 90, 90, 80]}},
        {"name": "GPU", "bus": 2, "temperature": 50}]})";
    ASSERT_EQ(RunMonitor(parts, L"--format json --count 6"), 0u) << m_monitor->Errors();
    int64_t temperature = 0;
    bool isOver = false;
    int warnings = 0;
    for (const nlohmann::json& line : Lines()) {
        if (line["type"] == "gpu" && line["index"] == 0) {
            temperature = line["temperature_celsius"];
        }
        if (line["type"] == "warning") {
            ++warnings;
            EXPECT_EQ(line["bus_id"], "00000000:01:00.0");
            EXPECT_EQ(line["value"], temperature);
            EXPECT_NE(line["over"], isOver);
            isOver = line["over"];
            EXPECT_EQ(isOver, temperature > 85);
        }
    }
    EXPECT_GE(warnings, 2);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("temperature is 90 C, over the threshold of 85 C"));
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("temperature is 80 C, back below"));
}

TEST_F(Monitor, ListsWhatDoesNotChangeAndEndsByItself) {
    ASSERT_EQ(RunMonitor(TwoGpusOnly(), L"", L"list"), 0u) << m_monitor->Errors();
    EXPECT_THAT(m_monitor->Output(), HasSubstr("  Serial number     1320523000001\n"));
    EXPECT_THAT(m_monitor->Output(), HasSubstr("\n\nGPU 1: Tesla T4\n"));
    MachineParts without = TwoGpusOnly();
    without.nvml = L"none";
    EXPECT_EQ(RunMonitor(without, L"", L"list"), 4u);
}
