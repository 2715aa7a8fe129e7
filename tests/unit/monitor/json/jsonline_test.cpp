#include "monitor/json/jsonline.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/callcounts.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

StartEvent Origin() {
    StartEvent origin;
    origin.toolVersion = "1.2.3";
    origin.host = "pc";
    origin.entry = "temp";
    return origin;
}

std::string LineOf(const EventBody& body) { return JsonLine(EventAt(0, body), Origin()); }

nlohmann::json Parse(const EventBody& body) {
    const std::string line = LineOf(body);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    return nlohmann::json::parse(line);
}

// What every line begins with.
std::string Begin(const std::string& type, const std::string& entry = "temp") {
    return R"({"type":")" + type +
           R"(","time":"2024-11-21T04:42:11.123Z","schema":1,"host":"pc","entry":")" + entry +
           R"(",)";
}

TEST(JsonLineTest, WritesWhereTheRestComesFrom) {
    StartEvent start = Origin();
    EXPECT_EQ(LineOf(start), Begin("start") + R"("tool_version":"1.2.3","library_version":null,)"
                                              R"("simulated":false})");
    start.libraryVersion = "1.0.0";
    start.simulated = true;
    EXPECT_EQ(Parse(start).at("library_version"), "1.0.0");
    EXPECT_EQ(Parse(start).at("simulated"), true);
}

TEST(JsonLineTest, WritesAWorkersStart) {
    EXPECT_EQ(LineOf(WorkerStartEvent{312}), Begin("worker_start") + R"("worker_pid":312})");
}

TEST(JsonLineTest, WritesAHelloWithTheNameThatTheWorkerGives) {
    EXPECT_EQ(LineOf(HelloEvent{{L"Temp", 65602}, 312}),
              Begin("hello", "Temp") + R"("worker_pid":312,"worker_window":65602})");
}

TEST(JsonLineTest, WritesAReading) {
    EXPECT_EQ(
        LineOf(FullReading()),
        Begin("gpu") +
            R"("index":1,"count":8,)"
            R"("name":"NVIDIA GeForce RTX 4090","pci":{"bus_id":"00000000:01:00.0","domain":0,)"
            R"("bus":1,"device":2,"device_id":646189278},"gpu_utilization_percent":11,)"
            R"("memory_utilization_percent":5,"temperature_celsius":58,"fan_speed_percent":130,)"
            R"("clocks_mhz":{"graphics":1800,"sm":1801,"memory":10501,"video":1500}})");
}

TEST(JsonLinesTest, AllocatesLittleForAReadingLikeTheOneBefore) {
    const Event event = EventAt(0, FullReading());
    const StartEvent origin = Origin();
    CJsonLines lines;
    lines.Line(event, origin);
    CCallCounts counts(nullptr);
    counts.Begin();
    const std::string line = lines.Line(event, origin);
    const CallsByName calls = counts.End();
    EXPECT_LE(calls.at("malloc"), 12u) << line;
}

// Whatever came before, a line is what it is by itself.
TEST(JsonLinesTest, KeepsNothingOfTheLineBefore) {
    GpuReading nameless = FullReading();
    nameless.name.reset();
    nameless.pci.reset();
    nameless.temperatureCelsius.reset();
    GpuReading other = FullReading();
    other.name = L"T4";
    other.clocksMHz = {};
    const EventBody bodies[] = {FullReading(),         nameless,
                                FullReading(),         other,
                                FullStatic(),          HelloEvent{{L"Temp", 65602}, 312},
                                CpuTemperature{47},    CpuUnreadEvent(),
                                GpuLostEvent{{1, {}}}, Origin(),
                                GpuReading(),          FullReading(),
                                WorkerStartEvent{312}};
    CJsonLines lines;
    for (const EventBody& body : bodies) {
        EXPECT_EQ(lines.Line(EventAt(0, body), Origin()), LineOf(body));
    }
}

TEST(JsonLineTest, WritesWhatDoesNotChange) {
    EXPECT_EQ(
        LineOf(FullStatic()),
        Begin("gpu_static") +
            R"("index":1,"count":8,)"
            R"("name":"NVIDIA GeForce RTX 4090","pci":{"bus_id":"00000000:01:00.0","domain":0,)"
            R"("bus":1,"device":2,"device_id":646189278},"serial":"1320","vbios_version":"95.02",)"
            R"("driver_version":"551.86","memory_total_kib":25153536,)"
            R"("max_clocks_mhz":{"graphics":3105,"sm":3105,"memory":10501,"video":null}})");
}

TEST(JsonLineTest, WritesNullForWhatCouldNotBeRead) {
    const nlohmann::json gpu = Parse(Reading(0, ""));
    for (const char* key : {"name", "pci", "temperature_celsius", "fan_speed_percent"}) {
        EXPECT_TRUE(gpu.at(key).is_null()) << key;
    }
    for (const auto& clock : gpu.at("clocks_mhz")) {
        EXPECT_TRUE(clock.is_null());
    }

    const nlohmann::json fixed = Parse(GpuStatic{});
    for (const char* key : {"serial", "vbios_version", "driver_version", "memory_total_kib"}) {
        EXPECT_TRUE(fixed.at(key).is_null()) << key;
    }
}

