#include "monitor/sources/batterywatch.h"

#include <gtest/gtest.h>

#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

using namespace std::chrono_literals;

SYSTEM_POWER_STATUS Status(BYTE line, BYTE flag) {
    SYSTEM_POWER_STATUS status{};
    status.ACLineStatus = line;
    status.BatteryFlag = flag;
    return status;
}

TEST(Battery, IsWhatAComputerWithoutMainsRunsOn) {
    EXPECT_TRUE(IsOnBattery(Status(0, 1), false));
    EXPECT_TRUE(IsOnBattery(Status(0, 4), false));
    EXPECT_TRUE(IsOnBattery(Status(0, 255), false));
    EXPECT_FALSE(IsOnBattery(Status(1, 1), true));
    EXPECT_FALSE(IsOnBattery(Status(1, 8), true));
}

TEST(Battery, IsNothingThatAComputerWithoutOneRunsOn) {
    EXPECT_FALSE(IsOnBattery(Status(0, 128), true));
    EXPECT_FALSE(IsOnBattery(Status(1, 128), true));
}

TEST(Battery, StaysAsItWasWhereWindowsDoesNotKnow) {
    EXPECT_TRUE(IsOnBattery(Status(255, 255), true));
    EXPECT_FALSE(IsOnBattery(Status(255, 255), false));
}

TEST(Battery, StaysAsItWasWhereWindowsGivesNoAnswer) {
    BOOL answer = FALSE;
    PATCH_IMPORT(power, GetSystemPowerStatus, [&](LPSYSTEM_POWER_STATUS status) -> WINBOOL {
        *status = Status(0, 1);
        return answer;
    });
    CBatteryWatch watch;
    EXPECT_FALSE(watch.Check({{}, 10s}));
    EXPECT_EQ(watch.DueTick(), 10s + CBatteryWatch::kPause);
    answer = TRUE;
    EXPECT_TRUE(watch.Check({{}, 15s}));
    EXPECT_TRUE(watch.IsOn());
    answer = FALSE;
    EXPECT_TRUE(watch.Check({{}, 20s}));
}

}  // namespace
}  // namespace zorvane
