// The CPU temperature, with the real service manager and a real driver of our own. Wine only.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "tests/e2e/simulatedmachine.h"
#include "tests/support/driverservice.h"
#include "tests/support/records.h"
#include "tests/support/winetest.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string kSwitchedOff = "sdk_flag=0";

std::string CpuScenario(const std::string& cpu, const std::string& rest = "\"gpus\": []") {
    return R"({"cpu": {"signature": "0x00870F10", "packageType": 2,
              "name": "AMD Ryzen 9 3900X 12-Core Processor", )" +
           cpu + "}, " + rest + "}";
}

const std::string kTwoReadings = R"("pmTable": {"temperature": {"perRead": [45.9, 61.2]}})";

class Temperature : public CDriverTest {
  protected:
    // Runs a worker until `count` temperatures have come, then ends it in order.
    void RunWorker(const MachineParts& parts, size_t count, const std::wstring& words = L"") {
        m_machine = std::make_unique<CSimulatedMachine>(parts);
        const auto worker = m_machine->StartWorker(m_stub.WindowWord() + L" " + words);
        EXPECT_TRUE(m_stub.WaitForMessages(kCopyDataStop, count)) << worker->Errors();
        m_stateWhileRunning = ServiceState();
        m_stub.SendToWorker(kCopyDataStop);
        EXPECT_EQ(worker->Wait(), 0u);
    }

    // Runs a worker that ends by itself.
    void RunToItsEnd(const MachineParts& parts) {
        m_machine = std::make_unique<CSimulatedMachine>(parts);
        EXPECT_EQ(m_machine->StartWorker(m_stub.WindowWord())->Wait(), 0u);
    }

    std::string Settings() const { return ReadFileBytes(m_machine->SettingsPath()); }

    CRecordingStub m_stub;
    std::unique_ptr<CSimulatedMachine> m_machine;
    std::optional<DWORD> m_stateWhileRunning;
};

// The text with the NUL that is sent with it.
std::string CpuText(int celsius) { return "{\"CpuTemp\":" + std::to_string(celsius) + "}" + '\0'; }

}  // namespace

TEST_F(Temperature, ArrivesAsTextWithItsEnd) {
    RunWorker({.scenario = CpuScenario(kTwoReadings)}, 2);
    const std::vector<std::string> texts = CpuTexts(m_stub.Messages());
    ASSERT_GE(texts.size(), 2u);
    EXPECT_EQ(texts[0], CpuText(45));
    EXPECT_EQ(texts[1], CpuText(61));
    EXPECT_THAT(Settings(), Not(HasSubstr(kSwitchedOff)));
}

TEST_F(Temperature, ComesBehindTheGpusOfItsCycle) {
    RunWorker({.scenario = CpuScenario(kTwoReadings, R"("gpus": [{"name": "one", "bus": 1}])")}, 1);
    std::vector<ULONG_PTR> codes;
    for (const StubMessage& message : m_stub.Messages()) {
        if (message.code != kCopyDataHello) {
            codes.push_back(message.code);
        }
    }
    ASSERT_GE(codes.size(), 3u);
    codes.resize(3);
    EXPECT_THAT(codes, ElementsAre(kCopyDataTaskData, kCopyDataTaskData, kCopyDataStop));
}

TEST_F(Temperature, InstallsTheDriverServiceAndDeletesItAtTheEnd) {
    ASSERT_EQ(ServiceState(), std::nullopt);
    RunWorker({.scenario = CpuScenario(kTwoReadings)}, 1);
    EXPECT_EQ(m_stateWhileRunning, DWORD{SERVICE_RUNNING});
    EXPECT_EQ(ServiceState(), std::nullopt);
    const std::vector<std::string> messages = m_machine->LogMessages();
    EXPECT_THAT(messages, Contains("[utility] OpenService error. 1060"));
    EXPECT_THAT(messages, Contains(StartsWith("[utility] InstallDriver success. ")));
    EXPECT_THAT(messages, Contains("[utility] DeleteService AMDRyzenMasterDriverV15 success."));
}

// The task does not look for a stop, so that the stop is always found in the pause between cycles.
TEST_F(Temperature, EndsInOrderOnAStopMessageBetweenCycles) {
    RunWorker({.scenario = CpuScenario(kTwoReadings)}, 1);
    EXPECT_THAT(m_machine->MessagesFromStop(),
                ElementsAre("[msgloopprocess] OnCopyData StopLoop",
                            "[zorvaneprocess] ZorvaneProcess Uninit. size:1",
                            "[utility] DeleteService AMDRyzenMasterDriverV15 success.",
                            "[msgloopprocess] WorkThreadFun process quit.",
                            "[msgloopthread] CMsgLoopThread quit msg loop."));
}

TEST_F(Temperature, KeepsTheDriverServiceForTheWordSkipDeleteInAnyLetterCase) {
    RunWorker({.scenario = CpuScenario(kTwoReadings)}, 1, L"xSKIP_Deletex");
    EXPECT_EQ(ServiceState(), DWORD{SERVICE_RUNNING});
}

TEST_F(Temperature, UsesADriverServiceThatRuns) {
    RunWorker({.scenario = CpuScenario(kTwoReadings)}, 1, L"skip_delete");
    ASSERT_EQ(ServiceState(), DWORD{SERVICE_RUNNING})
        << testing::PrintToString(m_machine->LogMessages());
    RunWorker({.scenario = CpuScenario(kTwoReadings)}, 2);
    const std::vector<std::string> messages = m_machine->LogMessages();
    EXPECT_THAT(messages, Not(Contains(HasSubstr("QueryDrvService failed"))));
    EXPECT_EQ(ServiceState(), std::nullopt);
}

