// What a worker leaves behind when its stub, its console or its session goes. Wine only.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/e2e/simulatedmachine.h"
#include "tests/support/driverservice.h"
#include "tests/support/enumeratedwindow.h"
#include "tests/support/records.h"
#include "tests/support/winetest.h"

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr char kRyzenScenario[] = R"({"cpu": {"signature": "0x00870F10", "packageType": 2,
    "name": "AMD Ryzen 9 3900X 12-Core Processor", "pmTable": {"temperature": 45}}, "gpus": []})";

class Orphan : public CDriverTest {
  protected:
    // A worker that has its driver service and has sent a temperature.
    std::unique_ptr<CChildProcess> StartWorker(const std::wstring& words) {
        auto worker = m_machine.StartWorker(m_stub.WindowWord() + L" " + words);
        EXPECT_TRUE(m_stub.WaitForMessages(kCopyDataStop, 1)) << worker->Errors();
        EXPECT_EQ(ServiceState(), DWORD{SERVICE_RUNNING});
        return worker;
    }

    // Runs a worker that is told to stop before it has read anything.
    void StopAtTheHello(const std::wstring& words = L"") {
        CRecordingStub stub;
        const auto worker = m_machine.StartWorker(stub.WindowWord() + L" " + words);
        ASSERT_TRUE(stub.WaitForMessages(kCopyDataHello, 1)) << worker->Errors();
        stub.SendToWorker(kCopyDataStop);
        ASSERT_EQ(worker->Wait(), 0u) << worker->Errors();
        // The library releases no task then: what is gone now is the host's doing.
        EXPECT_THAT(m_machine.LogMessages(), Contains("[zorvaneprocess] add AmdSdkTask"));
        EXPECT_THAT(m_machine.LogMessages(),
                    Not(Contains(HasSubstr("[zorvaneprocess] ZorvaneProcess Uninit"))));
    }

    CRecordingStub m_stub;
    const CSimulatedMachine m_machine{{.scenario = kRyzenScenario}};
};

}  // namespace

TEST_F(Orphan, LeavesNoServiceWhenStoppedBeforeTheFirstCycle) {
    StopAtTheHello();
    EXPECT_EQ(ServiceState(), std::nullopt);
}

TEST_F(Orphan, LeavesTheServiceWithSkipDelete) {
    StopAtTheHello(L"Skip_Delete");
    EXPECT_EQ(ServiceState(), DWORD{SERVICE_RUNNING})
        << testing::PrintToString(m_machine.LogMessages());
}

TEST_F(Orphan, LeavesTheServiceThatWasThereBefore) {
    StopAtTheHello(L"skip_delete");
    StopAtTheHello();
    EXPECT_EQ(ServiceState(), DWORD{SERVICE_RUNNING});
}

TEST_F(Orphan, EndsInOrderWhenTheProcessOfItsStubHasGone) {
    const CChildProcess parent(BuildFolder(L"tests") + L"\\fakeworker.exe", L"blind");
    const auto worker = StartWorker(parent.ParentWord());
    parent.Kill();
    EXPECT_EQ(worker->Wait(), 0u);
    EXPECT_THAT(m_machine.LogMessages(), Contains("[msgloopprocess] OnCopyData StopLoop"));
    EXPECT_EQ(ServiceState(), std::nullopt);
}

TEST_F(Orphan, IsEndedByForceAndItsServiceRemovedWhenTheVendorsLibraryHangs) {
    std::string scenario = kRyzenScenario;
    scenario.insert(scenario.find(R"("pmTable")"), R"("results": {"IPlatform::Init": "hang"}, )");
    const CSimulatedMachine machine({.scenario = scenario});
    const CChildProcess parent(BuildFolder(L"tests") + L"\\fakeworker.exe", L"blind");
    const auto worker = machine.StartWorker(m_stub.WindowWord() + L" " + parent.ParentWord());
    ASSERT_TRUE(m_stub.WaitForMessages(kCopyDataHello, 1)) << worker->Errors();
    ASSERT_TRUE(WaitForServiceState(SERVICE_RUNNING)) << worker->Errors();
    parent.Kill();
    EXPECT_EQ(worker->Wait(), 9u);
    EXPECT_THAT(worker->Errors(), HasSubstr("ended by force"));
    EXPECT_EQ(ServiceState(), std::nullopt);
    EXPECT_THAT(machine.Calls(), Contains(HasSubstr("= hang")));
}

TEST_F(Orphan, EndsInOrderWithTheSession) {
    const auto worker = StartWorker(L"");
    const HWND window = FindBroadcastWindow(worker->Id());
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(SendMessageW(window, WM_QUERYENDSESSION, 0, ENDSESSION_LOGOFF), TRUE);
    // Answered by the end of the process alone.
    EXPECT_EQ(SendMessageW(window, WM_ENDSESSION, TRUE, ENDSESSION_LOGOFF), 0);
    EXPECT_EQ(worker->Wait(), 0u);
    EXPECT_THAT(m_machine.LogMessages(), Contains("[msgloopthread] CMsgLoopThread quit msg loop."));
    EXPECT_EQ(ServiceState(), std::nullopt);
}
