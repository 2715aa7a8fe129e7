#include "monitor/model/machinemodel.h"

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
    model.Apply(EventAt(0, Reading(0, "00000000:0A:00.0")));
    model.Apply(EventAt(0, Reading(1, "00000000:01:00.0")));
    EXPECT_EQ(Sources(model), (std::vector<std::string>{"00000000:01:00.0", "00000000:0A:00.0"}));
}

TEST(MachineModelTest, PutsGpusWithoutBusIdLastInTheOrderOfTheirIndex) {
    CMachineModel model;
    model.Apply(EventAt(0, Reading(10, "")));
    model.Apply(EventAt(0, Reading(9, "")));
    model.Apply(EventAt(0, Reading(2, "FFFFFFFF:FF:1F.7")));
    ASSERT_EQ(model.Gpus().size(), 3u);
    auto row = model.Gpus().begin();
    EXPECT_EQ((row++)->second.latest->index, 2u);
    EXPECT_EQ((row++)->second.latest->index, 9u);
    EXPECT_EQ((row++)->second.latest->index, 10u);
}

TEST(MachineModelTest, KeepsTwoGpusApartThatTheDriverGivesOneBusId) {
    CMachineModel model;
    model.Apply(EventAt(0, Reading(0, "00000000:01:00.0")));
    model.Apply(EventAt(0, Reading(1, "00000000:01:00.0")));
    EXPECT_EQ(model.Gpus().size(), 2u);
}

TEST(MachineModelTest, FindsTheRowOfAGpuWhoseLocationCouldNotBeReadThisTime) {
    CMachineModel model;
    model.Apply(EventAt(0, Reading(0, "00000000:01:00.0")));
    EXPECT_EQ(model.SourceOf(Reading(0, "")), "00000000:01:00.0");
    model.Apply(EventAt(0, Reading(0, "")));
    EXPECT_EQ(model.Gpus().size(), 1u);
}

TEST(MachineModelTest, MovesARowOverWhenItsBusIdBecomesKnown) {
    CMachineModel model;
    GpuStatic fixed;
    fixed.first = Reading(0, "");
    fixed.serial = L"kept";
    model.Apply(EventAt(0, fixed));
    model.Apply(EventAt(0, Reading(0, "00000000:01:00.0")));
    ASSERT_EQ(Sources(model), std::vector<std::string>{"00000000:01:00.0"});
    EXPECT_EQ(model.Gpus().begin()->second.fixed->serial, L"kept");
}

TEST(MachineModelTest, ForgetsTheReadingsOfSourcesThatFellSilent) {
    CMachineModel model;
    model.Apply(EventAt(0, FullStatic()));
    model.Apply(EventAt(0, FullReading()));
    model.Apply(EventAt(0, Reading(0, "00000000:0A:00.0")));
    model.Apply(EventAt(0, CpuTemperature{47}));
    model.KeepOnly({"00000000:0A:00.0"});
    EXPECT_FALSE(model.Cpu());
    EXPECT_FALSE(model.Gpus().at("00000000:01:00.0").latest);
    EXPECT_TRUE(model.Gpus().at("00000000:01:00.0").fixed);
    EXPECT_TRUE(model.Gpus().at("00000000:0A:00.0").latest);
}

TEST(MachineModelTest, ForgetsTheCpuTemperatureBeforeOneThatCouldNotBeRead) {
    CMachineModel model;
    model.Apply(EventAt(0, CpuTemperature{47}));
    model.Apply(EventAt(1, CpuUnreadEvent()));
    EXPECT_FALSE(model.Cpu());
}

TEST(MachineModelTest, KeepsTheCpuTemperatureOfARoundThatHasOne) {
    CMachineModel model;
    model.Apply(EventAt(0, CpuTemperature{47}));
    model.KeepOnly({kCpuSource});
    EXPECT_TRUE(model.Cpu());
}

TEST(MachineModelTest, ForgetsEverythingWithANewWorker) {
    CMachineModel model;
    model.Apply(EventAt(0, WorkerStartEvent{1}));
    model.Apply(EventAt(0, HelloEvent{{L"Temp", 5}, 1}));
    model.Apply(EventAt(0, FullReading()));
    model.Apply(EventAt(0, CpuTemperature{47}));
    model.Apply(EventAt(0, WorkerStartEvent{2}));
    EXPECT_EQ(model.WorkerId(), 2u);
    EXPECT_FALSE(model.WorkerHello());
    EXPECT_TRUE(model.Gpus().empty());
    EXPECT_FALSE(model.Cpu());
    EXPECT_NE(model.SourceOf(Reading(1, "")), "00000000:01:00.0");
}

