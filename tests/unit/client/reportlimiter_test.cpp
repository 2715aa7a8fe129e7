#include "client/reportlimiter.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

using namespace std::chrono_literals;

TEST(ReportLimiterTest, AdmitsAFirstFailureEvenAtTimeZero) {
    CReportLimiter limiter;
    EXPECT_EQ(limiter.Admit("a", 0ms), 0u);
}

TEST(ReportLimiterTest, AdmitsOneAMinuteAndCountsWhatItLeavesOut) {
    CReportLimiter limiter;
    limiter.Admit("a", 1000ms);
    EXPECT_EQ(limiter.Admit("a", 1000ms), std::nullopt);
    EXPECT_EQ(limiter.Admit("a", 60999ms), std::nullopt);
    EXPECT_EQ(limiter.Admit("a", 61000ms), 2u);
    EXPECT_EQ(limiter.Admit("a", 61001ms), std::nullopt);
    EXPECT_EQ(limiter.Admit("a", 121000ms), 1u);
}

TEST(ReportLimiterTest, CountsEachCauseForItself) {
    CReportLimiter limiter;
    limiter.Admit("a", 0ms);
    EXPECT_EQ(limiter.Admit("b", 1ms), 0u);
}

}  // namespace
}  // namespace zorvane
