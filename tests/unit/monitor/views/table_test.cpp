#include "monitor/views/table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "monitor/terminal/celltext.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using Lines = std::vector<std::string>;

CMachineModel TwoGpus() {
    CMachineModel model;
    model.Apply(EventAt(0, WorkerStartEvent{312}));
    model.Apply(EventAt(0, HelloEvent{{L"Temp", 5}, 312}));
    model.Apply(EventAt(0, FullStatic()));
    model.Apply(EventAt(0, FullReading()));
    model.Apply(EventAt(0, Reading(0, "00000000:0A:00.0")));
    model.Apply(EventAt(0, CpuTemperature{47}));
    return model;
}

TEST(TableTest, ShowsEveryReadingUnderItsHeadingAndUnit) {
    std::string text = "\n";
    for (const std::string& line : RenderTable(TwoGpus(), kAnyWidth)) {
        text += line + "\n";
    }
    EXPECT_EQ(text, "\n" + LocalClock(TimeOfTest()) + R"(  worker 312 "Temp"  NVIDIA driver 551.86
PCI bus id        Name                     GPU  Mem  Temp  Fan  Graphics    SM  Memory  Video   VRAM
                                             %    %     C    %       MHz   MHz     MHz    MHz    MiB
00000000:01:00.0  NVIDIA GeForce RTX 4090   11    5    58  130      1800  1801   10501   1500  24564
00000000:0A:00.0  n/a                       10    0   n/a  n/a       n/a   n/a     n/a    n/a    n/a
CPU temperature: 47 C
)");
}

TEST(TableTest, SaysThatNoWorkerRunsOnBatteryAndShowsNoReadingMeanwhile) {
    CMachineModel model = TwoGpus();
    model.Apply(EventAt(1, ExitEvent()));
    model.Apply(EventAt(1, PausedEvent()));
    const Lines lines = RenderTable(model, kAnyWidth);
    EXPECT_EQ(lines[0], LocalClock(TimeOfTest(1)) + "  PAUSED ON BATTERY  NVIDIA driver 551.86");
    EXPECT_THAT(lines[3], testing::EndsWith("n/a  24564"));
    EXPECT_EQ(lines[5], "CPU temperature: n/a");
    model.Apply(EventAt(9, ResumedEvent()));
    EXPECT_THAT(RenderTable(model, kAnyWidth)[0], testing::Not(testing::HasSubstr("BATTERY")));
    CMachineModel never;
    never.Apply(EventAt(0, PausedEvent()));
    EXPECT_THAT(RenderTable(never, kAnyWidth)[0], testing::HasSubstr("PAUSED ON BATTERY"));
}

TEST(TableTest, ShortensBusIdsAndNamesBeforeItLeavesColumnsOut) {
    const auto row = [](size_t width) { return "\n" + RenderTable(TwoGpus(), width)[3]; };
    EXPECT_EQ(row(100), R"(
00000000:01:00.0  NVIDIA GeForce RTX 4090   11    5    58  130      1800  1801   10501   1500  24564)");
    EXPECT_EQ(row(99), R"(
01:00.0  NVIDIA GeForce RTX 4090   11    5    58  130      1800  1801   10501   1500  24564)");
    EXPECT_EQ(row(90), R"(
01:00.0  GeForce RTX 4090   11    5    58  130      1800  1801   10501   1500  24564)");
    EXPECT_EQ(row(79), R"(
01:00.0  GeForce RTX 4090   11    5    58  130      1800  1801   10501  24564)");
    EXPECT_EQ(row(39), R"(
01:00.0  RTX 4090   11    5    58  130)");
    EXPECT_EQ(row(36), R"(
01:00.0  RTX 4…   11    5    58  130)");
}

