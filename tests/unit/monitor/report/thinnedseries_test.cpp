#include "monitor/report/thinnedseries.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

TEST(ThinnedSeriesTest, KeepsEveryPointOfAShortTime) {
    CThinnedSeries series;
    for (int second = 0; second < 100; ++second) {
        series.Add(TimeOfTest(second), second % 7);
    }
    EXPECT_EQ(series.Points().size(), 100u);
    EXPECT_EQ(*series.Points()[8].value, 1);
}

TEST(ThinnedSeriesTest, LosesNoPeakOfALongTime) {
    CThinnedSeries series;
    constexpr int kDay = 24 * 60 * 60;
    for (int second = 0; second < kDay; ++second) {
        series.Add(TimeOfTest(second), second == 40000 ? 99 : second == 50000 ? 3 : 50);
    }
    series.Coarsen(500);
    const std::vector<SeriesPoint> points = series.Points();
    EXPECT_LE(points.size(), 1000u);
    const auto find = [&](double value) {
        return std::find_if(points.begin(), points.end(),
                            [&](const SeriesPoint& point) { return point.value == value; });
    };
    ASSERT_NE(find(99), points.end());
    EXPECT_EQ(find(99)->time, TimeOfTest(40000));
    ASSERT_NE(find(3), points.end());
    EXPECT_EQ(find(3)->time, TimeOfTest(50000));
    EXPECT_TRUE(std::is_sorted(
        points.begin(), points.end(),
        [](const SeriesPoint& left, const SeriesPoint& right) { return left.time < right.time; }));
}

TEST(ThinnedSeriesTest, KeepsGapsHoweverShort) {
    CThinnedSeries series;
    for (int second = 0; second < 50000; ++second) {
        series.Add(TimeOfTest(second), second == 25000 ? std::nullopt : std::optional(50.0));
    }
    series.Coarsen(100);
    const std::vector<SeriesPoint> points = series.Points();
    const auto gap = std::find_if(points.begin(), points.end(),
                                  [](const SeriesPoint& point) { return !point.value; });
    ASSERT_NE(gap, points.end());
    EXPECT_EQ(gap->time, TimeOfTest(25000));
}

TEST(ThinnedSeriesTest, InterruptsTheLineWhereNothingCame) {
    CThinnedSeries series;
    series.Add(TimeOfTest(0), 1);
    series.Add(TimeOfTest(5), 2);
    series.Add(TimeOfTest(11), 3);
    const std::vector<SeriesPoint> points = series.Points();
    ASSERT_EQ(points.size(), 4u);
    EXPECT_FALSE(points[2].value);
    EXPECT_GT(points[2].time, TimeOfTest(5));
    EXPECT_LT(points[2].time, TimeOfTest(11));
}

TEST(ThinnedSeriesTest, InterruptsOnce) {
    CThinnedSeries series;
    series.Interrupt(TimeOfTest(0));
    EXPECT_TRUE(series.Points().empty());
    series.Add(TimeOfTest(1), 1);
    series.Interrupt(TimeOfTest(2));
    series.Interrupt(TimeOfTest(3));
    EXPECT_EQ(series.Points().size(), 2u);
}

TEST(ThinnedSeriesTest, SummarisesAllValuesAndNotOnlyThoseKept) {
    CThinnedSeries series;
    for (int second = 0; second < 40000; ++second) {
        series.Add(TimeOfTest(second), second % 10);
    }
    series.Add(TimeOfTest(40001), std::nullopt);
    series.Coarsen(10);
    const auto summary = series.Summary();
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->lowest, 0);
    EXPECT_EQ(summary->highest, 9);
    EXPECT_DOUBLE_EQ(summary->average, 4.5);
    EXPECT_EQ(summary->last, 9);
    EXPECT_FALSE(CThinnedSeries().Summary());
}

TEST(ThinnedSeriesTest, LeavesOutTimesThatDoNotRise) {
    CThinnedSeries series;
    series.Add(TimeOfTest(5), 1);
    series.Add(TimeOfTest(5), 2);
    series.Add(TimeOfTest(4), 3);
    EXPECT_EQ(series.Points().size(), 1u);
}

}  // namespace
}  // namespace zorvane
