#include "client/staleness.h"

#include <gtest/gtest.h>

#include "tests/unit/client/readings.h"

namespace zorvane {
namespace {

using namespace std::chrono_literals;

Moment At(int seconds) { return {TimeOfTest(seconds), std::chrono::seconds(1000 + seconds)}; }

// Checks once a second from `first` to `last`; gives the second in which it became stale.
std::optional<int> CheckUntil(CStaleness& staleness, int first, int last) {
    std::optional<int> stale;
    for (int second = first; second <= last; ++second) {
        if (staleness.Check(At(second))) {
            EXPECT_FALSE(stale) << "told twice";
            stale = second;
        }
    }
    return stale;
}

TEST(StalenessTest, TellsASilenceOnceWhenItIsTooLong) {
    CStaleness staleness({5s, 30s});
    staleness.Begin(At(0));
    staleness.OnReading(TimeOfTest(2));
    staleness.OnRound(At(0));
    EXPECT_EQ(CheckUntil(staleness, 1, 20), 5);
    EXPECT_FALSE(staleness.IsHopeless());
}

TEST(StalenessTest, SaysSinceWhenNothingHasCome) {
    CStaleness staleness({5s, 30s});
    staleness.Begin(At(0));
    staleness.OnReading(TimeOfTest(2));
    CheckUntil(staleness, 1, 4);
    EXPECT_EQ(staleness.Check(At(5))->since, TimeOfTest(2));
}

TEST(StalenessTest, CountsFromTheStartForAWorkerThatNeverReports) {
    CStaleness staleness({5s, 30s});
    staleness.Begin(At(0));
    CheckUntil(staleness, 1, 4);
    EXPECT_EQ(staleness.Check(At(5))->since, TimeOfTest(0));
}

TEST(StalenessTest, BeginsAnewWithEachRoundButNotWithASingleReading) {
    CStaleness staleness({5s, 30s});
    staleness.Begin(At(0));
    EXPECT_FALSE(CheckUntil(staleness, 1, 4));
    staleness.OnRound(At(4));
    EXPECT_FALSE(CheckUntil(staleness, 5, 8));
    staleness.OnReading(TimeOfTest(8));
    EXPECT_TRUE(staleness.Check(At(9)));
}

// The checks, once a second, need not fall together with the rounds.
TEST(StalenessTest, CountsFromTheRoundAndNotFromTheCheckBeforeIt) {
    CStaleness staleness({2s, 30s});
    staleness.Begin(At(0));
    for (int second = 1; second <= 10; ++second) {
        Moment now = At(second);
        now.tick -= 10ms;
        staleness.OnRound(now);
        EXPECT_FALSE(staleness.Check(At(second))) << second;
    }
    EXPECT_FALSE(staleness.Check(At(11)));
    EXPECT_TRUE(staleness.Check(At(12)));
}

TEST(StalenessTest, TellsWhenARoundHasComeAgain) {
    CStaleness staleness({5s, 30s});
    staleness.Begin(At(0));
    EXPECT_FALSE(staleness.OnRound(At(0)));
    CheckUntil(staleness, 1, 10);
    const auto fresh = staleness.OnRound(At(10));
    ASSERT_TRUE(fresh);
    EXPECT_EQ(fresh->since, TimeOfTest(0));
    EXPECT_FALSE(staleness.OnRound(At(10)));
    EXPECT_EQ(CheckUntil(staleness, 11, 20), 15);
}

TEST(StalenessTest, GivesTheWorkerUpAfterTheLongerLimit) {
    CStaleness staleness({5s, 30s});
    staleness.Begin(At(0));
    CheckUntil(staleness, 1, 29);
    EXPECT_FALSE(staleness.IsHopeless());
    staleness.Check(At(30));
    EXPECT_TRUE(staleness.IsHopeless());
    staleness.Begin(At(31));
    EXPECT_FALSE(staleness.IsHopeless());
    // The silence of the worker before does not count.
    EXPECT_EQ(CheckUntil(staleness, 32, 60), 36);
    EXPECT_FALSE(staleness.IsHopeless());
}

TEST(StalenessTest, GivesNoWorkerUpThatGivesASign) {
    CStaleness staleness({5s, 30s});
    staleness.Begin(At(0));
    EXPECT_EQ(CheckUntil(staleness, 1, 20), 5);
    staleness.OnSign(At(20));
    EXPECT_FALSE(CheckUntil(staleness, 21, 49));
    EXPECT_FALSE(staleness.IsHopeless());
    staleness.Check(At(50));
    EXPECT_TRUE(staleness.IsHopeless());
}

TEST(StalenessTest, DoesNotTakeAComputersSleepForSilence) {
    CStaleness staleness({5s, 30s});
    staleness.Begin(At(0));
    EXPECT_FALSE(staleness.Check(At(3600)));
    EXPECT_FALSE(staleness.IsHopeless());
    EXPECT_FALSE(CheckUntil(staleness, 3601, 3602));
    EXPECT_TRUE(staleness.Check(At(3603)));
}

TEST(StalenessTest, ChecksInTimeAndOnlyWhileAWorkerRuns) {
    CStaleness staleness({1500ms, 30s});
    EXPECT_FALSE(staleness.DueTick());
    EXPECT_FALSE(staleness.Check(At(100)));
    staleness.Begin(At(0));
    EXPECT_EQ(staleness.DueTick(), 1001s);
    staleness.Check(At(1));
    EXPECT_EQ(staleness.DueTick(), 1001500ms);
    staleness.End();
    EXPECT_FALSE(staleness.DueTick());
}

}  // namespace
}  // namespace zorvane
