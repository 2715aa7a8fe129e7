#include "monitor/metrics/prometheustext.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::HasSubstr;
using testing::Not;
using Lines = std::vector<std::string>;

StartEvent Start(const std::string& entry = "office") {
    StartEvent start;
    start.toolVersion = "1.2.3";
    start.entry = entry;
    return start;
}

ExitEvent Crash(DWORD code) {
    ExitEvent event;
    event.exit.code = code;
    event.exit.kind = ExitKind::kCrash;
    return event;
}

CMachineModel Full() {
    CMachineModel model;
    model.Apply(EventAt(0, Start()));
    model.Apply(EventAt(1, WorkerStartEvent{312}));
    model.Apply(EventAt(1, HelloEvent{{L"office", 5}, 312}));
    model.Apply(EventAt(2, FullStatic()));
    model.Apply(EventAt(2, FullReading()));
    model.Apply(EventAt(2, CpuTemperature{-5}));
    return model;
}

// The samples of one metric.
Lines Samples(const CMachineModel& model, const std::string& name) {
    Lines samples;
    std::istringstream text(PrometheusText(model));
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with(name + "{")) {
            samples.push_back(line.substr(name.size()));
        }
    }
    return samples;
}

TEST(PrometheusTextTest, GivesEveryReadingInBaseUnits) {
    const CMachineModel model = Full();
    const std::string gpu = R"({worker="office",pci_bus_id="00000000:01:00.0")";
    EXPECT_EQ(Samples(model, "zorvane_build_info"),
              Lines{R"({worker="office",version="1.2.3"} 1)"});
    EXPECT_EQ(Samples(model, "zorvane_up"), Lines{R"({worker="office"} 1)"});
    EXPECT_EQ(Samples(model, "zorvane_worker_start_time_seconds"),
              Lines{R"({worker="office"} 1732164132.123)"});
    EXPECT_EQ(Samples(model, "zorvane_gpu_info"),
              Lines{gpu + R"(,name="NVIDIA GeForce RTX 4090",serial="1320",vbios_version="95.02",)"
                          R"(driver_version="551.86",pci_device_id="0x268410DE"} 1)"});
    EXPECT_EQ(Samples(model, "zorvane_gpu_utilization_ratio"), Lines{gpu + "} 0.11"});
    EXPECT_EQ(Samples(model, "zorvane_gpu_memory_utilization_ratio"), Lines{gpu + "} 0.05"});
    EXPECT_EQ(Samples(model, "zorvane_gpu_fan_speed_ratio"), Lines{gpu + "} 1.3"});
    EXPECT_EQ(Samples(model, "zorvane_gpu_temperature_celsius"), Lines{gpu + "} 58"});
    EXPECT_EQ(Samples(model, "zorvane_cpu_temperature_celsius"), Lines{R"({worker="office"} -5)"});
    EXPECT_EQ(Samples(model, "zorvane_gpu_memory_size_bytes"), Lines{gpu + "} 25757220864"});
    EXPECT_THAT(Samples(model, "zorvane_gpu_clock_hertz"),
                testing::ElementsAre(gpu + R"(,clock="graphics"} 1800000000)",
                                     gpu + R"(,clock="sm"} 1801000000)",
                                     gpu + R"(,clock="memory"} 10501000000)",
                                     gpu + R"(,clock="video"} 1500000000)"));
    EXPECT_THAT(
        Samples(model, "zorvane_last_reading_timestamp_seconds"),
        testing::ElementsAre(R"({worker="office",source="00000000:01:00.0"} 1732164133.123)",
                             R"({worker="office",source="cpu"} 1732164133.123)"));
}

TEST(PrometheusTextTest, HasTheFormThatTheTextFileCollectorTakes) {
    const std::string text = PrometheusText(Full());
    EXPECT_EQ(text.find('\r'), std::string::npos);
    EXPECT_TRUE(text.starts_with("# HELP zorvane_build_info "));
    EXPECT_TRUE(text.ends_with("\n"));
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("# HELP zorvane_") || line.starts_with("# TYPE zorvane_")) {
            continue;
        }
        // Name and labels, the value, and no time stamp behind it.
        EXPECT_TRUE(line.starts_with("zorvane_")) << line;
        const size_t value = line.rfind("} ");
        ASSERT_NE(value, std::string::npos) << line;
        EXPECT_EQ(line.find_first_not_of("0123456789.-", value + 2), std::string::npos) << line;
    }
    EXPECT_THAT(text, HasSubstr("# TYPE zorvane_messages_total counter\n"));
    EXPECT_THAT(text, HasSubstr("# TYPE zorvane_up gauge\n"));
}

