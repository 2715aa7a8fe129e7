// The log of workers of the shipped library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "tests/e2e/simulatedmachine.h"
#include "tests/support/logfile.h"
#include "tests/support/records.h"

using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::Not;

namespace {

const MachineParts kParts{.scenario = kTwoGpus, .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"};

// Runs a worker for `cycles` cycles.
void RunWorker(const CSimulatedMachine& machine, size_t cycles) {
    CRecordingStub stub;
    const auto worker = machine.StartWorker(stub.WindowWord());
    ASSERT_TRUE(stub.WaitForMessages(kCopyDataTaskData, 2 + 2 * cycles)) << worker->Errors();
    stub.SendToWorker(kCopyDataStop);
    ASSERT_EQ(worker->Wait(), 0u);
}

size_t CountContaining(const std::vector<std::string>& lines, const std::string& text) {
    return static_cast<size_t>(std::count_if(
        lines.begin(), lines.end(),
        [&text](const std::string& line) { return line.find(text) != std::string::npos; }));
}

}  // namespace

TEST(WorkerLog, HasWholeLinesOfOneForm) {
    const CSimulatedMachine machine(kParts);
    RunWorker(machine, 1);
    const std::string bytes = ReadFileBytes(machine.LogPath());
    ASSERT_TRUE(bytes.ends_with("\r\n"));
    const std::regex form(R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \[ *\d+\]\[ *\d+\]\[E\])"
                          R"((-------log \w+|\[I\]\[ *\d+\]\[\w+\] .+))");
    for (const std::string& line : SplitLines(bytes)) {
        EXPECT_TRUE(std::regex_match(line, form)) << line;
    }
}

TEST(WorkerLog, GoesQuietAfterFiveCyclesButForItsMarker) {
    const CSimulatedMachine machine(kParts);
    RunWorker(machine, 8);
    const std::vector<std::string> lines = machine.LogLines();
    EXPECT_EQ(CountContaining(lines, "NVML gpu count:2"), 6u);
    EXPECT_GE(CountContaining(lines, "-------log off"), 2u);
    EXPECT_EQ(lines.front(), "[E]-------log start");
    EXPECT_EQ(lines.back(), "[E]-------log off");
}

TEST(WorkerLog, GoesOnWhileItsMarkerFileIsThere) {
    const CSimulatedMachine machine(kParts);
    WriteFileBytes(machine.LogPath() + L".on", "");
    RunWorker(machine, 7);
    const std::vector<std::string> lines = machine.LogLines();
    EXPECT_GE(CountContaining(lines, "NVML gpu count:2"), 7u);
    EXPECT_THAT(lines, Each(Not(HasSubstr("-------log off"))));
    EXPECT_THAT(lines.back(), HasSubstr("CMsgLoopThread quit msg loop."));
}

TEST(WorkerLog, IsSharedByWorkersThatRunAtOnce) {
    const CSimulatedMachine machine(kParts);
    CRecordingStub first;
    CRecordingStub second;
    const auto firstWorker = machine.StartWorker(first.WindowWord() + L" --entry=first");
    ASSERT_TRUE(first.WaitForMessages(kCopyDataTaskData, 2)) << firstWorker->Errors();
    const auto secondWorker = machine.StartWorker(second.WindowWord() + L" --entry=second");
    ASSERT_TRUE(second.WaitForMessages(kCopyDataTaskData, 2)) << secondWorker->Errors();
    first.SendToWorker(kCopyDataStop);
    second.SendToWorker(kCopyDataStop);
    ASSERT_EQ(firstWorker->Wait(), 0u);
    ASSERT_EQ(secondWorker->Wait(), 0u);
    const std::vector<std::string> messages = machine.LogMessages();
    EXPECT_THAT(messages, Contains(HasSubstr("--entry=first")));
    EXPECT_THAT(messages, Contains(HasSubstr("--entry=second")));
    EXPECT_EQ(CountContaining(messages, "CZorvaneProcess::Init"), 2u);
}

TEST(WorkerLog, BeginsAnewWhenNoWorkerUsesIt) {
    const CSimulatedMachine machine(kParts);
    RunWorker(machine, 1);
    RunWorker(machine, 1);
    EXPECT_EQ(CountContaining(machine.LogMessages(), "CZorvaneProcess::Init"), 1u);
}

TEST(WorkerLog, TakesFormatsInACommandLineAsText) {
    const CSimulatedMachine machine(kParts);
    const auto worker = machine.StartWorker(L"--entry=%s%n%5000d " + std::wstring(3000, L'x'));
    ASSERT_EQ(worker->Wait(), 0u);
    EXPECT_THAT(machine.LogMessages().front(),
                testing::EndsWith("--entry=%s%n%5000d " + std::string(3000, 'x')));
}
