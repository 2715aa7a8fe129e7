// The package as it was unpacked, on a PC with a driver of today: NVML lies in the system folder
// alone, and there is no Platform.dll. Wine only.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "host/runfolder.h"
#include "tests/e2e/simulatedmachine.h"
#include "tests/support/records.h"
#include "tests/support/winetest.h"

using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::string Escaped(const std::wstring& path) {
    std::string text;
    for (const char c : std::filesystem::path(path).string()) {
        text += c == '\\' ? "\\\\" : std::string(1, c);
    }
    return text;
}

// One GPU, whose library lies in the system folder.
std::string SystemFolderScenario(bool administrator, const std::string& rest = "") {
    const std::wstring folder = BuildFolder(L"sim") + L"\\ProgramFiles\\NVIDIA Corporation\\NVSMI";
    return R"({"gpus": [{"name": "one", "bus": 1)" + rest + R"(}], "machine": {"administrator": )" +
           (administrator ? "true" : "false") + R"(, "systemFolder": ")" + Escaped(folder) + "\"}}";
}

class Unpacked : public CWineTest {
  protected:
    static MachineParts Parts(bool administrator) {
        return {.scenario = SystemFolderScenario(administrator), .nvml = L"none", .unpacked = true};
    }

    // Runs a worker until the GPU has been read, and returns its words on standard error.
    std::string RunUntilRead(const CSimulatedMachine& machine) {
        CRecordingStub stub;
        const auto worker = machine.StartWorker(stub.WindowWord());
        m_worker = worker->Id();
        EXPECT_TRUE(stub.WaitForMessages(kCopyDataTaskData, 2)) << worker->Errors();
        EXPECT_EQ(GpuRecords(stub.Messages()).front().name, std::wstring(L"one"));
        stub.SendToWorker(kCopyDataStop);
        EXPECT_EQ(worker->Wait(), 0u);
        return worker->Errors();
    }

    // The run folder of the last worker, empty if there is none.
    std::wstring RunFolder(RunFolderOwner owner) const {
        for (const auto& entry : std::filesystem::directory_iterator(RunFolderPlace(owner))) {
            const auto process = RunFolderProcess(entry.path().filename().native());
            if (process && process->id == m_worker) {
                return entry.path().native();
            }
        }
        return {};
    }

    DWORD m_worker = 0;
};

}  // namespace

TEST_F(Unpacked, ShowsTheGpusAndLeavesTheSwitchAsItWas) {
    const CSimulatedMachine machine(Parts(false));
    EXPECT_EQ(RunUntilRead(machine),
              "zorvanesimhost: no CPU temperature in this run: the stand-in is used in place of "
              "AMD's Platform.dll, and the worker has no administrator rights\r\n");
    EXPECT_THAT(machine.LogMessages(), Contains("[zorvaneprocess] add AmdSdkTask failed"));
    EXPECT_FALSE(std::filesystem::exists(machine.SettingsPath()));
}

// Wine makes no junction, and a copy cannot be deleted while the worker has it loaded.
TEST_F(Unpacked, LeavesNoFolderThatTheNextRunDoesNotRemove) {
    for (const bool administrator : {true, false}) {
        const CSimulatedMachine machine(Parts(administrator));
        const auto owner = administrator ? RunFolderOwner::kAdministrators : RunFolderOwner::kUser;
        RunUntilRead(machine);
        const std::wstring first = RunFolder(owner);
        RunUntilRead(machine);
        EXPECT_FALSE(!first.empty() && std::filesystem::exists(first)) << administrator;
    }
}

TEST_F(Unpacked, LooksIntoTheNvsmiFolderOnlyWhenToldTo) {
    const CSimulatedMachine machine(Parts(false));
    CRecordingStub stub;
    const auto worker = machine.StartWorker(stub.WindowWord() + L" --nvml=fixed");
    EXPECT_EQ(worker->Wait(), 0u) << worker->Errors();
    EXPECT_THAT(machine.LogMessages(),
                Contains(StartsWith("[nvmlinfotask] CNvmlInfoTask::Init file not exist. ")));
}

TEST_F(Unpacked, LeavesTheSwitchAsItWasWhenItIsEndedByForce) {
    MachineParts parts = Parts(false);
    parts.scenario =
        SystemFolderScenario(false, R"(, "results": {"nvmlDeviceGetFanSpeed": "hang"})");
    parts.settings = "[cpu_kernel]\r\nsdk_flag=1\r\n";
    const CSimulatedMachine machine(parts);
    const CChildProcess parent(BuildFolder(L"tests") + L"\\fakeworker.exe", L"blind");
    CRecordingStub stub;
    const auto worker = machine.StartWorker(stub.WindowWord() + L" " + parent.ParentWord());
    ASSERT_TRUE(machine.WaitForCall("nvmlDeviceGetFanSpeed")) << worker->Errors();
    EXPECT_THAT(ReadFileBytes(machine.SettingsPath()), HasSubstr("sdk_flag=0"));
    parent.Kill();
    EXPECT_EQ(worker->Wait(), 9u);
    EXPECT_EQ(ReadFileBytes(machine.SettingsPath()), parts.settings);
}