TEST(PrometheusTextTest, HasNoSampleForWhatWasNotRead) {
    CMachineModel model;
    model.Apply(EventAt(0, Start()));
    model.Apply(EventAt(0, WorkerStartEvent{1}));
    model.Apply(EventAt(0, Reading(0, "00000000:01:00.0")));
    const std::string text = PrometheusText(model);
    EXPECT_EQ(Samples(model, "zorvane_gpu_utilization_ratio").size(), 1u);
    for (const char* name : {"temperature", "fan", "clock", "memory_size", "gpu_info"}) {
        EXPECT_THAT(text, Not(HasSubstr(name)));
    }
    // A worker that has not said hello is not up.
    EXPECT_EQ(Samples(model, "zorvane_up"), Lines{R"({worker="office"} 0)"});
}

TEST(PrometheusTextTest, HasNoMemorySizeOfAGpuWhoseStaticRecordHasNone) {
    CMachineModel model = Full();
    GpuStatic fixed = FullStatic();
    fixed.totalMemoryKiB = std::nullopt;
    model.Apply(EventAt(3, fixed));
    EXPECT_EQ(Samples(model, "zorvane_gpu_memory_size_bytes"), Lines());
    EXPECT_EQ(Samples(model, "zorvane_gpu_info").size(), 1u);
}

TEST(PrometheusTextTest, LetsReadingsGoWithTheWorkerAndKeepsCounters) {
    CMachineModel model = Full();
    model.Apply(EventAt(3, Crash(0xC0000005)));
    const std::string text = PrometheusText(model);
    EXPECT_THAT(text, Not(HasSubstr("zorvane_gpu_")));
    EXPECT_THAT(text, Not(HasSubstr("zorvane_cpu_")));
    EXPECT_THAT(text, Not(HasSubstr("start_time")));
    EXPECT_EQ(Samples(model, "zorvane_up"), Lines{R"({worker="office"} 0)"});
    EXPECT_EQ(Samples(model, "zorvane_worker_crashes_total"),
              Lines{R"({worker="office",exit_code="0xC0000005"} 1)"});
    model.Apply(EventAt(4, WorkerStartEvent{313}));
    model.Apply(EventAt(4, Crash(3)));
    model.Apply(EventAt(5, WorkerStartEvent{314}));
    EXPECT_EQ(Samples(model, "zorvane_worker_restarts_total"), Lines{R"({worker="office"} 2)"});
    EXPECT_THAT(Samples(model, "zorvane_worker_crashes_total"),
                testing::ElementsAre(R"({worker="office",exit_code="0x00000003"} 1)",
                                     R"({worker="office",exit_code="0xC0000005"} 1)"));
    EXPECT_EQ(
        Samples(model, "zorvane_messages_total"),
        (Lines{R"({worker="office",type="cpu"} 1)", R"({worker="office",type="gpu"} 1)",
               R"({worker="office",type="gpu_static"} 1)", R"({worker="office",type="hello"} 1)"}));
    EXPECT_EQ(Samples(model, "zorvane_last_reading_timestamp_seconds").size(), 2u);
}

TEST(PrometheusTextTest, CountsNoEndByForceAsACrash) {
    CMachineModel model = Full();
    ExitEvent end = Crash(1);
    end.exit.forced = true;
    model.Apply(EventAt(3, end));
    EXPECT_TRUE(Samples(model, "zorvane_worker_crashes_total").empty());
}

TEST(PrometheusTextTest, IsNotUpWhileTheWorkerIsSilent) {
    CMachineModel model = Full();
    model.Apply(EventAt(9, StaleEvent{TimeOfTest(2)}));
    EXPECT_EQ(Samples(model, "zorvane_up"), Lines{R"({worker="office"} 0)"});
    EXPECT_TRUE(Samples(model, "zorvane_gpu_temperature_celsius").empty());
    EXPECT_EQ(Samples(model, "zorvane_gpu_info").size(), 1u);
    model.Apply(EventAt(9, FreshEvent{TimeOfTest(2)}));
    EXPECT_EQ(Samples(model, "zorvane_up"), Lines{R"({worker="office"} 1)"});
}

