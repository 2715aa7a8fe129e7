#include "monitor/clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

TEST(ClockTest, WritesUtcWithMilliseconds) {
    SYSTEMTIME time{};
    time.wYear = 2024;
    time.wMonth = 1;
    time.wDay = 2;
    time.wHour = 3;
    time.wMinute = 4;
    time.wSecond = 5;
    time.wMilliseconds = 6;
    EXPECT_EQ(Rfc3339(time), "2024-01-02T03:04:05.006Z");
}

TEST(ClockTest, TakesLinesFromUtcAndTablesFromTheMachinesOwnClock) {
    PATCH_IMPORT(utc, GetSystemTime,
                 [](LPSYSTEMTIME time) { *time = {2024, 1, 1, 2, 3, 4, 5, 6}; });
    PATCH_IMPORT(local, GetLocalTime,
                 [](LPSYSTEMTIME time) { *time = {2024, 1, 1, 2, 5, 6, 7, 8}; });
    EXPECT_EQ(UtcNow(), "2024-01-02T03:04:05.006Z");
    EXPECT_EQ(LocalClock(), "05:06:07");
}

}  // namespace
}  // namespace zorvane
