#include "client/roundtracker.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

TEST(RoundTrackerTest, HoldsEachSourceOfTheOpenRound) {
    CRoundTracker rounds;
    rounds.Add("gpu");
    EXPECT_TRUE(rounds.Holds("gpu"));
    EXPECT_FALSE(rounds.Holds("cpu"));
    EXPECT_EQ(rounds.Completed(), 0u);
}

TEST(RoundTrackerTest, OpensAnEmptyRoundAfterACompleteOne) {
    CRoundTracker rounds;
    rounds.Add("gpu");
    rounds.Complete();
    EXPECT_FALSE(rounds.Holds("gpu"));
    EXPECT_EQ(rounds.Completed(), 1u);
}

TEST(RoundTrackerTest, DropsARoundWithoutCountingIt) {
    CRoundTracker rounds;
    rounds.Add("gpu");
    rounds.Drop();
    EXPECT_TRUE(rounds.Sources().empty());
    EXPECT_EQ(rounds.Completed(), 0u);
}

}  // namespace
}  // namespace zorvane
