// What a line of the log allocates, which is the same on any machine.
#include <gtest/gtest.h>

#include "src/log/logger.h"
#include "src/log/logsite.h"
#include "tests/support/allocationrecord.h"
#include "tests/support/testlog.h"

namespace {

constexpr char kLogSource[] = "tests\\lineallocations_test.cpp";

size_t AllocationsOfALine() {
    CAllocationRecord allocations;
    LOG_INFO(L"%s %d", L"a text that is longer than a short one", 7);
    allocations.StopCounting();
    return CAllocationRecord::Count();
}

}  // namespace

TEST(LineAllocations, AreAtMostFour) {
    const CTestLog log;
    LOG_INFO(L"the file is opened with its first line");
    EXPECT_LE(AllocationsOfALine(), 4u);
}

TEST(LineAllocations, AreNoneWhileTheLogIsOff) {
    const CTestLog log;
    ZorLog::SetLogLevel(ZorLog::kLevelOff);
    EXPECT_EQ(AllocationsOfALine(), 0u);
}
