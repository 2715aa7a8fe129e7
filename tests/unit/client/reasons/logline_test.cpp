#include <gtest/gtest.h>

#include <string>

#include "client/reasons/logline.h"

using namespace zorvane;

namespace {

const std::string kWhole =
    "11-16 00:10:05.123 [ 4242][14711][E][I][  65][utility] service is not running. 1";

std::string Line(uint32_t processId, const std::string& rest) {
    return "11-16 00:10:05.123 [" + std::to_string(processId) + "][    1][E]" + rest + "\r\n";
}

}  // namespace

TEST(LogLine, IsTakenApart) {
    const std::optional<LogLine> line = ParseLogLine(kWhole);
    ASSERT_TRUE(line);
    EXPECT_EQ(line->time.month, 11);
    EXPECT_EQ(line->time.day, 16);
    EXPECT_EQ(line->time.hour, 0);
    EXPECT_EQ(line->time.minute, 10);
    EXPECT_EQ(line->time.second, 5);
    EXPECT_EQ(line->time.millisecond, 123);
    EXPECT_EQ(line->processId, 4242u);
    EXPECT_EQ(line->threadId, 14711u);
    EXPECT_EQ(line->tag, "E");
    EXPECT_EQ(line->level, "I");
    EXPECT_EQ(line->siteLine, 65u);
    EXPECT_EQ(line->source, "utility");
    EXPECT_EQ(line->message, "service is not running. 1");
}

TEST(LogLine, EndsWithItsLineEnd) {
    EXPECT_EQ(ParseLogLine(kWhole + "\r\n")->message, "service is not running. 1");
    EXPECT_EQ(ParseLogLine(kWhole + "\r\r\n")->message, "service is not running. 1\r");
}

TEST(LogLine, OfAMarkerHasNoSource) {
    const std::optional<LogLine> line =
        ParseLogLine("11-16 00:10:05.123 [ 4242][ 4711][E]-------log start\r\n");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->level, "");
    EXPECT_EQ(line->siteLine, std::nullopt);
    EXPECT_EQ(line->source, "");
    EXPECT_EQ(line->message, "-------log start");
    EXPECT_TRUE(IsRunStart(*line));
}

TEST(LogLine, OfANamelessSourceHasItsNumber) {
    const std::optional<LogLine> line =
        ParseLogLine("11-16 00:10:05.123 [ 4242][ 4711][E][I][  12] text");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->siteLine, 12u);
    EXPECT_EQ(line->source, "");
    EXPECT_EQ(line->message, "text");
}

TEST(LogLine, KeepsBracketsOfItsMessage) {
    EXPECT_EQ(ParseLogLine("11-16 00:10:05.123 [ 4242][ 4711][E][I][  12][x] [y] ]z[")->message,
              "[y] ]z[");
    EXPECT_EQ(ParseLogLine("11-16 00:10:05.123 [ 4242][ 4711][E][I][  12][x")->message,
              "[I][  12][x");
}

TEST(LogLine, IsNotASiteLineOnlyBecauseItsMessageSaysSo) {
    const std::optional<LogLine> line = ParseLogLine(
        "11-16 00:10:05.123 [ 4242][ 4711][E][I][ 158][msgloopprocess] cmd:"
        "-------log start");
    ASSERT_TRUE(line);
    EXPECT_FALSE(IsRunStart(*line));
}

// Cutting a line anywhere gives a whole stamp or nothing, and reads nothing behind its end.
TEST(LogLine, MayBeCutAnywhere) {
    const size_t stamp = kWhole.find("[I]");
    for (size_t length = 0; length <= kWhole.size(); ++length) {
        const std::string cut = kWhole.substr(0, length);
        EXPECT_EQ(ParseLogLine(std::string_view(cut.data(), cut.size())).has_value(),
                  length >= stamp)
            << cut;
    }
}

TEST(LogLine, IsRefusedWhenAByteOfItsStampIsAnother) {
    const std::string stamp = kWhole.substr(0, kWhole.find("[ 4242]"));
    for (size_t at = 0; at < stamp.size(); ++at) {
        std::string changed = kWhole;
        changed[at] = '\xFF';
        EXPECT_FALSE(ParseLogLine(changed)) << changed;
    }
}

TEST(LogLine, IsRefusedWithNumbersThatAreNone) {
    for (const char* line : {
             "13-16 00:10:05.123 [ 4242][ 4711][E]x",
             "00-16 00:10:05.123 [ 4242][ 4711][E]x",
             "11-32 00:10:05.123 [ 4242][ 4711][E]x",
             "11-16 24:10:05.123 [ 4242][ 4711][E]x",
             "11-16 00:60:05.123 [ 4242][ 4711][E]x",
             "11-16 00:10:61.123 [ 4242][ 4711][E]x",
             "11-16 00:10:05.123 [     ][ 4711][E]x",
             "11-16 00:10:05.123 [-4242][ 4711][E]x",
             "11-16 00:10:05.123 [99999999999][1][E]x",
             "11-16 00:10:05.123 [42 42][ 4711][E]x",
             "11-16 00:10:05.123 [ 4242][ 4711]E",
             "-1-16 00:10:05.123 [ 4242][ 4711][E]x",
         }) {
        EXPECT_FALSE(ParseLogLine(line)) << line;
    }
}

TEST(Log, LeavesOutWhatIsNoLineAndWhatIsUnfinished) {
    const std::string log = "rubbish\n" + Line(7, "-------log start") + std::string("\0\xFF\n", 3) +
                            "\r\n" + Line(7, "second") + kWhole;
    const std::vector<LogLine> lines = ParseLog(log);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].message, "-------log start");
    EXPECT_EQ(lines[1].message, "second");
    EXPECT_TRUE(ParseLog("").empty());
}

TEST(Log, HasTheLatestRunOfAProcess) {
    const std::vector<LogLine> lines =
        ParseLog(Line(7, "-------log start") + Line(7, "old") + Line(8, "-------log start") +
                 Line(7, "-------log start") + Line(8, "other") + Line(7, "new"));
    const std::vector<LogLine> run = LatestRun(lines, 7);
    ASSERT_EQ(run.size(), 2u);
    EXPECT_EQ(run[0].message, "-------log start");
    EXPECT_EQ(run[1].message, "new");
    EXPECT_EQ(LatestRun(lines, 8).size(), 2u);
    EXPECT_TRUE(LatestRun(lines, 9).empty());
}
