// Ways in which a worker of the shipped library ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/e2e/simulatedmachine.h"
#include "tests/support/records.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

MachineParts TwoGpusOnly() {
    return {.scenario = kTwoGpus, .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"};
}

}  // namespace

// The work thread looks for the stop after each record. It waits for the answer to the last record
// of the first cycle while the stop arrives, so that it always finds the stop within the cycle.
TEST(Ending, IsOrderlyOnAStopMessageWithinACycle) {
    int records = 0;
    CRecordingStub stub([&](const StubMessage& message) {
        records += message.code == kCopyDataTaskData ? 1 : 0;
        if (message.code == kCopyDataTaskData && records == 4) {
            EXPECT_EQ(stub.SendToWorker(kCopyDataStop), TRUE);
        }
    });
    const CSimulatedMachine machine(TwoGpusOnly());
    const auto worker = machine.StartWorker(stub.WindowWord());
    EXPECT_EQ(worker->Wait(), 0u);
    EXPECT_THAT(
        machine.MessagesFromStop(),
        ElementsAre("[msgloopprocess] OnCopyData StopLoop", "[zorvaneprocess] task erro. size:0",
                    "[zorvaneprocess] ZorvaneProcess Uninit. size:0",
                    "[msgloopprocess] WorkThreadFun process quit.",
                    "[msgloopthread] CMsgLoopThread quit msg loop."));
}

TEST(Ending, DoesNotComeWithACodeThatOnlyBeginsLikeTheStopMessage) {
    CRecordingStub stub;
    const CSimulatedMachine machine(TwoGpusOnly());
    const auto worker = machine.StartWorker(stub.WindowWord());
    ASSERT_TRUE(stub.WaitForMessages(kCopyDataTaskData, 4)) << worker->Errors();
    EXPECT_EQ(stub.SendToWorker(0x100000D11), TRUE);
    EXPECT_EQ(stub.SendToWorker(kCopyDataHello), TRUE);
    EXPECT_EQ(stub.SendToWorker(kCopyDataTaskData), TRUE);
    EXPECT_TRUE(stub.WaitForMessages(kCopyDataTaskData, 8));
    stub.SendToWorker(kCopyDataStop);
    EXPECT_EQ(worker->Wait(), 0u);
}

TEST(Ending, ComesWhenTheStubWindowHasGone) {
    CRecordingStub stub;
    const CSimulatedMachine machine(TwoGpusOnly());
    const auto worker = machine.StartWorker(stub.WindowWord());
    ASSERT_TRUE(stub.WaitForMessages(kCopyDataTaskData, 2)) << worker->Errors();
    stub.Destroy();
    EXPECT_EQ(worker->Wait(), 0u);
    EXPECT_THAT(machine.LogMessages(),
                Contains("[msgloopprocess] Stub do NOT exists, process quit."));
}

TEST(Ending, ComesAtTheFirstCheckWithoutAStubWindow) {
    const CSimulatedMachine machine(TwoGpusOnly());
    const auto worker = machine.StartWorker(L"--wnd=0x1A2B --entry=nobody");
    EXPECT_EQ(worker->Wait(), 0u);
    const std::vector<std::string> messages = machine.LogMessages();
    EXPECT_THAT(messages, Contains("[msgloopprocess] Send msg to stub wnd failed, msg=3343"));
    EXPECT_THAT(messages, Contains("[nvmlinfotask] NVML gpu count:2"));
    EXPECT_THAT(messages, Contains("[msgloopprocess] Stub do NOT exists, process quit."));
}

TEST(Ending, ComesAtOnceWhenNoTaskIsLeft) {
    CRecordingStub stub;
    MachineParts parts = TwoGpusOnly();
    parts.nvml = L"none";
    const CSimulatedMachine machine(parts);
    const auto worker = machine.StartWorker(stub.WindowWord());
    EXPECT_EQ(worker->Wait(), 0u);
    std::vector<std::string> messages = machine.LogMessages();
    ASSERT_GT(messages.size(), 2u);
    EXPECT_THAT(messages[0], HasSubstr("[msgloopprocess] cmd:"));
    EXPECT_THAT(messages[2], HasSubstr("CNvmlInfoTask::Init file not exist. "));
    messages.erase(messages.begin() + 2);
    messages.erase(messages.begin());
    EXPECT_THAT(messages, ElementsAre("[zorvaneprocess] CZorvaneProcess::Init",
                                      "[zorvaneprocess] add NvmlInfoTask failed",
                                      "[zorvaneprocess] sdk_flag is off...",
                                      "[zorvaneprocess] ZorvaneProcess Uninit. size:0",
                                      "[msgloopprocess] WorkThreadFun process quit.",
                                      "[msgloopprocess] CMsgLoopProcess OnClose.",
                                      "[msgloopthread] CMsgLoopThread quit msg loop."));
    EXPECT_EQ(CountMessages(stub.Messages(), kCopyDataHello), 1u);
}

TEST(Ending, LeavesNoLineOutWhenStoppedWhileItStarts) {
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        CRecordingStub stub;
        const CSimulatedMachine machine(TwoGpusOnly());
        const auto worker = machine.StartWorker(stub.WindowWord());
        ASSERT_TRUE(stub.WaitForMessages(kCopyDataHello, 1)) << worker->Errors();
        stub.SendToWorker(kCopyDataStop);
        ASSERT_EQ(worker->Wait(), 0u) << "round " << round;
        EXPECT_THAT(machine.LogMessages(),
                    Contains("[msgloopprocess] WorkThreadFun process quit."));
    }
}

TEST(Ending, IsThatOfTheProcessWhenTheVendorLibraryCrashes) {
    CRecordingStub stub;
    MachineParts parts = TwoGpusOnly();
    parts.nvml = L"crashes";
    const CSimulatedMachine machine(parts);
    const auto worker = machine.StartWorker(stub.WindowWord());
    EXPECT_EQ(worker->Wait(), 0xC0000005u);
    EXPECT_THAT(machine.LogMessages(), Contains("[zorvaneprocess] add NvmlInfoTask"));
    EXPECT_THAT(machine.LogMessages(), Not(Contains(HasSubstr("OnClose"))));
}
