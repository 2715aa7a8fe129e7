#include "sim/scenario/movingvalue.h"

#include <gtest/gtest.h>

namespace {

TEST(MovingValue, ConstantStaysTheSame) {
    CMovingValue value(4294967295.0);
    EXPECT_EQ(value.Read(0), 4294967295.0);
    EXPECT_EQ(value.Read(1000), 4294967295.0);
}

TEST(MovingValue, TriangleRisesFromItsMiddleThenFallsThroughItToTheLowestAndReturns) {
    CMovingValue value(Wave{WaveShape::kTriangle, 45, 10, 20});
    EXPECT_DOUBLE_EQ(value.Read(0), 45);
    EXPECT_DOUBLE_EQ(value.Read(2.5), 50);
    EXPECT_DOUBLE_EQ(value.Read(5), 55);
    EXPECT_DOUBLE_EQ(value.Read(10), 45);
    EXPECT_DOUBLE_EQ(value.Read(15), 35);
    EXPECT_DOUBLE_EQ(value.Read(17.5), 40);
    EXPECT_DOUBLE_EQ(value.Read(20), 45);
    EXPECT_DOUBLE_EQ(value.Read(205), 55);
}

TEST(MovingValue, SineIsBasePlusAmplitudeTimesTheSineOfTheShareOfThePeriod) {
    CMovingValue value(Wave{WaveShape::kSine, 45, 10, 12});
    EXPECT_DOUBLE_EQ(value.Read(0), 45);
    EXPECT_NEAR(value.Read(1), 50, 1e-9);
    EXPECT_NEAR(value.Read(3), 55, 1e-9);
    EXPECT_NEAR(value.Read(9), 35, 1e-9);
    EXPECT_NEAR(value.Read(12 * 7 + 1), 50, 1e-9);
}

TEST(MovingValue, StepsHoldEachValueForTheStepTimeAndStartAgain) {
    CMovingValue value(CSequence<double>::Steps({7, 8, 9}, 2));
    EXPECT_EQ(value.Read(0), 7);
    EXPECT_EQ(value.Read(1.999), 7);
    EXPECT_EQ(value.Read(2), 8);
    EXPECT_EQ(value.Read(5.9), 9);
    EXPECT_EQ(value.Read(6), 7);
    EXPECT_EQ(value.Read(8), 8);
}

TEST(MovingValue, PerReadGivesOneValueAReadWhateverTheTimeAndThenTheLastOne) {
    CMovingValue value(CSequence<double>::PerRead({1, 2, 3}));
    EXPECT_EQ(value.Read(100), 1);
    EXPECT_EQ(value.Read(0), 2);
    EXPECT_EQ(value.Read(50), 3);
    EXPECT_EQ(value.Read(0), 3);
    EXPECT_EQ(value.Read(0), 3);
}

TEST(MovingValue, RoundingGoesToTheNearestAndHalvesGoAwayFromZero) {
    EXPECT_EQ(RoundToUnsigned(45.49), 45u);
    EXPECT_EQ(RoundToUnsigned(45.5), 46u);
    EXPECT_EQ(RoundToSigned(-7.5), -8);
    EXPECT_EQ(RoundToSigned(2.5), 3);
}

TEST(MovingValue, RoundingStaysInsideThirtyTwoBits) {
    EXPECT_EQ(RoundToUnsigned(-1), 0u);
    EXPECT_EQ(RoundToUnsigned(4294967295.0), 4294967295u);
    EXPECT_EQ(RoundToUnsigned(1e20), 4294967295u);
    EXPECT_EQ(RoundToSigned(-1e20), -2147483647 - 1);
    EXPECT_EQ(RoundToSigned(1e20), 2147483647);
}

}  // namespace