TEST(TableTest, LeavesTheLeastTellingColumnsOutOfANarrowTerminal) {
    // The words alone: what is left of the width goes to the names.
    const auto heading = [](size_t width) {
        std::istringstream line(RenderTable(TwoGpus(), width)[1]);
        std::string words;
        for (std::string word; line >> word;) {
            words += (words.empty() ? "" : " ") + word;
        }
        return words;
    };
    const std::string base = "PCI Name GPU Mem Temp Fan";
    EXPECT_EQ(heading(84), base + " Graphics SM Memory Video VRAM");
    EXPECT_EQ(heading(83), base + " Graphics SM Memory VRAM");
    EXPECT_EQ(heading(76), base + " Graphics Memory VRAM");
    EXPECT_EQ(heading(70), base + " Graphics Memory");
    EXPECT_EQ(heading(63), base + " Graphics");
    EXPECT_EQ(heading(55), base);
    EXPECT_EQ(heading(35), "PCI GPU Mem Temp Fan");
    EXPECT_EQ(heading(26), "PCI GPU Temp Fan");
    EXPECT_EQ(heading(18), "PCI GPU Temp");
    EXPECT_EQ(heading(17), "PCI Temp");
}

TEST(TableTest, KeepsTheDomainThatTellsGpusApart) {
    CMachineModel model;
    model.Apply(EventAt(0, Reading(0, "00010000:01:00.0")));
    model.Apply(EventAt(0, Reading(1, "0000:02:00.0")));
    EXPECT_THAT(RenderTable(model, 40)[3], testing::StartsWith("02:00.0 "));
    EXPECT_THAT(RenderTable(model, 40)[4], testing::StartsWith("00010000:01:00.0 "));
}

TEST(TableTest, CountsGpusWithoutARowInItsLastLine) {
    CMachineModel model = TwoGpus();
    for (uint32_t i = 2; i < 48; ++i) {
        model.Apply(EventAt(0, Reading(i, "")));
    }
    const StyledLines lines = RenderStyledTable(model, {.columns = 40, .rows = 8});
    ASSERT_EQ(lines.size(), 8u);
    EXPECT_THAT(PlainText(lines[6]), testing::StartsWith("index 3 "));
    EXPECT_EQ(PlainText(lines[7]), "... and 44 more, CPU 47 C");
    model.KeepOnly({});
    EXPECT_EQ(PlainText(RenderStyledTable(model, {.columns = 40, .rows = 2}).back()),
              "... and 48 more, CPU n/a");
    EXPECT_EQ(RenderStyledTable(model, {.columns = 40, .rows = 1}).size(), 1u);
    EXPECT_EQ(PlainText(RenderStyledTable(model, {.columns = 40, .rows = 52}).back()),
              "CPU temperature: n/a");
}

TEST(TableTest, KeepsTheStateOfTheWorkerInANarrowTerminal) {
    CMachineModel model = TwoGpus();
    model.Apply(EventAt(9, StaleEvent{TimeOfTest(3)}));
    EXPECT_EQ(RenderTable(model, 39)[0],
              LocalClock(TimeOfTest(9)) + "  NO READINGS SINCE " + LocalClock(TimeOfTest(3)));
    EXPECT_EQ(RenderTable(TwoGpus(), 39)[0], LocalClock(TimeOfTest()) + "  worker 312 \"Temp\"");
}

TEST(TableTest, MarksWhatIsOverItsThreshold) {
    CMachineModel model = TwoGpus();
    model.Apply(EventAt(1, WarningEvent{"gpu.temp", GpuId{1, std::nullopt}, 58, 50, true}));
    model.Apply(EventAt(1, WarningEvent{"cpu.temp", std::nullopt, 47, 40, true}));
    EXPECT_THAT(RenderTable(model, kAnyWidth)[3], testing::HasSubstr("  5   !58  130 "));
    EXPECT_THAT(RenderTable(model, kAnyWidth)[4], testing::Not(testing::HasSubstr("!")));
    EXPECT_EQ(RenderTable(model, kAnyWidth)[5], "CPU temperature: !47 C");
    const StyledLines lines = RenderStyledTable(model, {});
    EXPECT_THAT(lines[3].spans, testing::Contains(Span{"!58", Style::kAlarm}));
    EXPECT_THAT(lines[5].spans, testing::Contains(Span{"!47 C", Style::kAlarm}));
    model.KeepOnly({});
    EXPECT_THAT(RenderTable(model, kAnyWidth)[3], testing::Not(testing::HasSubstr("!")));
}

