#include "client/restart.h"

#include <gtest/gtest.h>

#include <limits>

namespace zorvane {
namespace {

using namespace std::chrono_literals;

TEST(RestartTest, DoublesThePauseUpToAMinute) {
    constexpr std::chrono::milliseconds kPauses[] = {1s, 2s, 4s, 8s, 16s, 32s, 60s, 60s};
    unsigned attempt = 0;
    for (const auto pause : kPauses) {
        EXPECT_EQ(RestartPause(++attempt), pause) << attempt;
    }
    EXPECT_EQ(RestartPause(std::numeric_limits<unsigned>::max()), 60s);
}

TEST(RestartTest, CountsOnWhileWorkersDieYoung) {
    EXPECT_EQ(NextAttempt(0, 0ms), 1u);
    EXPECT_EQ(NextAttempt(1, 59999ms), 2u);
}

TEST(RestartTest, BeginsAnewAfterAWorkerThatLivedAMinute) {
    EXPECT_EQ(NextAttempt(7, 60000ms), 1u);
}

}  // namespace
}  // namespace zorvane
