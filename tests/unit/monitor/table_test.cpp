#include "monitor/table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using Lines = std::vector<std::string>;

CMachineModel TwoGpus() {
    CMachineModel model;
    model.StartWorker(312);
    model.Apply(Hello{L"Temp", 5});
    model.Apply(FullStatic());
    model.Apply(FullReading());
    model.Apply(Reading(0, "00000000:0A:00.0"));
    model.Apply(CpuTemperature{47});
    return model;
}

TEST(TableTest, ShowsEveryReadingUnderItsHeadingAndUnit) {
    std::string text = "\n";
    for (const std::string& line : RenderTable(TwoGpus(), "04:42:11", kAnyWidth)) {
        text += line + "\n";
    }
    EXPECT_EQ(text, R"(
04:42:11  worker 312 "Temp"  NVIDIA driver 551.86
PCI bus id        Name                     GPU  Mem  Temp  Fan  Graphics    SM  Memory  Video   VRAM
                                             %    %     C    %       MHz   MHz     MHz    MHz    MiB
00000000:01:00.0  NVIDIA GeForce RTX 4090   11    5    58  130      1800  1801   10501   1500  24564
00000000:0A:00.0  n/a                       10    0   n/a  n/a       n/a   n/a     n/a    n/a    n/a
CPU temperature: 47 C
)");
}

TEST(TableTest, LeavesTheLeastTellingColumnsOutOfANarrowTerminal) {
    const auto heading = [](size_t width) { return RenderTable(TwoGpus(), "", width)[1]; };
    const std::string base = "PCI bus id        Name                     GPU  Mem  Temp  Fan";
    EXPECT_EQ(heading(100), base + "  Graphics    SM  Memory  Video   VRAM");
    EXPECT_EQ(heading(99), base + "  Graphics    SM  Memory   VRAM");
    EXPECT_EQ(heading(92), base + "  Graphics  Memory   VRAM");
    EXPECT_EQ(heading(86), base + "  Graphics  Memory");
    EXPECT_EQ(heading(79), base + "  Graphics");
    EXPECT_EQ(heading(71), base);
}

TEST(TableTest, CutsWhatIsStillTooLong) {
    for (const std::string& line : RenderTable(TwoGpus(), "04:42:11", 10)) {
        EXPECT_LE(line.size(), 10u) << line;
    }
    EXPECT_EQ(RenderTable(TwoGpus(), "04:42:11", 10)[0], "04:42:11  ");
}

TEST(TableTest, CountsCharactersNotBytes) {
    CMachineModel model;
    GpuReading reading = Reading(0, "00000000:01:00.0");
    reading.name = L"\x00C4\x00C4\x00C4\x00C4\x00C4\x00C4";
    model.Apply(reading);
    const Lines lines = RenderTable(model, "", kAnyWidth);
    EXPECT_THAT(lines[3], testing::StartsWith("00000000:01:00.0  \xC3\x84\xC3\x84\xC3\x84\xC3\x84"
                                              "\xC3\x84\xC3\x84   10"));
    EXPECT_EQ(RenderTable(model, "", 20)[3], "00000000:01:00.0  \xC3\x84\xC3\x84");
}

TEST(TableTest, LetsNoNameSteerTheTerminal) {
    CMachineModel model;
    GpuReading reading = Reading(0, "\x1b[2J");
    reading.name = L"\x1b]0;x\x07\r\n\x009B";
    model.Apply(reading);
    model.Apply(Hello{L"\x1b[H", 5});
    GpuStatic fixed;
    fixed.first = reading;
    fixed.driverVersion = L"1\x1b";
    model.Apply(fixed);
    for (const std::string& line : RenderTable(model, "", kAnyWidth)) {
        EXPECT_EQ(line.find_first_of("\x1b\x07\r\n"), std::string::npos) << line;
        EXPECT_EQ(line.find("\xC2\x9B"), std::string::npos) << line;
    }
    EXPECT_THAT(RenderTable(model, "", kAnyWidth)[3], testing::StartsWith("?[2J"));
}

TEST(TableTest, NeverShowsADefaultForAReading) {
    CMachineModel model;
    model.Apply(Reading(0, ""));
    const Lines lines = RenderTable(model, "", kAnyWidth);
    EXPECT_THAT(lines[3],
                testing::MatchesRegex("n/a +n/a +10 +0 +n/a +n/a +n/a +n/a +n/a +n/a +n/a"));
    EXPECT_EQ(lines.back(), "CPU temperature: n/a");
}

TEST(TableTest, ShowsNoReadingsOfAGpuThatFellSilent) {
    CMachineModel model = TwoGpus();
    model.KeepOnly({});
    EXPECT_THAT(
        RenderTable(model, "", kAnyWidth)[3],
        testing::MatchesRegex("00000000:01:00.0  NVIDIA GeForce RTX 4090 +n/a +n/a +n/a +n/a "
                              "+n/a +n/a +n/a +n/a +24564"));
}

TEST(TableTest, SaysThatNothingHasComeYet) {
    CMachineModel model;
    model.StartWorker(7);
    EXPECT_EQ(RenderTable(model, "04:42:11", kAnyWidth),
              (Lines{"04:42:11  worker 7 (no hello yet)  NVIDIA driver n/a",
                     "No NVIDIA GPU has been reported.", "CPU temperature: n/a"}));
}

TEST(TableTest, PadsATextToItsWidth) {
    EXPECT_EQ(Padded("ab", 4), "ab  ");
    EXPECT_EQ(Padded("\xC3\x84", 2), "\xC3\x84 ");
    EXPECT_EQ(Padded("abcde", 4), "abcde");
}

}  // namespace
}  // namespace zorvane
