#include "monitor/sentence.h"

#include <gtest/gtest.h>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

// What is said of an event; empty when nothing is.
std::string Said(const EventBody& body) { return SentenceOf(body).value_or(""); }

TEST(SentenceTest, NamesTheReadingThatIsOverItsThresholdAndBack) {
    const GpuId gpu{1, "00000000:0A:00.0"};
    EXPECT_EQ(Said(WarningEvent{"cpu.temp", std::nullopt, 96, 95, true}),
              "CPU temperature is 96 C, over the threshold of 95 C");
    EXPECT_TRUE(Said(WarningEvent{"gpu.temp", gpu, 80, 85, false})
                    .ends_with(" is 80 C, back below the threshold of 85 C"));
}

TEST(SentenceTest, TakesAReadingThatItDoesNotKnowByItsName) {
    EXPECT_EQ(Said(WarningEvent{"gpu.future", std::nullopt, 2, 1, true}),
              "gpu.future is 2, over the threshold of 1");
}

}  // namespace
}  // namespace zorvane
