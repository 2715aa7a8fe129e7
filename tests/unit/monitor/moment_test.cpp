#include "monitor/moment.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

TEST(MomentTest, WritesAndReadsTheSameTime) {
    for (const char* text : {"2024-02-29T23:59:59.999Z", "1970-01-01T00:00:00.000Z",
                             "2024-01-02T03:04:05.006Z", "9999-12-31T00:00:00.000Z"}) {
        const auto time = ParseRfc3339(text);
        ASSERT_TRUE(time) << text;
        EXPECT_EQ(Rfc3339(*time), text);
    }
    EXPECT_EQ(ParseRfc3339("1970-01-01T00:00:01.500Z")->time_since_epoch().count(), 1500);
}

TEST(MomentTest, ReadsNothingElse) {
    for (const char* text :
         {"", "2024-01-02", "2024-01-02T03:04:05Z", "2024-01-02 03:04:05.006Z",
          "2024-13-02T03:04:05.006Z", "2023-02-29T03:04:05.006Z", "2024-01-02T24:00:00.000Z",
          "2024-01-02T03:60:05.006Z", "2024-01-02T03:04:60.006Z", "2024-01-02T03:04:05.006+",
          "2024-01-02T03:04:-5.006Z", "2024-01-02T03:04:05.006ZZ", "x024-01-02T03:04:05.006Z",
          "2024-x1-02T03:04:05.006Z", "2024-01-x2T03:04:05.006Z", "2024-01-02Tx3:04:05.006Z",
          "2024-01-02T03:x4:05.006Z", "2024-01-02T03:04:x5.006Z", "2024-01-02T03:04:05.x06Z"}) {
        EXPECT_FALSE(ParseRfc3339(text)) << text;
    }
}

TEST(MomentTest, TakesBothScalesFromWindows) {
    // 2024-01-02T03:04:05.006Z in steps of 100 ns since 1601.
    constexpr ULONGLONG kSteps = 133486382450060000;
    PATCH_IMPORT(utc, GetSystemTimeAsFileTime, [](LPFILETIME time) {
        *time = {static_cast<DWORD>(kSteps), static_cast<DWORD>(kSteps >> 32)};
    });
    PATCH_IMPORT(ticks, GetTickCount64, []() -> ULONGLONG { return 77; });
    const Moment now = ReadMoment();
    EXPECT_EQ(Rfc3339(now.utc), "2024-01-02T03:04:05.006Z");
    EXPECT_EQ(now.tick, std::chrono::milliseconds(77));
}

TEST(MomentTest, ShowsTheMachinesOwnClockAsItStoodThen) {
    PATCH_IMPORT(
        local, SystemTimeToTzSpecificLocalTime,
        [](const TIME_ZONE_INFORMATION*, const SYSTEMTIME* utc, LPSYSTEMTIME result) -> WINBOOL {
            *result = *utc;
            result->wHour = static_cast<WORD>(utc->wHour + 2);
            return TRUE;
        });
    EXPECT_EQ(LocalClock(*ParseRfc3339("2024-01-02T03:04:05.006Z")), "05:04:05");
}

TEST(MomentTest, ShowsUtcWhereWindowsDoesNotTellTheOffset) {
    const UtcTime time = *ParseRfc3339("2024-01-02T03:04:05.006Z");
    {
        PATCH_IMPORT(local, SystemTimeToTzSpecificLocalTime,
                     [](const TIME_ZONE_INFORMATION*, const SYSTEMTIME*, LPSYSTEMTIME) -> WINBOOL {
                         return FALSE;
                     });
        EXPECT_EQ(LocalClock(time), "03:04:05");
    }
    PATCH_IMPORT(parts, FileTimeToSystemTime,
                 [](const FILETIME*, LPSYSTEMTIME) -> WINBOOL { return FALSE; });
    EXPECT_EQ(LocalClock(time), "03:04:05");
}

}  // namespace
}  // namespace zorvane