TEST_F(Temperature, CallsTheVendorLibraryInOrder) {
    RunWorker({.scenario = CpuScenario(kTwoReadings)}, 1);
    std::vector<std::string> functions;
    for (const std::string& call : m_machine->Calls()) {
        if (!call.starts_with("nvml")) {
            functions.push_back(call.substr(0, call.find('(')));
        }
    }
    ASSERT_GT(functions.size(), 9u);
    EXPECT_EQ(functions.back(), "IPlatform::UnInit");
    functions.resize(9);
    EXPECT_THAT(functions, ElementsAre("GetPlatform", "GetPlatform", "IPlatform::Init",
                                       "IPlatform::GetDeviceManager", "IDeviceManager::GetDevice",
                                       "IDevice::GetName", "IPlatform::GetDeviceManager",
                                       "IDeviceManager::GetDevice", "IDevice::GetPMTableData"));
}

TEST_F(Temperature, OutsideTheRangeIsSentAndSwitchesTheTaskOffForLaterRuns) {
    RunWorker({.scenario = CpuScenario(R"("pmTable": {"temperature": 121})")}, 2);
    EXPECT_EQ(CpuTexts(m_stub.Messages()).front(), CpuText(121));
    EXPECT_THAT(Settings(), HasSubstr(kSwitchedOff));
}

TEST_F(Temperature, OfZeroEndsTheTask) {
    RunToItsEnd({.scenario = CpuScenario(R"("pmTable": {"temperature": 0},
                                         "currentTemperature": {"temperature": 0})")});
    EXPECT_TRUE(CpuTexts(m_stub.Messages()).empty());
    const std::vector<std::string> messages = m_machine->LogMessages();
    EXPECT_THAT(messages, Contains("[amdsdktask] temp is 0"));
    EXPECT_THAT(messages, Contains("[zorvaneprocess] task erro. size:0"));
    EXPECT_THAT(Settings(), HasSubstr(kSwitchedOff));
    EXPECT_EQ(ServiceState(), std::nullopt);
}

TEST_F(Temperature, IsLeftOutOnAnotherMakersProcessorWhileTheGpusGoOn) {
    MachineParts parts{.scenario = R"({"cpu": {"vendor": "GenuineIntel", "signature": "0x000906ED",
                                       "packageType": 0, "name": "Intel"},
                                       "gpus": [{"name": "one", "bus": 1}]})"};
    m_machine = std::make_unique<CSimulatedMachine>(parts);
    const auto worker = m_machine->StartWorker(m_stub.WindowWord());
    ASSERT_TRUE(m_stub.WaitForMessages(kCopyDataTaskData, 3)) << worker->Errors();
    m_stub.SendToWorker(kCopyDataStop);
    EXPECT_EQ(worker->Wait(), 0u);
    EXPECT_TRUE(CpuTexts(m_stub.Messages()).empty());
    EXPECT_THAT(m_machine->LogMessages(), Contains("[amdsdktask] No AMD Processor is found!"));
    EXPECT_THAT(m_machine->LogMessages(), Contains("[zorvaneprocess] add AmdSdkTask failed"));
    EXPECT_THAT(m_machine->Calls(), Contains(StartsWith("IPlatform::UnInit")));
    EXPECT_THAT(Settings(), HasSubstr(kSwitchedOff));
}

TEST_F(Temperature, IsNotTriedWhileSwitchedOff) {
    RunToItsEnd({.scenario = CpuScenario(kTwoReadings),
                 .nvml = L"none",
                 .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"});
    EXPECT_THAT(m_machine->LogMessages(), Contains("[zorvaneprocess] sdk_flag is off..."));
    EXPECT_TRUE(m_machine->Calls().empty());
}

TEST_F(Temperature, IsLeftOutWithTheStandInWhileTheGpusGoOn) {
    MachineParts parts{
        .scenario = CpuScenario(kTwoReadings, R"("gpus": [{"name": "one", "bus": 1}])"),
        .standIn = true};
    m_machine = std::make_unique<CSimulatedMachine>(parts);
    const auto worker = m_machine->StartWorker(m_stub.WindowWord());
    ASSERT_TRUE(m_stub.WaitForMessages(kCopyDataTaskData, 3)) << worker->Errors();
    m_stub.SendToWorker(kCopyDataStop);
    EXPECT_EQ(worker->Wait(), 0u);
    EXPECT_THAT(m_machine->LogMessages(), Contains("[amdsdktask] Platform init failed."));
    EXPECT_EQ(ServiceState(), std::nullopt);
}

TEST_F(Temperature, NeedsTheDriverFileBesideTheHost) {
    MachineParts parts{.scenario = CpuScenario(kTwoReadings), .nvml = L"none"};
    m_machine = std::make_unique<CSimulatedMachine>(parts);
    ASSERT_TRUE(DeleteFileW(m_machine->DriverPath().c_str()));
    EXPECT_EQ(m_machine->StartWorker(m_stub.WindowWord())->Wait(), 0u);
    const std::vector<std::string> messages = m_machine->LogMessages();
    EXPECT_THAT(messages, Contains(HasSubstr("Service not running. ")));
    EXPECT_THAT(messages,
                Contains("[amdsdktask] Unable to install driver AMDRyzenMasterDriver.sys"));
}
