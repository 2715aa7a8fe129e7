#include "monitor/views/historylines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitor/terminal/celltext.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

CLastMinute Of(const std::vector<std::optional<int64_t>>& values) {
    CLastMinute history;
    int second = 0;
    for (const auto& value : values) {
        history.Add(TimeOfTest(second++), value);
    }
    return history;
}

TEST(HistoryLinesTest, DrawsABlockForEachValueAndABlankForNone) {
    EXPECT_EQ(Blocks(Of({0, 50, std::nullopt, 100}), {0, 100}, 6), "  ▁▄ █");
    EXPECT_EQ(Blocks(Of({40, 41, 42, 43, 44, 45, 46, 47}), {40, 47}, 8), "▁▂▃▄▅▆▇█");
    EXPECT_EQ(Blocks(Of({}), {0, 100}, 3), "   ");
}

TEST(HistoryLinesTest, KeepsTheNewestWhereThereIsNoRoomForAll) {
    EXPECT_EQ(Blocks(Of({0, 0, 0, 100}), {0, 100}, 2), "▁█");
}

TEST(HistoryLinesTest, StaysInsideItsHeight) {
    EXPECT_EQ(Blocks(Of({-5, 500}), {0, 100}, 2), "▁█");
}

TEST(HistoryLinesTest, HasTheLowestAndTheHighestBesideTheBlocks) {
    CMachineModel model;
    for (const int celsius : {40, 90, 60}) {
        model.Apply(EventAt(0, CpuTemperature{celsius}));
    }
    const StyledLines lines = HistoryLines(model, 40);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_THAT(PlainText(lines[1]), testing::MatchesRegex("CPU +▁█▄   40 to 90 C *"));
}

TEST(HistoryLinesTest, ShowsAChangeByOneDegreeAsSmall) {
    CMachineModel model;
    for (const int celsius : {40, 41, 40}) {
        model.Apply(EventAt(0, CpuTemperature{celsius}));
    }
    EXPECT_THAT(PlainText(HistoryLines(model, 40)[1]),
                testing::MatchesRegex("CPU +▁▂▁   40 to 41 C *"));
}

TEST(HistoryLinesTest, HasUtilisationsBesideTemperaturesInAWideTerminal) {
    CMachineModel model;
    model.Apply(EventAt(0, FullReading()));
    model.Apply(EventAt(0, CpuTemperature{40}));
    const StyledLines wide = HistoryLines(model, 159);
    EXPECT_THAT(PlainText(wide[0]), testing::HasSubstr("GPU utilisation in the last minute"));
    EXPECT_THAT(PlainText(wide[1]), testing::MatchesRegex("01:00.0 .* 58 to 58 C .* 11 to 11 % *"));
    EXPECT_THAT(PlainText(wide[2]), testing::Not(testing::HasSubstr("%")));
    const StyledLines narrow = HistoryLines(model, 158);
    EXPECT_THAT(PlainText(narrow[1]), testing::Not(testing::HasSubstr("%")));
    for (const StyledLine& line : wide) {
        EXPECT_LE(CellsOf(PlainText(line)), 159u);
    }
}

TEST(HistoryLinesTest, IsNothingWithoutReadingsOrRoom) {
    CMachineModel model;
    EXPECT_TRUE(HistoryLines(model, 80).empty());
    model.Apply(EventAt(0, CpuTemperature{40}));
    EXPECT_TRUE(HistoryLines(model, 28).empty());
    EXPECT_FALSE(HistoryLines(model, 29).empty());
}

}  // namespace
}  // namespace zorvane
