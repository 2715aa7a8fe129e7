// The calls that a line of the log costs, which are the same on any machine.
#include <gtest/gtest.h>

#include "src/log/logger.h"
#include "src/log/logsite.h"
#include "tests/support/callcounts.h"
#include "tests/support/testlog.h"

namespace {

constexpr char kLogSource[] = "tests\\linecost_test.cpp";

void LogOneLine() { LOG_INFO(L"%s %d", L"a text that is longer than a short one", 7); }

template <typename Work>
CallsByName SystemCallsOf(Work work) {
    CCallCounts counts(nullptr);
    counts.Begin();
    work();
    return counts.End(CalledLibraries::kSystem);
}

}  // namespace

TEST(LineCost, IsTheSameCallsForEachLine) {
    const CTestLog log;
    LogOneLine();
    const CallsByName expected = {{"EnterCriticalSection", 4}, {"LeaveCriticalSection", 4},
                                  {"GetCurrentProcessId", 1},  {"GetCurrentThreadId", 1},
                                  {"WideCharToMultiByte", 1},  {"OpenMutexW", 1},
                                  {"WaitForSingleObject", 1},  {"ReleaseMutex", 1}};
    EXPECT_EQ(SystemCallsOf(LogOneLine), expected);
}

TEST(LineCost, IsOneWriteToTheFile) {
    const CTestLog log;
    LogOneLine();
    CCallCounts counts(nullptr);
    counts.Begin();
    LogOneLine();
    EXPECT_EQ(counts.End()["_write"], 1u);
}

TEST(LineCost, IsEnteringAndLeavingWhileTheLogIsOff) {
    const CTestLog log;
    ZorLog::SetLogLevel(ZorLog::kLevelOff);
    const CallsByName expected = {{"EnterCriticalSection", 1}, {"LeaveCriticalSection", 1}};
    EXPECT_EQ(SystemCallsOf(LogOneLine), expected);
}
