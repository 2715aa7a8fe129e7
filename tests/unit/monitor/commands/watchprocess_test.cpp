#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include "base/handle.h"
#include "tests/unit/monitor/commands/monitorprocess.h"

namespace zorvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Asked of the process itself: Wine does not let child processes inherit the mode.
std::optional<DWORD> ErrorModeOf(DWORD processId) {
    const CUniqueHandle process(OpenProcess(PROCESS_ALL_ACCESS, FALSE, processId));
    // At the same address in all processes. The argument that a thread gets does no harm.
    const auto function = reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetErrorMode")));
    const CUniqueHandle thread(
        CreateRemoteThread(process.get(), nullptr, 0, function, nullptr, 0, nullptr));
    DWORD mode = 0;
    const bool isKnown = thread && WaitForSingleObject(thread.get(), INFINITE) == WAIT_OBJECT_0 &&
                         GetExitCodeThread(thread.get(), &mode);
    return isKnown ? std::optional(mode) : std::nullopt;
}

TEST_F(MonitorProcessTest, LetsItsWorkersInheritThatNobodyIsAskedAboutACrash) {
    Start(L"--format json", L"hello");
    ASSERT_TRUE(WaitForWorkers(1)) << m_monitor->Errors();
    EXPECT_EQ(ErrorModeOf(m_monitor->Id()), DWORD{SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX});
}

TEST_F(MonitorProcessTest, ShowsExactlyTheRoundsThatWereAskedFor) {
    EXPECT_EQ(Run(L"--format json --count 2", L"hello static:0 gpu:0 gpu:1 repeat:20"), kExitDone)
        << m_monitor->Errors();
    std::vector<std::string> readings = Types();
    std::erase(readings, "gpu_static");
    std::erase(readings, "hello");
    EXPECT_THAT(readings, ElementsAre("gpu", "gpu", "gpu", "gpu", "worker_exit"));
    EXPECT_EQ(m_monitor->Errors(), "");
}

TEST_F(MonitorProcessTest, CompletesARoundWhenAnySourceRepeatsItself) {
    EXPECT_EQ(
        Run(L"--format json --count 2",
            L"hello gpu:0 cpu:{\\\"CpuTemp\\\":40} cpu:{\\\"CpuTemp\\\":41} gpu:0 gpu:1 gpu:0"),
        kExitDone);
    EXPECT_THAT(Types(), ElementsAre("hello", "gpu", "cpu", "cpu", "gpu", "gpu", "worker_exit"));
}

TEST_F(MonitorProcessTest, PrintsOneTableARoundInTheOrderOfTheBusIds) {
    EXPECT_EQ(Run(L"--count 2", L"hello gpu:0 gpu:1 repeat:20"), kExitDone);
    const std::string text = m_monitor->Output();
    const size_t second = text.find("\n\n");
    ASSERT_NE(second, std::string::npos);
    EXPECT_EQ(text.find("\n\n", second + 1), std::string::npos);
    EXPECT_LT(text.find("Fake GPU 1"), text.find("Fake GPU 0"));
    EXPECT_GT(text.rfind("Fake GPU 0"), second);
}

TEST_F(MonitorProcessTest, ShowsNoReadingOfAGpuThatFellSilentInThisRound) {
    EXPECT_EQ(Run(L"--count 2", L"hello static:1 gpu:0 gpu:1 gpu:0 gpu:0"), kExitDone);
    const std::string text = m_monitor->Output();
    const size_t row = text.rfind("Fake GPU 1");
    ASSERT_NE(row, std::string::npos);
    EXPECT_THAT(text.substr(row, text.find('\n', row) - row),
                testing::MatchesRegex("Fake GPU 1 +n/a +n/a +n/a +n/a .*"));
}

TEST_F(MonitorProcessTest, EndsAfterItsTimeAndShowsTheLastRoundThoughIncomplete) {
    EXPECT_EQ(Run(L"--duration 6", L"hello gpu:0"), kExitDone);
    EXPECT_THAT(m_monitor->Output(), HasSubstr("Fake GPU 0"));
}

TEST_F(MonitorProcessTest, SaysThatNothingCameInItsTime) {
    EXPECT_EQ(Run(L"--duration 0.5", L"hello"), kExitNoReading);
}

TEST_F(MonitorProcessTest, PassesWordsVariablesAndNameToTheWorker) {
    EXPECT_EQ(Run(L"--format json --no-restart --entry \"my worker\" --env ZORVANE_TEST_CODE=77",
                  L"hello env:ZORVANE_TEST_CODE"),
              kExitNoReading);
    EXPECT_THAT(Types(), ElementsAre("hello", "worker_exit"));
    EXPECT_EQ(Lines()[0].at("entry"), "my worker");
    EXPECT_EQ(Lines()[1].at("exit_code"), 77);
}

TEST_F(MonitorProcessTest, ReportsBadPayloadsOnceAMinuteAndGoesOn) {
    EXPECT_EQ(Run(L"--format json --count 3", L"hello bytes:3344:440 gpu:0 repeat:20"), kExitDone);
    const std::vector<std::string> types = Types();
    EXPECT_EQ(std::count(types.begin(), types.end(), "error"), 1);
    EXPECT_EQ(std::count(types.begin(), types.end(), "gpu"), 3);
    EXPECT_EQ(Lines()[1].at("text"), "GPU record of 440 bytes, expected 448");
}

