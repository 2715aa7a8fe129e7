#include "client/gpuhealth.h"

#include <gtest/gtest.h>

#include "tests/unit/client/readings.h"

namespace zorvane {
namespace {

// What a record has when every reading of its GPU failed, but not its name and its place.
GpuReading Failed() {
    GpuReading reading;
    reading.index = 1;
    reading.name = L"GPU";
    reading.pci = FullReading().pci;
    reading.gpuUtilizationPercent = 0;
    reading.memoryUtilizationPercent = 0;
    return reading;
}

// A record in which nothing at all was read.
GpuReading Nothing() {
    GpuReading reading;
    reading.index = 1;
    return reading;
}

TEST(GpuHealthTest, TellsALostGpuAndItsReturnOnceEach) {
    CGpuHealth health;
    GpuReading reading = FullReading();
    EXPECT_FALSE(health.Check(reading));
    reading = Failed();
    const auto lost = health.Check(reading);
    ASSERT_TRUE(lost);
    EXPECT_EQ(std::get<GpuLostEvent>(*lost).gpu.index, 1u);
    EXPECT_EQ(std::get<GpuLostEvent>(*lost).gpu.busId, "00000000:01:00.0");
    reading = Failed();
    EXPECT_FALSE(health.Check(reading));
    reading = FullReading();
    const auto back = health.Check(reading);
    ASSERT_TRUE(back);
    EXPECT_EQ(std::get<GpuBackEvent>(*back).gpu.busId, "00000000:01:00.0");
    reading = FullReading();
    EXPECT_FALSE(health.Check(reading));
}

TEST(GpuHealthTest, ShowsNoUtilizationOfALostGpu) {
    CGpuHealth health;
    GpuReading reading = FullReading();
    health.Check(reading);
    EXPECT_EQ(reading.gpuUtilizationPercent, 11u);
    for (int times = 0; times < 2; ++times) {
        reading = Failed();
        health.Check(reading);
        EXPECT_FALSE(reading.gpuUtilizationPercent);
        EXPECT_FALSE(reading.memoryUtilizationPercent);
    }
}

TEST(GpuHealthTest, TakesAGpuOfWhichNothingIsReadForLostFromTheBeginning) {
    CGpuHealth health;
    GpuReading reading = Nothing();
    const auto lost = health.Check(reading);
    ASSERT_TRUE(lost);
    EXPECT_FALSE(std::get<GpuLostEvent>(*lost).gpu.busId);
}

TEST(GpuHealthTest, LeavesAGpuAloneThatNeverHadSensors) {
    CGpuHealth health;
    GpuReading reading = Failed();
    EXPECT_FALSE(health.Check(reading));
    EXPECT_EQ(reading.gpuUtilizationPercent, 0u);
}

TEST(GpuHealthTest, NeedsOneReadingToCallAGpuWell) {
    for (int field = 0; field < 5; ++field) {
        CGpuHealth health;
        GpuReading reading = FullReading();
        health.Check(reading);
        reading = Failed();
        (field == 0   ? reading.temperatureCelsius
         : field == 1 ? reading.fanSpeedPercent
         : field == 2 ? reading.clocksMHz[kClockVideo]
         : field == 3 ? reading.gpuUtilizationPercent
                      : reading.memoryUtilizationPercent) = 1;
        EXPECT_FALSE(health.Check(reading)) << field;
    }
}

TEST(GpuHealthTest, ForgetsTheGpusOfAnEarlierWorker) {
    CGpuHealth health;
    GpuReading reading = FullReading();
    health.Check(reading);
    health.Reset();
    reading = Failed();
    EXPECT_FALSE(health.Check(reading));
}

TEST(GpuHealthTest, LeavesAGpuAloneThatTellsItsPlaceAndNothingElse) {
    CGpuHealth health;
    GpuReading reading = Failed();
    reading.name.reset();
    EXPECT_FALSE(health.Check(reading));
    reading.name = L"GPU";
    reading.pci.reset();
    EXPECT_FALSE(health.Check(reading));
}

}  // namespace
}  // namespace zorvane
