#include "monitor/machinemodel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

std::vector<std::string> Sources(const CMachineModel& model) {
    std::vector<std::string> sources;
    for (const auto& [source, row] : model.Gpus()) {
        sources.push_back(source);
    }
    return sources;
}

TEST(MachineModelTest, OrdersGpusByTheirBusIdNotByTheirIndex) {
    CMachineModel model;
    model.Apply(Reading(0, "00000000:0A:00.0"));
    model.Apply(Reading(1, "00000000:01:00.0"));
    EXPECT_EQ(Sources(model), (std::vector<std::string>{"00000000:01:00.0", "00000000:0A:00.0"}));
}

TEST(MachineModelTest, PutsGpusWithoutBusIdLastInTheOrderOfTheirIndex) {
    CMachineModel model;
    model.Apply(Reading(10, ""));
    model.Apply(Reading(9, ""));
    model.Apply(Reading(2, "FFFFFFFF:FF:1F.7"));
    ASSERT_EQ(model.Gpus().size(), 3u);
    auto row = model.Gpus().begin();
    EXPECT_EQ((row++)->second.latest->index, 2u);
    EXPECT_EQ((row++)->second.latest->index, 9u);
    EXPECT_EQ((row++)->second.latest->index, 10u);
}

TEST(MachineModelTest, KeepsTwoGpusApartThatTheDriverGivesOneBusId) {
    CMachineModel model;
    model.Apply(Reading(0, "00000000:01:00.0"));
    model.Apply(Reading(1, "00000000:01:00.0"));
    EXPECT_EQ(model.Gpus().size(), 2u);
}

TEST(MachineModelTest, FindsTheRowOfAGpuWhoseLocationCouldNotBeReadThisTime) {
    CMachineModel model;
    model.Apply(Reading(0, "00000000:01:00.0"));
    EXPECT_EQ(model.SourceOf(Reading(0, "")), "00000000:01:00.0");
    model.Apply(Reading(0, ""));
    EXPECT_EQ(model.Gpus().size(), 1u);
}

TEST(MachineModelTest, MovesARowOverWhenItsBusIdBecomesKnown) {
    CMachineModel model;
    GpuStatic fixed;
    fixed.first = Reading(0, "");
    fixed.serial = L"kept";
    model.Apply(fixed);
    model.Apply(Reading(0, "00000000:01:00.0"));
    ASSERT_EQ(Sources(model), std::vector<std::string>{"00000000:01:00.0"});
    EXPECT_EQ(model.Gpus().begin()->second.fixed->serial, L"kept");
}

TEST(MachineModelTest, ForgetsTheReadingsOfSourcesThatFellSilent) {
    CMachineModel model;
    model.Apply(FullStatic());
    model.Apply(FullReading());
    model.Apply(Reading(0, "00000000:0A:00.0"));
    model.Apply(CpuTemperature{47});
    model.KeepOnly({"00000000:0A:00.0"});
    EXPECT_FALSE(model.Cpu());
    EXPECT_FALSE(model.Gpus().at("00000000:01:00.0").latest);
    EXPECT_TRUE(model.Gpus().at("00000000:01:00.0").fixed);
    EXPECT_TRUE(model.Gpus().at("00000000:0A:00.0").latest);
}

TEST(MachineModelTest, KeepsTheCpuTemperatureOfARoundThatHasOne) {
    CMachineModel model;
    model.Apply(CpuTemperature{47});
    model.KeepOnly({kCpuSource});
    EXPECT_TRUE(model.Cpu());
}

TEST(MachineModelTest, ForgetsEverythingWithANewWorker) {
    CMachineModel model;
    model.StartWorker(1);
    model.Apply(Hello{L"Temp", 5});
    model.Apply(FullReading());
    model.Apply(CpuTemperature{47});
    model.StartWorker(2);
    EXPECT_EQ(model.WorkerId(), 2u);
    EXPECT_FALSE(model.WorkerHello());
    EXPECT_TRUE(model.Gpus().empty());
    EXPECT_FALSE(model.Cpu());
    EXPECT_NE(model.SourceOf(Reading(1, "")), "00000000:01:00.0");
}

}  // namespace
}  // namespace zorvane
