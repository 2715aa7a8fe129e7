#include "monitor/report/reportbuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/unit/monitor/readings.h"

using testing::HasSubstr;
using testing::Not;

namespace zorvane {
namespace {

// The data inside of a page.
nlohmann::json DataOf(const std::string& page) {
    const std::string begin = "id=\"data\">";
    const size_t first = page.find(begin) + begin.size();
    return nlohmann::json::parse(page.substr(first, page.find("</script>", first) - first));
}

StartEvent Start() {
    StartEvent start;
    start.toolVersion = "1.2.3";
    start.host = "BENCH-07";
    start.entry = "test";
    return start;
}

nlohmann::json SeriesOf(const nlohmann::json& data, const std::string& quantity) {
    for (const nlohmann::json& series : data["series"]) {
        if (series["quantity"] == quantity) {
            return series;
        }
    }
    return nullptr;
}

TEST(ReportBuilderTest, HasTheReadingsWithLowestAverageAndHighest) {
    CReportBuilder builder(false);
    builder.Add(EventAt(0, Start()));
    for (int second = 0; second < 3; ++second) {
        GpuReading reading = FullReading();
        reading.temperatureCelsius = static_cast<uint32_t>(50 + 10 * second);
        builder.Add(EventAt(second, reading));
    }
    const nlohmann::json data = DataOf(builder.Page(TimeOfTest(60)));
    const nlohmann::json series = SeriesOf(data, "temperature");
    EXPECT_EQ(series["values"], nlohmann::json({50, 60, 70}));
    EXPECT_EQ(series["times"], nlohmann::json({0, 1000, 1000}));
    EXPECT_EQ(series["lowest"], 50);
    EXPECT_EQ(series["average"], 60);
    EXPECT_EQ(series["highest"], 70);
    EXPECT_EQ(series["last"], 70);
    EXPECT_EQ(series["bus_id"], "00000000:01:00.0");
    EXPECT_EQ(data["readings"], 3);
    EXPECT_EQ(data["events"][0]["host"], "BENCH-07");
}

TEST(ReportBuilderTest, KeepsTextsFromOutsideInsideOfTheData) {
    CReportBuilder builder(false);
    GpuReading reading = FullReading();
    reading.name = L"</script><!--alert(1)</script>";
    builder.Add(EventAt(0, reading));
    const std::string page = builder.Page(TimeOfTest());
    EXPECT_THAT(page, Not(HasSubstr("alert(1)</script>")));
    EXPECT_THAT(page, Not(HasSubstr("<!--")));
    EXPECT_EQ(SeriesOf(DataOf(page), "fan")["name"], "</script><!--alert(1)</script>");
}

TEST(ReportBuilderTest, LeavesOutSerialsAndTheComputersNameIfAsked) {
    CReportBuilder builder(true);
    builder.Add(EventAt(0, Start()));
    builder.Add(EventAt(0, FullStatic()));
    builder.Add(EventAt(1, NoticeEvent{"id", "seen on bench-07 with 1320 \"quoted\""}));
    const std::string page = builder.Page(TimeOfTest());
    const nlohmann::json data = DataOf(page);
    EXPECT_THAT(data.dump(), Not(HasSubstr("BENCH-07")));
    EXPECT_EQ(data["events"][1]["serial"], "[serial]");
    EXPECT_EQ(data["events"][2]["text"], "seen on [computer] with [serial] \"quoted\"");
    EXPECT_EQ(data["masked"], true);
}

TEST(ReportBuilderTest, LeavesOutTheUsersNamesInPathsIfAsked) {
    const std::string doctor =
        R"({"readings": [], "checks": [{"id": "a", "seen": "C:\\Users\\ann\\AppData, c:/users/Bob"}]})";
    const NoticeEvent notice{"id", "see D:\\profiles\\ANN\\a.log, bobs and Bob"};
    for (const bool mask : {true, false}) {
        CReportBuilder builder(mask);
        builder.Add(EventAt(0, Start()));
        builder.Add(EventAt(1, notice));
        ASSERT_TRUE(builder.AddDoctor(doctor));
        const nlohmann::json data = DataOf(builder.Page(TimeOfTest()));
        EXPECT_EQ(data["doctor"]["checks"][0]["seen"],
                  mask ? "C:\\Users\\[user]\\AppData, c:/users/[user]"
                       : "C:\\Users\\ann\\AppData, c:/users/Bob");
        EXPECT_EQ(data["events"][1]["text"],
                  mask ? "see D:\\profiles\\[user]\\a.log, bobs and [user]" : notice.text);
    }
}

TEST(ReportBuilderTest, HasWhatDoctorSays) {
    CReportBuilder builder(true);
    builder.Add(EventAt(0, Start()));
    EXPECT_FALSE(builder.AddDoctor("no JSON"));
    EXPECT_FALSE(builder.AddDoctor("[]"));
    EXPECT_FALSE(builder.AddDoctor(R"({"checks": 1, "readings": []})"));
    EXPECT_TRUE(DataOf(builder.Page(TimeOfTest()))["doctor"].is_null());
    EXPECT_TRUE(builder.AddDoctor(
        R"({"host": "OTHER", "readings": [], "checks": [{"id": "a", "seen": "<b> on OTHER"}]})"));
    const nlohmann::json data = DataOf(builder.Page(TimeOfTest()));
    EXPECT_EQ(data["doctor"]["checks"][0]["seen"], "<b> on [computer]");
}

TEST(ReportBuilderTest, InterruptsTheLinesWhereAWorkerEndsOrNothingIsRead) {
    CReportBuilder builder(false);
    builder.Add(EventAt(0, CpuTemperature{50}));
    builder.Add(EventAt(1, ExitEvent()));
    builder.Add(EventAt(2, CpuTemperature{60}));
    builder.Add(EventAt(3, CpuUnreadEvent()));
    builder.Add(EventAt(4, CpuTemperature{70}));
    const nlohmann::json data = DataOf(builder.Page(TimeOfTest()));
    EXPECT_EQ(SeriesOf(data, "temperature")["values"],
              nlohmann::json({50, nullptr, 60, nullptr, 70}));
}

TEST(ReportBuilderTest, StaysBelowFiveMegabytesForADayOfManyGpus) {
    CReportBuilder builder(false);
    constexpr int kDay = 24 * 60 * 60;
    for (int second = 0; second < kDay; second += 60) {
        for (uint32_t index = 0; index < 8; ++index) {
            GpuReading reading = FullReading();
            reading.index = index;
            reading.pci->busId = "00000000:0" + std::to_string(index) + ":00.0";
            reading.temperatureCelsius = static_cast<uint32_t>(40 + (second * 7 + 3) % 50);
            reading.clocksMHz[kClockGraphics] = static_cast<uint32_t>(300 + (second * 13) % 2500);
            builder.Add(EventAt(second, reading));
        }
    }
    for (int i = 0; i < 5000; ++i) {
        builder.Add(EventAt(kDay + i, NoticeEvent{"id", "a sentence about something"}));
    }
    const std::string page = builder.Page(TimeOfTest());
    EXPECT_LT(page.size(), size_t{5} << 20);
    const nlohmann::json data = DataOf(page);
    EXPECT_EQ(data["events"].size(), 2000u);
    EXPECT_EQ(data["events_left_out"], 3000);
}

TEST(ReportBuilderTest, TakesNothingThatDoctorHasNotWritten) {
    CReportBuilder builder(false);
    for (const char* text :
         {"", "[]", "7", "{}", R"({"checks": []})", R"({"checks": {}, "readings": []})",
          R"({"checks": [], "readings": 1})", R"({"checks": [], "readings": [])"}) {
        EXPECT_FALSE(builder.AddDoctor(text)) << text;
    }
    EXPECT_TRUE(builder.AddDoctor(R"({"checks": [], "readings": [], "host": 7})"));
}

TEST(ReportBuilderTest, HasGpusWithoutNameOrPlace) {
    CReportBuilder builder(true);
    GpuReading reading;
    reading.temperatureCelsius = 61;
    builder.Add(EventAt(0, reading));
    GpuStatic fixed;
    builder.Add(EventAt(0, fixed));
    const nlohmann::json series = SeriesOf(DataOf(builder.Page(TimeOfTest())), "temperature");
    EXPECT_EQ(series["bus_id"], nullptr);
    EXPECT_EQ(series["name"], nullptr);
    EXPECT_EQ(series["last"], 61);
}

}  // namespace
}  // namespace zorvane