TEST(TableTest, HasTheLastMinuteWhereThereIsRoomForAllOfIt) {
    const StyledLines all =
        RenderStyledTable(TwoGpus(), {.columns = 80, .rows = 11, .hasHistory = true});
    ASSERT_EQ(all.size(), 11u);
    EXPECT_THAT(PlainText(all[7]), testing::HasSubstr("Temperature in the last minute"));
    EXPECT_THAT(PlainText(all[8]), testing::MatchesRegex("01:00.0 +\xE2\x96\x81   58 to 58 C *"));
    EXPECT_THAT(PlainText(all[9]), testing::MatchesRegex("0A:00.0 +n/a *"));
    EXPECT_THAT(PlainText(all[10]), testing::StartsWith("CPU "));
    EXPECT_EQ(RenderStyledTable(TwoGpus(), {.columns = 80, .rows = 10, .hasHistory = true}).size(),
              6u);
    EXPECT_EQ(RenderStyledTable(TwoGpus(), {.columns = 30, .rows = 99, .hasHistory = true}).size(),
              6u);
}

TEST(TableTest, CutsWhatIsStillTooLong) {
    for (const std::string& line : RenderTable(TwoGpus(), 10)) {
        EXPECT_LE(CellsOf(line), 10u) << line;
    }
    EXPECT_EQ(RenderTable(TwoGpus(), 10)[0], LocalClock(TimeOfTest()));
}

TEST(TableTest, CountsCharactersNotBytes) {
    CMachineModel model;
    GpuReading reading = Reading(0, "00000000:01:00.0");
    reading.name = L"\x00C4\x00C4\x00C4\x00C4\x00C4\x00C4";
    model.Apply(EventAt(0, reading));
    const Lines lines = RenderTable(model, kAnyWidth);
    EXPECT_THAT(lines[3], testing::StartsWith("00000000:01:00.0  \xC3\x84\xC3\x84\xC3\x84\xC3\x84"
                                              "\xC3\x84\xC3\x84   10"));
}

TEST(TableTest, LetsNoNameSteerTheTerminal) {
    CMachineModel model;
    GpuReading reading = Reading(0, "\x1b[2J");
    reading.name = L"\x1b]0;x\x07\r\n\x009B";
    model.Apply(EventAt(0, reading));
    model.Apply(EventAt(0, HelloEvent{{L"\x1b[H", 5}, 1}));
    GpuStatic fixed;
    fixed.first = reading;
    fixed.driverVersion = L"1\x1b";
    model.Apply(EventAt(0, fixed));
    for (const std::string& line : RenderTable(model, kAnyWidth)) {
        EXPECT_EQ(line.find_first_of("\x1b\x07\r\n"), std::string::npos) << line;
        EXPECT_EQ(line.find("\xC2\x9B"), std::string::npos) << line;
    }
    EXPECT_THAT(RenderTable(model, kAnyWidth)[3], testing::StartsWith("?[2J"));
}

TEST(TableTest, NeverShowsADefaultForAReading) {
    CMachineModel model;
    model.Apply(EventAt(0, Reading(0, "")));
    const Lines lines = RenderTable(model, kAnyWidth);
    EXPECT_THAT(lines[3],
                testing::MatchesRegex("index 0 +n/a +10 +0 +n/a +n/a +n/a +n/a +n/a +n/a +n/a"));
    EXPECT_EQ(lines.back(), "CPU temperature: n/a");
}

TEST(TableTest, ShowsNoMemoryOfAGpuWhoseStaticRecordHasNone) {
    CMachineModel model = TwoGpus();
    GpuStatic fixed = FullStatic();
    fixed.totalMemoryKiB = std::nullopt;
    model.Apply(EventAt(1, fixed));
    EXPECT_THAT(RenderTable(model, kAnyWidth)[3], testing::EndsWith("1500   n/a"));
}

TEST(TableTest, ShowsNoReadingsOfAGpuThatFellSilent) {
    CMachineModel model = TwoGpus();
    model.KeepOnly({});
    EXPECT_THAT(
        RenderTable(model, kAnyWidth)[3],
        testing::MatchesRegex("00000000:01:00.0  NVIDIA GeForce RTX 4090 +n/a +n/a +n/a +n/a "
                              "+n/a +n/a +n/a +n/a +24564"));
}

