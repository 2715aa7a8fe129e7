#include "monitor/json/readjsonline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "monitor/json/jsonline.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::HasSubstr;

StartEvent RecordedOrigin() {
    StartEvent origin;
    origin.toolVersion = "1.2.3";
    origin.libraryVersion = "1.0.0";
    origin.simulated = true;
    origin.host = "pc";
    origin.entry = "temp";
    return origin;
}

ExitEvent Exit(DWORD code, bool greeted) {
    ExitEvent event;
    event.exit.processId = 312;
    event.exit.code = code;
    event.exit.greeted = greeted;
    event.exit.kind = ClassifyExit(code, greeted, false);
    event.exit.lived = std::chrono::milliseconds(1500);
    return event;
}

std::string ErrorOf(const std::string& line) {
    const auto read = ReadJsonLine(line);
    const auto* error = std::get_if<LineError>(&read);
    if (!error) {
        ADD_FAILURE() << "read: " << line;
    }
    return error ? error->text : "";
}

// Each event's line is the same after it was read and written again.
TEST(ReadJsonLineTest, ReadsWhatIsWritten) {
    GpuReading bare = Reading(0, "");
    bare.gpuUtilizationPercent.reset();
    bare.memoryUtilizationPercent.reset();
    ExitEvent restarted = Exit(0xC0000005, true);
    restarted.restartIn = std::chrono::seconds(4);
    ExitEvent forced = Exit(CWorkerProcess::kTerminatedCode, true);
    forced.exit.forced = true;
    forced.exit.asked = true;
    const EventBody bodies[] = {
        RecordedOrigin(),
        WorkerStartEvent{312},
        HelloEvent{{L"temp \x00C4", 0xFFFFFFFF80000001}, 312},
        FullStatic(),
        GpuStatic{},
        FullReading(),
        bare,
        CpuTemperature{-5},
        CpuUnreadEvent(),
        ErrorEvent{{PayloadFault::kImplausible, "text"}, 3},
        MissingEvent{"cpu", "id", "brief", "text", "do"},
        StaleEvent{TimeOfTest(-6)},
        FreshEvent{TimeOfTest(-6)},
        GpuLostEvent{{1, "00000000:01:00.0"}},
        GpuBackEvent{{1, std::nullopt}},
        WarningEvent{"gpu.temp", GpuId{1, std::nullopt}, 90.25, 85, true},
        WarningEvent{"cpu.temp", std::nullopt, 80, 85, false},
        NoticeEvent{"id", "text"},
        Exit(0, true),
        Exit(4, false),
        restarted,
        forced,
        PausedEvent(),
        ResumedEvent(),
    };
    for (const EventBody& body : bodies) {
        const std::string line = JsonLine(EventAt(5, body), RecordedOrigin());
        const auto read = ReadJsonLine(line);
        if (const auto* error = std::get_if<LineError>(&read)) {
            ADD_FAILURE() << error->text << ": " << line;
            continue;
        }
        EXPECT_EQ(std::get<Event>(read).body.index(), body.index());
        EXPECT_EQ(JsonLine(std::get<Event>(read), RecordedOrigin()), line);
    }
}

TEST(ReadJsonLineTest, SkipsKeysThatItDoesNotKnow) {
    nlohmann::json line =
        nlohmann::json::parse(JsonLine(EventAt(0, CpuTemperature{47}), RecordedOrigin()));
    line["new"] = {1, 2, 3};
    EXPECT_TRUE(std::holds_alternative<Event>(ReadJsonLine(line.dump())));
}

TEST(ReadJsonLineTest, NamesWhatIsMissingOrWrong) {
    const nlohmann::json good =
        nlohmann::json::parse(JsonLine(EventAt(0, FullReading()), RecordedOrigin()));
    for (const auto& [key, value] : good.items()) {
        if (key == "host") {
            continue;
        }
        nlohmann::json line = good;
        line.erase(key);
        EXPECT_THAT(ErrorOf(line.dump()), HasSubstr(key)) << line;
        line[key] = {true};
        EXPECT_NE(ErrorOf(line.dump()), "") << line;
    }
    const auto with = [&](const char* key, const nlohmann::json& value) {
        nlohmann::json line = good;
        line[key] = value;
        return ErrorOf(line.dump());
    };
    EXPECT_EQ(with("temperature_celsius", -1), "\"temperature_celsius\" cannot be -1");
    EXPECT_EQ(with("temperature_celsius", 4294967296),
              "\"temperature_celsius\" cannot be 4294967296");
    EXPECT_EQ(with("temperature_celsius", 1.5), "\"temperature_celsius\" cannot be 1.5");
    EXPECT_EQ(with("schema", 2), "schema 2, this zorvanemon reads 1");
    EXPECT_EQ(with("type", "gpu2"), "unknown \"type\" gpu2");
    EXPECT_EQ(with("time", "today"), "\"time\" is no time: today");
}

TEST(ReadJsonLineTest, CutsTextsAsARecordDoes) {
    nlohmann::json line =
        nlohmann::json::parse(JsonLine(EventAt(0, FullReading()), RecordedOrigin()));
    line["name"] = std::string(32, 'x');
    const auto read = ReadJsonLine(line.dump());
    EXPECT_EQ(std::get<GpuReading>(std::get<Event>(read).body).name, std::wstring(31, L'x'));
}

TEST(ReadJsonLineTest, SaysThatALineIsNoJson) {
    for (const char* line : {"", "{", "{} {}", "\xFF", "{\"type\":\"cpu\""}) {
        EXPECT_EQ(ErrorOf(line), "not a whole JSON object") << line;
    }
    for (const char* line : {"[]", "1", "null"}) {
        EXPECT_EQ(ErrorOf(line), "not an object") << line;
    }
}

}  // namespace
}  // namespace zorvane
