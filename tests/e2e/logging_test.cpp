// The log of workers of the shipped library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <regex>

#include "base/handle.h"
#include "src/log/logfile.h"
#include "tests/e2e/simulatedmachine.h"
#include "tests/support/logfile.h"
#include "tests/support/records.h"

using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::Not;

namespace {

const MachineParts kParts{.scenario = kTwoGpus, .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"};

MachineParts In(const std::wstring& folder, size_t length = 0) {
    MachineParts parts = kParts;
    parts.folder = folder;
    parts.folderLength = length;
    return parts;
}

// The longest folder of a library whose log still has a path.
constexpr size_t kLongestFolder = MAX_PATH - 1 - std::size(ZorLog::kLogFile);

// The log's mutex, made by somebody who lets nobody else have it.
zorvane::CUniqueHandle MakeMutexOfAnother(const std::wstring& name) {
    ACL nobody;
    SECURITY_DESCRIPTOR descriptor;
    SECURITY_ATTRIBUTES attributes{sizeof(attributes), &descriptor, FALSE};
    EXPECT_TRUE(InitializeAcl(&nobody, sizeof(nobody), ACL_REVISION));
    EXPECT_TRUE(InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
    EXPECT_TRUE(SetSecurityDescriptorDacl(&descriptor, TRUE, &nobody, FALSE));
    zorvane::CUniqueHandle mutex(CreateMutexW(&attributes, FALSE, name.c_str()));
    EXPECT_FALSE(zorvane::CUniqueHandle(OpenMutexW(MUTEX_ALL_ACCESS, FALSE, name.c_str())));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    return mutex;
}

// A log file that is open in another program, as another worker has it or for that program alone.
zorvane::CUniqueHandle OpenAsAnother(const std::wstring& path, DWORD shared) {
    zorvane::CUniqueHandle file =
        zorvane::OwnFile(CreateFileW(path.c_str(), GENERIC_WRITE, shared, nullptr, OPEN_EXISTING,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_TRUE(file);
    return file;
}

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

TEST(WorkerLog, MayHaveAPathOfAnyCharacters) {
    const CSimulatedMachine machine(In(L"\x00E4 \x0436 \x4E2D"));
    RunWorker(machine, 1);
    EXPECT_THAT(machine.LogMessages(), Contains(HasSubstr("OnCopyData StopLoop")));
}

TEST(WorkerLog, MayHaveTheLongestPathThatWindowsKnows) {
    const CSimulatedMachine machine(In(L"", kLongestFolder));
    ASSERT_EQ(machine.LogPath().size(), MAX_PATH - 1u);
    RunWorker(machine, 1);
    EXPECT_THAT(machine.LogMessages(), Contains(HasSubstr("OnCopyData StopLoop")));
}

TEST(WorkerLog, IsDoneWithoutWhereItsPathWouldBeTooLong) {
    const CSimulatedMachine machine(In(L"", kLongestFolder + 1));
    RunWorker(machine, 2);
    EXPECT_TRUE(std::filesystem::is_empty(std::filesystem::path(machine.LogPath()).parent_path()));
}

TEST(WorkerLog, IsDoneWithoutWhileAnotherProgramHasTheFileForItself) {
    const CSimulatedMachine machine(kParts);
    WriteFileBytes(machine.LogPath(), "of another\r\n");
    const zorvane::CUniqueHandle file = OpenAsAnother(machine.LogPath(), FILE_SHARE_READ);
    RunWorker(machine, 2);
    EXPECT_EQ(ReadFileBytes(machine.LogPath()), "of another\r\n");
}

// As it is for a worker without rights beside one that runs as an administrator.
TEST(WorkerLog, IsLeftToAWorkerWhoseMutexCannotBeOpened) {
    const CSimulatedMachine machine(kParts);
    WriteFileBytes(machine.LogPath(), "of another\r\n");
    const zorvane::CUniqueHandle mutex =
        MakeMutexOfAnother(ZorLog::LogMutexName(machine.LogPath()));
    const zorvane::CUniqueHandle file =
        OpenAsAnother(machine.LogPath(), FILE_SHARE_READ | FILE_SHARE_WRITE);
    RunWorker(machine, 2);
    EXPECT_EQ(ReadFileBytes(machine.LogPath()), "of another\r\n");
}