TEST(TableTest, SaysThatNothingHasComeYet) {
    CMachineModel model;
    model.Apply(EventAt(0, WorkerStartEvent{7}));
    EXPECT_EQ(RenderTable(model, kAnyWidth),
              (Lines{LocalClock(TimeOfTest()) + "  worker 7 (no hello yet)  NVIDIA driver n/a",
                     "No NVIDIA GPU has been reported.", "CPU temperature: n/a"}));
}

TEST(TableTest, TellsGpusWithoutABusIdApartByTheirIndex) {
    CMachineModel model;
    model.Apply(EventAt(0, Reading(1, "00000000:01:00.0")));
    model.Apply(EventAt(0, Reading(2, "00000000:01:00.0")));
    model.Apply(EventAt(0, Reading(3, "")));
    const Lines lines = RenderTable(model, kAnyWidth);
    EXPECT_THAT(lines[3], testing::StartsWith("00000000:01:00.0  "));
    EXPECT_THAT(lines[4], testing::StartsWith("index 2 "));
    EXPECT_THAT(lines[5], testing::StartsWith("index 3 "));
}

TEST(TableTest, StandsUnderTheTimeOfItsOldestReading) {
    CMachineModel model;
    model.Apply(EventAt(0, FullReading()));
    model.Apply(EventAt(5, CpuTemperature{47}));
    model.Apply(EventAt(9, NoticeEvent{"id", "text"}));
    EXPECT_THAT(RenderTable(model, kAnyWidth)[0], testing::StartsWith(LocalClock(TimeOfTest(0))));
}

TEST(TableTest, SaysSinceWhenNothingHasComeAndThatTheWorkerHasGone) {
    CMachineModel model = TwoGpus();
    model.Apply(EventAt(9, StaleEvent{TimeOfTest(3)}));
    EXPECT_THAT(RenderTable(model, kAnyWidth)[0],
                testing::HasSubstr("NO READINGS SINCE " + LocalClock(TimeOfTest(3))));
    EXPECT_EQ(RenderTable(model, kAnyWidth).back(), "CPU temperature: n/a");
    model.Apply(EventAt(9, FreshEvent{TimeOfTest(3)}));
    EXPECT_THAT(RenderTable(model, kAnyWidth)[0], testing::Not(testing::HasSubstr("SINCE")));
    model.Apply(EventAt(9, ExitEvent{}));
    EXPECT_THAT(RenderTable(model, kAnyWidth)[0], testing::HasSubstr("(has ended)"));
}

TEST(TableTest, GivesTheReasonForWhatIsMissing) {
    CMachineModel model;
    model.Apply(EventAt(0, MissingEvent{"cpu", "id", "needs administrator rights", "Why.", "Do."}));
    model.Apply(EventAt(0, MissingEvent{"gpu", "id", "no \x1b driver", "It \x1b is not.", ""}));
    std::vector<std::string> lines = RenderTable(model, kAnyWidth);
    lines.erase(lines.begin());
    EXPECT_THAT(lines, testing::ElementsAre("No NVIDIA GPU: no ? driver",
                                            "CPU temperature: n/a (needs administrator rights)",
                                            "  GPU: It ? is not.", "  CPU: Why. Do."));
}

TEST(TableTest, BreaksReasonsAtTheWidth) {
    CMachineModel model;
    model.Apply(EventAt(0, MissingEvent{"cpu", "id", "x", "One two three four.", "Five six."}));
    std::vector<std::string> lines = RenderTable(model, 20);
    lines.erase(lines.begin(), lines.begin() + 3);
    EXPECT_THAT(lines,
                testing::ElementsAre("  CPU: One two three", "       four. Five", "       six."));
}

TEST(TableTest, GivesNoReasonForWhatIsThere) {
    CMachineModel model = TwoGpus();
    model.Apply(EventAt(0, MissingEvent{"log", "id", "", "No log.", "Make one."}));
    const size_t healthy = RenderTable(model, kAnyWidth).size();
    EXPECT_EQ(RenderTable(model, kAnyWidth).back(), "CPU temperature: 47 C");
    model.Apply(EventAt(1, CpuUnreadEvent()));
    EXPECT_EQ(RenderTable(model, kAnyWidth).size(), healthy + 1);
    EXPECT_EQ(RenderTable(model, kAnyWidth).back(), "  Log: No log. Make one.");
}

}  // namespace
}  // namespace zorvane