TEST(MachineModelTest, RemembersWhereTheReadingsComeFromAcrossWorkers) {
    CMachineModel model;
    StartEvent start;
    start.host = "pc";
    model.Apply(EventAt(0, start));
    model.Apply(EventAt(0, WorkerStartEvent{1}));
    ASSERT_TRUE(model.Start());
    EXPECT_EQ(model.Start()->host, "pc");
    EXPECT_TRUE(model.IsWorkerUp());
}

TEST(MachineModelTest, GivesTheTimeOfTheOldestReadingThatItHolds) {
    CMachineModel model;
    model.Apply(EventAt(1, FullReading()));
    model.Apply(EventAt(2, Reading(0, "00000000:0A:00.0")));
    model.Apply(EventAt(3, CpuTemperature{47}));
    model.Apply(EventAt(9, NoticeEvent{"id", "text"}));
    EXPECT_EQ(model.Time(), TimeOfTest(1));
    model.KeepOnly({kCpuSource});
    EXPECT_EQ(model.Time(), TimeOfTest(3));
    model.KeepOnly({});
    EXPECT_EQ(model.Time(), TimeOfTest(9));
}

TEST(MachineModelTest, HoldsNoReadingOfASilentWorkerOrOfOneThatHasEnded) {
    for (const EventBody& end : {EventBody(StaleEvent{TimeOfTest(1)}), EventBody(ExitEvent{})}) {
        CMachineModel model;
        model.Apply(EventAt(0, WorkerStartEvent{1}));
        model.Apply(EventAt(1, FullStatic()));
        model.Apply(EventAt(1, FullReading()));
        model.Apply(EventAt(1, CpuTemperature{47}));
        model.Apply(EventAt(7, end));
        EXPECT_FALSE(model.Cpu());
        EXPECT_FALSE(model.Gpus().at("00000000:01:00.0").latest);
        EXPECT_TRUE(model.Gpus().at("00000000:01:00.0").fixed);
    }
}

TEST(MachineModelTest, KnowsSinceWhenNothingHasComeUntilARoundComes) {
    CMachineModel model;
    model.Apply(EventAt(7, StaleEvent{TimeOfTest(1)}));
    EXPECT_EQ(model.StaleSince(), TimeOfTest(1));
    model.Apply(EventAt(8, FreshEvent{TimeOfTest(1)}));
    EXPECT_FALSE(model.StaleSince());
}

TEST(MachineModelTest, KeepsTheReasonForWhatIsMissingUntilItComes) {
    CMachineModel model;
    model.Apply(EventAt(0, MissingEvent{"cpu", "amd.not_admin", "brief", "text", "do"}));
    model.Apply(EventAt(0, MissingEvent{"gpu", "nvml.path", "brief", "text", "do"}));
    EXPECT_EQ(model.Missing().at("cpu").id, "amd.not_admin");
    model.Apply(EventAt(1, CpuTemperature{47}));
    EXPECT_FALSE(model.Missing().contains("cpu"));
    model.Apply(EventAt(1, FullReading()));
    EXPECT_TRUE(model.Missing().empty());
}

TEST(MachineModelTest, MarksALostGpuUntilItIsBack) {
    CMachineModel model;
    model.Apply(EventAt(0, FullReading()));
    model.Apply(EventAt(1, GpuLostEvent{{1, "00000000:01:00.0"}}));
    EXPECT_TRUE(model.Gpus().begin()->second.isLost);
    model.Apply(EventAt(2, GpuBackEvent{{1, "00000000:01:00.0"}}));
    EXPECT_FALSE(model.Gpus().begin()->second.isLost);
    model.Apply(EventAt(3, GpuLostEvent{{0, std::nullopt}}));
    model.Apply(EventAt(3, Reading(0, "")));
    EXPECT_TRUE(model.Gpus().rbegin()->second.isLost);
}

}  // namespace
}  // namespace zorvane
