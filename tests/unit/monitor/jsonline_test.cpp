#include "monitor/jsonline.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

constexpr char kTime[] = "2024-11-21T04:42:11.123Z";

nlohmann::json Parse(const Event& event) {
    const std::string line = JsonLine(event, kTime);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    return nlohmann::json::parse(line);
}

TEST(JsonLineTest, WritesAHello) {
    EXPECT_EQ(JsonLine(HelloEvent{{L"Temp", 65602}, 312}, kTime),
              R"({"type":"hello","time":"2024-11-21T04:42:11.123Z","worker_pid":312,)"
              R"("worker_window":65602,"entry":"Temp"})");
}

TEST(JsonLineTest, WritesAReading) {
    EXPECT_EQ(JsonLine(FullReading(), kTime),
              R"({"type":"gpu","time":"2024-11-21T04:42:11.123Z","index":1,"count":8,)"
              R"("name":"NVIDIA GeForce RTX 4090","pci":{"bus_id":"00000000:01:00.0","domain":0,)"
              R"("bus":1,"device":2,"device_id":646189278},"gpu_utilization_percent":11,)"
              R"("memory_utilization_percent":5,"temperature_celsius":58,"fan_speed_percent":130,)"
              R"("clocks_mhz":{"graphics":1800,"sm":1801,"memory":10501,"video":1500}})");
}

TEST(JsonLineTest, WritesWhatDoesNotChange) {
    EXPECT_EQ(
        JsonLine(FullStatic(), kTime),
        R"({"type":"gpu_static","time":"2024-11-21T04:42:11.123Z","index":1,"count":8,)"
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
    EXPECT_EQ(JsonLine(CpuTemperature{-5}, kTime),
              R"({"type":"cpu","time":"2024-11-21T04:42:11.123Z","temperature_celsius":-5})");
}

TEST(JsonLineTest, WritesAnErrorWithItsCause) {
    EXPECT_EQ(JsonLine(ErrorEvent{{PayloadFault::kWrongSize, "too short"}, 3}, kTime),
              R"({"type":"error","time":"2024-11-21T04:42:11.123Z","cause":"wrong_size",)"
              R"("text":"too short","left_out":3})");
}

TEST(JsonLineTest, WritesHowAWorkerEnded) {
    WorkerExit exit;
    exit.processId = 312;
    exit.code = 0xC0000005;
    exit.kind = ExitKind::kCrash;
    exit.greeted = true;
    EXPECT_EQ(JsonLine(ExitEvent{exit, std::chrono::seconds(2)}, kTime),
              R"({"type":"worker_exit","time":"2024-11-21T04:42:11.123Z","worker_pid":312,)"
              R"~("exit_code":3221225477,"text":"crashed: access violation (0xC0000005)",)~"
              R"("crashed":true,"forced":false,"restart_in_ms":2000})");
}

TEST(JsonLineTest, DoesNotCallAForcedEndACrash) {
    WorkerExit exit;
    exit.code = CWorkerProcess::kTerminatedCode;
    exit.kind = ExitKind::kCrash;
    exit.forced = true;
    const nlohmann::json line = Parse(ExitEvent{exit, std::nullopt});
    EXPECT_EQ(line.at("crashed"), false);
    EXPECT_EQ(line.at("forced"), true);
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