TEST_F(MonitorProcessTest, ReportsBadPayloadsBesideTheTable) {
    EXPECT_EQ(Run(L"--count 1", L"hello bytes:3344:440 gpu:0 repeat:20"), kExitDone);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("GPU record of 440 bytes, expected 448"));
}

TEST_F(MonitorProcessTest, StartsACrashedWorkerAgain) {
    Start(L"--format json", L"hello gpu:0 crash");
    ASSERT_TRUE(WaitForWorkers(2));
    const std::vector<nlohmann::json> lines = Lines();
    ASSERT_THAT(Types(), testing::SizeIs(testing::Ge(4u)));
    EXPECT_EQ(lines[2].at("crashed"), true);
    EXPECT_EQ(lines[2].at("restart_in_ms"), 1000);
    EXPECT_EQ(lines[3].at("type"), "hello");
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("starting it again in 1 s"));
}

TEST_F(MonitorProcessTest, DoesNotStartACrashedWorkerAgainWhenToldSo) {
    EXPECT_EQ(Run(L"--format json --no-restart", L"hello gpu:0 crash"), kExitWorkerEnded);
    EXPECT_THAT(Types(), ElementsAre("hello", "gpu", "worker_exit"));
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("crashed: access violation (0xC0000005)"));
}

TEST_F(MonitorProcessTest, SaysThatAWorkerWithoutReadingsFoundNothingToRead) {
    EXPECT_EQ(Run(L"", L"hello exit:0"), kExitNoReading);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("no NVIDIA GPU and no AMD CPU sensor"));
    // The fake worker has none, so no place is claimed for it.
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("its log cannot be found"));
    EXPECT_THAT(m_monitor->Errors(), testing::Not(HasSubstr("see the log")));
}

TEST_F(MonitorProcessTest, TellsAnEarlyOrderlyEndFromACrash) {
    EXPECT_EQ(Run(L"--count 5", L"hello gpu:0 exit:0"), kExitWorkerEnded);
    EXPECT_THAT(m_monitor->Output(), HasSubstr("Fake GPU 0"));
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("ended by itself (0)"));
}

TEST_F(MonitorProcessTest, DoesNotRepeatAHostsFailure) {
    EXPECT_EQ(Run(L"", L"exit:4"), kExitNotStarted);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("no export ZorvaneProcess (4)"));
}

TEST_F(MonitorProcessTest, NamesAHostThatIsMissing) {
    StartPlain(L"--host missing.exe");
    EXPECT_EQ(m_monitor->Wait(kTimeoutMs), kExitNotStarted);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("CreateProcessW missing.exe: "));
}

TEST_F(MonitorProcessTest, RefusesAWrongCommandLine) {
    EXPECT_EQ(Run(L"--count 0", L""), kExitUsage);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("--count"));
    EXPECT_EQ(m_monitor->Output(), "");
}

TEST_F(MonitorProcessTest, BeginsWithWhereTheReadingsComeFrom) {
    EXPECT_EQ(Run(L"--format json --count 1 --entry ten", L"hello gpu:0 gpu:0"), kExitDone);
    const std::vector<nlohmann::json> lines = AllLines();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[0].at("type"), "start");
    EXPECT_NE(lines[0].at("host"), "");
    EXPECT_EQ(lines[0].at("simulated"), false);
    EXPECT_EQ(lines[1].at("type"), "worker_start");
    EXPECT_EQ(lines[1].at("worker_pid"), lines[2].at("worker_pid"));
    for (const nlohmann::json& line : lines) {
        EXPECT_EQ(line.at("schema"), 1);
        EXPECT_EQ(line.at("host"), lines[0].at("host"));
        EXPECT_EQ(line.at("entry"), "ten");
    }
}

TEST_F(MonitorProcessTest, NoticesAWorkerThatFallsSilent) {
    Start(L"--format json --stale-after 0.3", L"hello gpu:0 gpu:0");
    ASSERT_TRUE(WaitUntil([this] {
        const std::vector<std::string> types = Types();
        const auto reading = std::find(types.begin(), types.end(), "gpu");
        return std::find(reading, types.end(), "stale") != types.end();
    }));
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("no complete round of readings since"));
}

TEST_F(MonitorProcessTest, ShowsNumbersThatCannotBeAsNotRead) {
    EXPECT_EQ(Run(L"--format json --count 1",
                  L"hello cpu:{\\\"CpuTemp\\\":-2147483648} cpu:{\\\"CpuTemp\\\":40} repeat:20"),
              kExitDone);
    EXPECT_THAT(Types(), ElementsAre("hello", "error", "cpu", "worker_exit"));
    EXPECT_EQ(Lines()[1].at("cause"), "implausible");
    EXPECT_TRUE(Lines()[2].at("temperature_celsius").is_null());
}

TEST_F(MonitorProcessTest, LeavesItsWorkerToEndInOrderWhenItIsKilled) {
    Start(L"--format json", L"deaf hello gpu:0 repeat:20");
    ASSERT_TRUE(WaitForWorkers(1));
    const CUniqueHandle worker = m_monitor->OpenChild(L"fakeworker.exe");
    ASSERT_TRUE(worker);
    m_monitor->Kill();
    ASSERT_EQ(WaitForSingleObject(worker.get(), kTimeoutMs), WAIT_OBJECT_0);
    DWORD code = 1;
    EXPECT_TRUE(GetExitCodeProcess(worker.get(), &code));
    EXPECT_EQ(code, 0u);
}

}  // namespace
}  // namespace zorvane
