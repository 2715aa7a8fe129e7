#include "monitor/model/history.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::ElementsAre;
using testing::Eq;

const auto kGap = std::nullopt;

TEST(HistoryTest, KeepsTheLastReadingsAndTheirRange) {
    CLastMinute history;
    EXPECT_FALSE(history.Range());
    for (int i = 0; i < 70; ++i) {
        history.Add(TimeOfTest(i), i);
    }
    EXPECT_EQ(history.Values().size(), CLastMinute::kKept);
    EXPECT_EQ(history.Range()->lowest, 10);
    EXPECT_EQ(history.Range()->highest, 69);
}

TEST(HistoryTest, HasAGapWhereNothingWasRead) {
    CLastMinute history;
    history.Add(TimeOfTest(0), 50);
    history.Add(TimeOfTest(1), std::nullopt);
    history.AddGap();
    history.Add(TimeOfTest(3), 40);
    EXPECT_THAT(history.Values(), ElementsAre(Eq(50), Eq(kGap), Eq(kGap), Eq(40)));
    EXPECT_EQ(history.Range()->lowest, 40);
}

TEST(HistoryTest, HasNoGapForRoundsThatTakeLongerThanASecond) {
    CLastMinute history;
    history.Add(TimeOfTest(0), 1);
    history.Add(TimeOfTest(3), 2);
    history.Add(TimeOfTest(8), 3);
    EXPECT_THAT(history.Values(), ElementsAre(Eq(1), Eq(2), Eq(3)));
}

TEST(HistoryTest, ShowsHowLongNothingCame) {
    CLastMinute history;
    history.Add(TimeOfTest(0), 1);
    history.AddGap();
    history.Add(TimeOfTest(6), 2);
    EXPECT_THAT(history.Values(),
                ElementsAre(Eq(1), Eq(kGap), Eq(kGap), Eq(kGap), Eq(kGap), Eq(kGap), Eq(2)));
    history.Add(TimeOfTest(100000), 3);
    EXPECT_EQ(history.Values().size(), CLastMinute::kKept);
    EXPECT_EQ(history.Range()->lowest, 3);
}

TEST(HistoryTest, GoesOnWhenTheClockIsSetBack) {
    CLastMinute history;
    history.Add(TimeOfTest(1000), 1);
    history.Add(TimeOfTest(0), 2);
    EXPECT_THAT(history.Values(), ElementsAre(Eq(1), Eq(2)));
}

}  // namespace
}  // namespace zorvane
