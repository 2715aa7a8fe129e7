#include "host/nvmlchoice.h"

#include <gtest/gtest.h>

TEST(NvmlChoice, TakesTheSystemsFileOnlyWhereItIs) {
    for (const NvmlChoice choice : {NvmlChoice::kAuto, NvmlChoice::kSystem, NvmlChoice::kFixed}) {
        EXPECT_FALSE(IsSystemNvmlWanted(choice, {.fixed = false, .system = false}));
        EXPECT_FALSE(IsSystemNvmlWanted(choice, {.fixed = true, .system = false}));
    }
}

TEST(NvmlChoice, PrefersTheFixedFileUnlessToldOtherwise) {
    EXPECT_FALSE(IsSystemNvmlWanted(NvmlChoice::kAuto, {.fixed = true, .system = true}));
    EXPECT_TRUE(IsSystemNvmlWanted(NvmlChoice::kAuto, {.fixed = false, .system = true}));
    EXPECT_TRUE(IsSystemNvmlWanted(NvmlChoice::kSystem, {.fixed = true, .system = true}));
    EXPECT_FALSE(IsSystemNvmlWanted(NvmlChoice::kFixed, {.fixed = false, .system = true}));
}
