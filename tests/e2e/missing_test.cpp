// What zorvanemon itself says of readings that are missing, on machines on which they are.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "src/amdsdk/driverservice.h"
#include "tests/e2e/monitor.h"
#include "tests/support/driverservice.h"
#include "tests/support/winetest.h"

using testing::HasSubstr;

namespace {

const std::string kGpu = R"("gpus": [{"name": "one", "bus": 1, "temperature": 50}])";

class Missing : public CDriverTest {
  protected:
    // Runs zorvanemon until it has shown some rounds, or has nothing to show.
    void RunMonitor(const CSimulatedMachine& machine, const std::wstring& words = L"") {
        m_monitor = StartMonitor(machine, L"--stale-after 600 --count 4 " + words);
        ASSERT_TRUE(m_monitor->Wait());
        m_table = m_monitor->Output();
        m_notes = m_monitor->Errors();
    }

    void RunMonitor(const MachineParts& parts) { RunMonitor(CSimulatedMachine(parts)); }

    void RunScenario(const std::wstring& name) {
        RunMonitor({.scenario = ReadFileBytes(BuildFolder(L"sim\\scenarios\\" + name + L".json"))});
    }

    // A few words in the table, and the sentence with what to do both there and beside it.
    void ExpectCpuReason(const std::string& brief, const std::string& sentence) const {
        EXPECT_THAT(m_table, HasSubstr("CPU temperature: n/a (" + brief + ")\n  CPU: " + sentence));
        EXPECT_THAT(m_notes, HasSubstr("zorvanemon: no CPU temperature: " + sentence));
    }

    std::unique_ptr<CChildProcess> m_monitor;
    std::string m_table;
    std::string m_notes;
};

}  // namespace

TEST_F(Missing, NvmlAtItsPlace) {
    RunMonitor({.scenario = "{" + kRyzen + "," + kGpu + "}", .nvml = L"none"});
    EXPECT_THAT(m_table, HasSubstr("No NVIDIA GPU: no NVML at its fixed path\n"
                                   "CPU temperature: 45 C\n"
                                   "  GPU: There is no %ProgramW6432%\\NVIDIA Corporation\\NVSMI\\"
                                   "Nvml.dll, and the library looks nowhere else. Install"));
    EXPECT_THAT(m_notes, HasSubstr("no NVIDIA GPU: There is no %ProgramW6432%"));
}

TEST_F(Missing, AdministratorRights) {
    RunScenario(L"not-administrator");
    ExpectCpuReason("needs administrator rights",
                    "The CPU temperature needs administrator rights, and this worker has none. "
                    "Start the program as administrator.");
}

TEST_F(Missing, TemperatureUnderVbs) {
    RunScenario(L"vbs-running");
    ExpectCpuReason("Virtualization-Based Security is on",
                    "On this generation of processors the temperature is not read while "
                    "Virtualization-Based Security is on. If you can do without");
}

TEST_F(Missing, TemperatureOfAnUnknownProcessor) {
    RunScenario(L"unsupported-cpu");
    ExpectCpuReason("this processor is not supported",
                    "The library does not know this processor; its signature is in the log");
}

