#include "client/plausible.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zorvane {
namespace {

using testing::HasSubstr;

GpuReading HighestReading() {
    GpuReading reading;
    reading.index = 3;
    reading.gpuUtilizationPercent = 100;
    reading.memoryUtilizationPercent = 100;
    reading.temperatureCelsius = 150;
    reading.fanSpeedPercent = 200;
    reading.clocksMHz = {50000, 50000, 50000, 50000};
    return reading;
}

TEST(PlausibleTest, TakesWhatAnExtremeMachineMayReport) {
    GpuStatic fixed{HighestReading(), uint64_t{16} << 30, {}, {}, {}, {50000, 1, 2, 50000}};
    EXPECT_FALSE(RemoveImplausible(fixed));
    EXPECT_EQ(fixed.first.gpuUtilizationPercent, 100u);
    EXPECT_EQ(fixed.first.fanSpeedPercent, 200u);
    EXPECT_EQ(fixed.maxClocksMHz[kClockVideo], 50000u);
    EXPECT_FALSE(RemoveImplausible(fixed.first));
    for (const int celsius : {-100, 0, 150}) {
        EXPECT_FALSE(CheckPlausible(CpuTemperature{celsius}));
    }
}

TEST(PlausibleTest, TakesEachImplausibleNumberOutAndNamesIt) {
    GpuReading reading = HighestReading();
    reading.gpuUtilizationPercent = 101;
    reading.memoryUtilizationPercent = 4294967295;
    reading.temperatureCelsius = 151;
    reading.fanSpeedPercent = 4294967294;
    reading.clocksMHz = {50001, 1800, 4294967295, 1};
    const auto error = RemoveImplausible(reading);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->fault, PayloadFault::kImplausible);
    EXPECT_EQ(error->text,
              "GPU 3 reports numbers that cannot be: gpu utilization % 101, memory utilization % "
              "4294967295, temperature C 151, fan speed % 4294967294, graphics clock MHz 50001, "
              "memory clock MHz 4294967295");
    EXPECT_FALSE(reading.gpuUtilizationPercent);
    EXPECT_FALSE(reading.memoryUtilizationPercent);
    EXPECT_FALSE(reading.temperatureCelsius);
    EXPECT_FALSE(reading.fanSpeedPercent);
    EXPECT_EQ(reading.clocksMHz, (Clocks{std::nullopt, 1800, std::nullopt, 1}));
}

TEST(PlausibleTest, ChecksWhatDoesNotChangeToo) {
    GpuStatic fixed{HighestReading(), (uint64_t{16} << 30) + 1, {}, {}, {}, {50001, 1, 1, 1}};
    fixed.first.fanSpeedPercent = 201;
    const auto error = RemoveImplausible(fixed);
    ASSERT_TRUE(error);
    EXPECT_THAT(error->text, HasSubstr("total memory KiB 17179869185"));
    EXPECT_THAT(error->text, HasSubstr("maximum graphics clock MHz 50001"));
    EXPECT_THAT(error->text, HasSubstr("fan speed % 201"));
    EXPECT_FALSE(fixed.totalMemoryKiB);
    EXPECT_EQ(fixed.maxClocksMHz, (Clocks{std::nullopt, 1, 1, 1}));
    EXPECT_FALSE(fixed.first.fanSpeedPercent);
}

TEST(PlausibleTest, BelievesNoCpuThatIsColderThanAnyOrHotterThanItsOwnLimit) {
    for (const int celsius : {-2147483647 - 1, -101, 151, 2147483647}) {
        const auto error = CheckPlausible(CpuTemperature{celsius});
        ASSERT_TRUE(error);
        EXPECT_THAT(error->text, HasSubstr(std::to_string(celsius)));
    }
}

}  // namespace
}  // namespace zorvane