TEST(JsonLineTest, WritesACpuTemperature) {
    EXPECT_EQ(LineOf(CpuTemperature{-5}), Begin("cpu") + R"("temperature_celsius":-5})");
    EXPECT_EQ(LineOf(CpuUnreadEvent()), Begin("cpu") + R"("temperature_celsius":null})");
}

TEST(JsonLineTest, WritesAnErrorWithItsCause) {
    EXPECT_EQ(LineOf(ErrorEvent{{PayloadFault::kWrongSize, "too short"}, 3}),
              Begin("error") + R"("cause":"wrong_size","text":"too short","left_out":3})");
}

TEST(JsonLineTest, WritesWhatIsMissingAndWhatToDo) {
    EXPECT_EQ(LineOf(MissingEvent{"cpu", "amd.not_admin", "needs rights", "Why.", "Do."}),
              Begin("missing") + R"("what":"cpu","id":"amd.not_admin","brief":"needs rights",)"
                                 R"("text":"Why.","do":"Do."})");
}

TEST(JsonLineTest, WritesSilenceAndItsEnd) {
    EXPECT_EQ(LineOf(StaleEvent{TimeOfTest(-6)}),
              Begin("stale") + R"("since":"2024-11-21T04:42:05.123Z"})");
    EXPECT_EQ(LineOf(FreshEvent{TimeOfTest(-6)}),
              Begin("fresh") + R"("since":"2024-11-21T04:42:05.123Z"})");
}

TEST(JsonLineTest, WritesTheLossOfAGpuAndItsReturn) {
    const nlohmann::json lost = Parse(GpuLostEvent{{1, "00000000:01:00.0"}});
    EXPECT_EQ(lost.at("type"), "gpu_lost");
    EXPECT_EQ(lost.at("index"), 1);
    EXPECT_EQ(lost.at("bus_id"), "00000000:01:00.0");
    EXPECT_EQ(lost.at("text").get<std::string>().find("GPU 1 (00000000:01:00.0) "), 0u);
    EXPECT_EQ(
        LineOf(GpuBackEvent{{1, std::nullopt}}),
        Begin("gpu_back") + R"("index":1,"bus_id":null,"text":"GPU 1 gives readings again"})");
}

TEST(JsonLineTest, WritesAWarningOfAGpuOrOfTheCpu) {
    EXPECT_EQ(
        LineOf(WarningEvent{"gpu.temp", GpuId{1, std::nullopt}, 90, 85.5, true}),
        Begin("warning") +
            R"("index":1,"bus_id":null,"what":"gpu.temp","value":90.0,"limit":85.5,)"
            R"("over":true,"text":"GPU 1: temperature is 90 C, over the threshold of 85.5 C"})");
    EXPECT_FALSE(Parse(WarningEvent{"cpu.temp", std::nullopt, 80, 85, false}).contains("index"));
}

TEST(JsonLineTest, WritesANotice) {
    EXPECT_EQ(LineOf(NoticeEvent{"worker.given_up", "text"}),
              Begin("notice") + R"("id":"worker.given_up","text":"text"})");
}

TEST(JsonLineTest, WritesAPauseAndItsEnd) {
    EXPECT_EQ(LineOf(PausedEvent()),
              Begin("paused") + R"("text":"the computer runs on battery: no worker until it is on )"
                                R"(mains again, because readings keep a GPU awake"})");
    EXPECT_EQ(LineOf(ResumedEvent()),
              Begin("resumed") + R"("text":"the computer is on mains again: starting a worker"})");
}

TEST(JsonLineTest, WritesHowAWorkerEnded) {
    WorkerExit exit;
    exit.processId = 312;
    exit.code = 0xC0000005;
    exit.kind = ExitKind::kCrash;
    exit.greeted = true;
    exit.lived = std::chrono::milliseconds(1500);
    EXPECT_EQ(LineOf(ExitEvent{exit, std::chrono::seconds(2)}),
              Begin("worker_exit") +
                  R"~("worker_pid":312,"exit_code":3221225477,"text":"crashed: access )~"
                  R"~(violation (0xC0000005)","crashed":true,"forced":false,"greeted":true,)~"
                  R"("asked":false,"lived_ms":1500,"restart_in_ms":2000})");
}

TEST(JsonLineTest, DoesNotCallAForcedEndACrash) {
    WorkerExit exit;
    exit.code = CWorkerProcess::kTerminatedCode;
    exit.kind = ExitKind::kCrash;
    exit.forced = true;
    exit.asked = true;
    const nlohmann::json line = Parse(ExitEvent{exit, std::nullopt});
    EXPECT_EQ(line.at("crashed"), false);
    EXPECT_EQ(line.at("forced"), true);
    EXPECT_EQ(line.at("asked"), true);
    EXPECT_TRUE(line.at("restart_in_ms").is_null());
}

TEST(JsonLineTest, KeepsTextFromOutsideInsideItsString) {
    GpuReading reading = Reading(0, "\xFF\"\n");
    reading.name = L"\x00C4 \"%s\"\n\xD83D";
    const nlohmann::json line = Parse(reading);
    EXPECT_EQ(line.at("name"), "\xC3\x84 \"%s\"\n\xEF\xBF\xBD");
    EXPECT_EQ(line.at("pci").at("bus_id"), "\xEF\xBF\xBD\"\n");
}

}  // namespace
}  // namespace zorvane
