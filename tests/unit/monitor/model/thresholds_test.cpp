#include "monitor/model/thresholds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

GpuReading Hot(uint32_t index, std::optional<uint32_t> celsius) {
    GpuReading reading = Reading(index, "00000000:0" + std::to_string(index) + ":00.0");
    reading.temperatureCelsius = celsius;
    return reading;
}

// Each warning as "what index value up" or "... back".
std::vector<std::string> Told(CThresholdWatch& watch, const EventBody& event) {
    std::vector<std::string> told;
    for (const WarningEvent& warning : watch.Check(event)) {
        told.push_back(
            warning.what + " " + (warning.gpu ? std::to_string(warning.gpu->index) : "none") + " " +
            std::to_string(static_cast<int>(warning.value)) + (warning.over ? " up" : " back"));
    }
    return told;
}

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ThresholdsTest, WarnsWhenAReadingIsOverItsLimitAndWhenItIsBack) {
    CThresholdWatch watch({{"gpu.temp", 85}});
    EXPECT_THAT(Told(watch, Hot(0, 85)), IsEmpty());
    EXPECT_THAT(Told(watch, Hot(0, 86)), ElementsAre("gpu.temp 0 86 up"));
    EXPECT_THAT(Told(watch, Hot(0, 90)), IsEmpty());
    EXPECT_THAT(Told(watch, Hot(0, 82)), ElementsAre("gpu.temp 0 82 back"));
    EXPECT_THAT(Told(watch, Hot(0, 20)), IsEmpty());
}

TEST(ThresholdsTest, DoesNotFlutterAboutTheLimit) {
    CThresholdWatch watch({{"gpu.temp", 85}});
    Told(watch, Hot(0, 86));
    for (const uint32_t celsius : {85u, 86u, 83u, 86u}) {
        EXPECT_THAT(Told(watch, Hot(0, celsius)), IsEmpty()) << celsius;
    }
    EXPECT_THAT(Told(watch, Hot(0, 82)), ElementsAre("gpu.temp 0 82 back"));
    EXPECT_THAT(Told(watch, Hot(0, 85)), IsEmpty());
}

TEST(ThresholdsTest, KeepsGpusApartAndNamesThem) {
    CThresholdWatch watch({{"gpu.temp", 85}});
    EXPECT_THAT(Told(watch, Hot(0, 90)), ElementsAre("gpu.temp 0 90 up"));
    GpuReading second = Hot(1, 91);
    const auto warnings = watch.Check(second);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].gpu->busId, "00000000:01:00.0");
    EXPECT_EQ(warnings[0].limit, 85);
    second = Hot(1, 70);
    second.pci.reset();
    EXPECT_EQ(watch.Check(second).at(0).gpu->busId, "00000000:01:00.0");
}

TEST(ThresholdsTest, TakesAMissingReadingForNoChange) {
    CThresholdWatch watch({{"gpu.temp", 85}});
    Told(watch, Hot(0, 90));
    EXPECT_THAT(Told(watch, Hot(0, std::nullopt)), IsEmpty());
    EXPECT_THAT(Told(watch, WorkerStartEvent{2}), IsEmpty());
    EXPECT_THAT(Told(watch, Hot(0, 90)), IsEmpty());
    EXPECT_THAT(Told(watch, Hot(0, 60)), ElementsAre("gpu.temp 0 60 back"));
}

TEST(ThresholdsTest, BeginsAnewWithAnotherStart) {
    CThresholdWatch watch({{"cpu.temp", 95}});
    EXPECT_THAT(Told(watch, CpuTemperature{96}), ElementsAre("cpu.temp none 96 up"));
    Told(watch, StartEvent());
    EXPECT_THAT(Told(watch, CpuTemperature{96}), ElementsAre("cpu.temp none 96 up"));
}

TEST(ThresholdsTest, KnowsAReadingForEachOfItsWords) {
    GpuReading reading = FullReading();
    reading.gpuUtilizationPercent = 1;
    reading.memoryUtilizationPercent = 2;
    reading.temperatureCelsius = 3;
    reading.fanSpeedPercent = 4;
    std::map<std::string, int64_t> values;
    for (const WatchedReading& watched : WatchedReadings()) {
        const bool isGpu = std::string(watched.what).starts_with("gpu.");
        const EventBody event = isGpu ? EventBody(reading) : EventBody(CpuTemperature{-5});
        values[watched.what] = watched.valueOf(event).value_or(0);
        EXPECT_FALSE(watched.valueOf(HelloEvent())) << watched.what;
    }
    EXPECT_EQ(
        values,
        (std::map<std::string, int64_t>{
            {"gpu.util", 1}, {"gpu.mem", 2}, {"gpu.temp", 3}, {"gpu.fan", 4}, {"cpu.temp", -5}}));
}

TEST(ThresholdsTest, WarnsOfNothingThatIsNotAskedFor) {
    CThresholdWatch watch({});
    EXPECT_THAT(Told(watch, Hot(0, 149)), IsEmpty());
    EXPECT_EQ(UsualThresholds(), (Thresholds{{"gpu.temp", 85}, {"cpu.temp", 95}}));
}

TEST(ThresholdsTest, LeavesOutAReadingThatItDoesNotKnow) {
    CThresholdWatch watch({{"gpu.future", 1}, {"gpu.temp", 85}});
    EXPECT_THAT(Told(watch, Hot(0, 90)), ElementsAre("gpu.temp 0 90 up"));
}

TEST(ThresholdsTest, WarnsOfAGpuThatHasNeverToldItsPlace) {
    CThresholdWatch watch({{"gpu.temp", 85}});
    GpuReading reading = Hot(0, 90);
    reading.pci.reset();
    const auto warnings = watch.Check(reading);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].gpu->busId, std::nullopt);
}

}  // namespace
}  // namespace zorvane