TEST_F(Missing, TemperatureThatIsSwitchedOff) {
    RunMonitor({.scenario = "{" + kRyzen + "," + kGpu + "}",
                .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"});
    ExpectCpuReason("switched off after an earlier failure",
                    "The CPU temperature is switched off, because an earlier run could not read "
                    "it. Run zorvanemon reset");
}

TEST_F(Missing, PlatformLibrary) {
    const CSimulatedMachine machine({.scenario = "{" + kRyzen + "," + kGpu + "}"});
    ASSERT_TRUE(DeleteFileW((machine.Folder() + L"\\Platform.dll").c_str()));
    RunMonitor(machine);
    EXPECT_THAT(m_notes, HasSubstr("Platform.dll"));
}

TEST_F(Missing, FolderOfTheLog) {
    const CSimulatedMachine machine(
        {.scenario = "{" + kGpu + "}", .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"});
    ASSERT_TRUE(RemoveDirectoryW((machine.Folder() + L"\\Log").c_str()));
    RunMonitor(machine);
    const std::string sentence =
        "The log file cannot be opened, so this worker writes no log (error 2: there is no folder "
        "for it). The file: ";
    EXPECT_THAT(m_table, HasSubstr("CPU temperature: n/a\n  Log: " + sentence));
    EXPECT_THAT(m_table, HasSubstr("Make the folder Log beside Zorvane.dll"));
    EXPECT_THAT(m_notes, HasSubstr("zorvanemon: no log: " + sentence));
}

TEST_F(Missing, RoomForTheLogUnderItsName) {
    const CSimulatedMachine machine({.scenario = "{}", .nvml = L"none"});
    ASSERT_TRUE(CreateDirectoryW(machine.LogPath().c_str(), nullptr));
    RunMonitor(machine);
    EXPECT_THAT(m_notes, HasSubstr("no log: The log file cannot be opened"));
    EXPECT_THAT(m_notes, HasSubstr("remove a folder of the file's name"));
}

TEST_F(Missing, ServiceThatIsMarkedForDeletion) {
    const CSimulatedMachine machine({.scenario = "{" + kRyzen + "," + kGpu + R"(,
        "machine": {"results": {"DeleteService": 1072, "CreateServiceW": 1072,
                                "StartServiceW": 1072}}})"});
    const CServiceHandle service(CreateServiceW(
        OpenServiceManager().get(), kDriverServiceName, kDriverServiceName, SERVICE_ALL_ACCESS,
        SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
        machine.DriverPath().c_str(), nullptr, nullptr, nullptr, nullptr, nullptr));
    ASSERT_TRUE(service);
    RunMonitor(machine);
    ExpectCpuReason("AMD's driver does not start, error 1072",
                    "The driver's service does not start (error 1072: the service is marked for "
                    "deletion). Close Services, Device Manager");
}

TEST_F(Missing, ReasonsAreKeptByARecording) {
    const CSimulatedMachine machine(
        {.scenario = "{" + kGpu + "}", .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"});
    const std::wstring recording = machine.Folder() + L"\\run.jsonl";
    m_monitor = StartMonitor(
        machine, L"record \"" + recording + L"\" --stale-after 600 --count 4 --format json");
    ASSERT_EQ(m_monitor->Wait(), 0u) << m_monitor->Errors();
    std::vector<nlohmann::json> missing = JsonLines(*m_monitor);
    std::erase_if(missing, [](const nlohmann::json& line) { return line["type"] != "missing"; });
    ASSERT_EQ(missing.size(), 1u);
    EXPECT_EQ(missing[0]["what"], "cpu");
    EXPECT_EQ(missing[0]["id"], "amd.switched_off");
    EXPECT_THAT(missing[0]["do"].get<std::string>(), HasSubstr("Run zorvanemon reset"));

    const CChildProcess replay(BuildFolder(L"bin") + L"\\zorvanemon.exe",
                               L"replay \"" + recording + L"\" --at-once");
    ASSERT_EQ(replay.Wait(), 0u) << replay.Errors();
    EXPECT_THAT(replay.Output(),
                HasSubstr("CPU temperature: n/a (switched off after an earlier failure)"));
}

// The reason of the start is in the log; what a later one would be is in none.
TEST_F(Missing, TemperatureThatStopsWhenTheLogIsOff) {
    const CSimulatedMachine machine({.scenario = "{" + kGpu + R"(,
        "cpu": {"signature": "0x00870F10", "packageType": 2,
                "name": "AMD Ryzen 9 3900X 12-Core Processor",
                "pmTable": {"temperature": {"perRead": [45, 45, 45, 45, 45, 45, 45, 45, 0]}},
                "currentTemperature": {"temperature": 0}}})"});
    m_monitor = StartMonitor(machine, L"--stale-after 600 --count 14");
    ASSERT_TRUE(m_monitor->Wait());
    EXPECT_THAT(m_monitor->Output(), HasSubstr("CPU temperature: 45 C"));
    EXPECT_THAT(m_monitor->Output(), HasSubstr("CPU temperature: n/a (no longer reported)\n"));
    EXPECT_THAT(m_monitor->Output(), HasSubstr("  Log: Logging is switched off"));
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("no CPU temperature: The worker no longer reports"));
}