TEST(PrometheusTextTest, TellsAPauseFromAWorkerThatIsDown) {
    CMachineModel model = Full();
    EXPECT_EQ(Samples(model, "zorvane_paused"), Lines{R"({worker="office"} 0)"});
    model.Apply(EventAt(3, ExitEvent()));
    model.Apply(EventAt(3, PausedEvent()));
    EXPECT_EQ(Samples(model, "zorvane_up"), Lines{R"({worker="office"} 0)"});
    EXPECT_EQ(Samples(model, "zorvane_paused"), Lines{R"({worker="office"} 1)"});
    model.Apply(EventAt(9, ResumedEvent()));
    EXPECT_EQ(Samples(model, "zorvane_paused"), Lines{R"({worker="office"} 0)"});
}

TEST(PrometheusTextTest, CountsErrorsThatWereNotReportedToo) {
    CMachineModel model = Full();
    model.Apply(EventAt(3, ErrorEvent{{PayloadFault::kWrongSize, "x"}, 4}));
    model.Apply(EventAt(3, ErrorEvent{{PayloadFault::kWrongSize, "x"}, 0}));
    const Lines samples = Samples(model, "zorvane_errors_total");
    EXPECT_THAT(samples, testing::Contains(R"({worker="office",cause="wrong_size"} 6)"));
    EXPECT_THAT(samples, testing::Contains(R"({worker="office",cause="unknown_code"} 0)"));
    EXPECT_EQ(samples.size(), static_cast<size_t>(kLastPayloadFault) + 1);
}

TEST(PrometheusTextTest, NamesEachReasonForWhatIsMissingOnce) {
    CMachineModel model = Full();
    model.Apply(EventAt(3, MissingEvent{"cpu", "amd.not_admin", "", "text", ""}));
    model.Apply(EventAt(3, MissingEvent{"gpu", "log.folder", "", "text", ""}));
    model.Apply(EventAt(3, MissingEvent{"log", "log.folder", "", "text", ""}));
    EXPECT_THAT(Samples(model, "zorvane_missing"),
                testing::ElementsAre(R"({worker="office",id="amd.not_admin"} 1)",
                                     R"({worker="office",id="log.folder"} 1)"));
}

TEST(PrometheusTextTest, EscapesLabelValues) {
    CMachineModel model;
    model.Apply(EventAt(0, Start("a\\b\"c\nd\xC3\x84")));
    EXPECT_EQ(Samples(model, "zorvane_up"), Lines{"{worker=\"a\\\\b\\\"c\\nd\xC3\x84\"} 0"});
}

TEST(PrometheusTextTest, HasNoSeriesTwice) {
    CMachineModel model;
    model.Apply(EventAt(0, Start()));
    model.Apply(EventAt(0, WorkerStartEvent{1}));
    for (uint32_t i = 0; i < 4; ++i) {
        // One bus id of two GPUs, and two GPUs without any.
        GpuStatic fixed = FullStatic();
        fixed.first = Reading(i, i < 2 ? "00000000:01:00.0" : "");
        model.Apply(EventAt(0, fixed));
        model.Apply(EventAt(0, fixed.first));
    }
    std::set<std::string> series;
    std::istringstream text(PrometheusText(model));
    for (std::string line; std::getline(text, line);) {
        EXPECT_TRUE(series.insert(line.substr(0, line.rfind(' '))).second) << line;
    }
    EXPECT_EQ(Samples(model, "zorvane_gpu_utilization_ratio").size(), 4u);
    EXPECT_THAT(Samples(model, "zorvane_gpu_utilization_ratio"),
                testing::Contains(R"({worker="office",pci_bus_id="index 3"} 0.13)"));
}

TEST(OpenMetricsTextTest, NamesACounterWithoutItsEndingAndSaysWhereItEnds) {
    const std::string text = OpenMetricsText(Full());
    EXPECT_THAT(text, HasSubstr("# TYPE zorvane_worker_restarts counter\n"));
    EXPECT_THAT(text, HasSubstr("\nzorvane_worker_restarts_total{worker=\"office\"} 0\n"));
    EXPECT_THAT(text, HasSubstr("# TYPE zorvane_up gauge\n"));
    EXPECT_THAT(text, Not(HasSubstr("_total counter")));
    EXPECT_TRUE(text.ends_with("\n# EOF\n"));
}

}  // namespace
}  // namespace zorvane
