#include "base/cpuidtrap.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/support/cpuidsite.h"
#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

constexpr CpuidRegisters kAnswer{0x11111111, 0x22222222, 0x33333333, 0x44444444};

uint32_t SiteAddress() {
    return static_cast<uint32_t>(kCpuidSite -
                                 reinterpret_cast<const unsigned char*>(GetModuleHandleW(nullptr)));
}

CpuidRegisters Execute(uint32_t leaf, uint32_t subleaf) {
    CpuidRegisters answer{};
    ExecuteCpuid(leaf, subleaf, &answer);
    return answer;
}

TEST(CpuidTrapTest, AnswersForTheProcessorAsLongAsItLives) {
    const uint32_t address = SiteAddress();
    const CpuidRegisters real = Execute(0, 0);
    ASSERT_NE(real, kAnswer);
    std::vector<std::pair<uint32_t, uint32_t>> questions;
    {
        CCpuidTrap trap;
        ASSERT_FALSE(trap.Set(nullptr, {&address, 1}, [&](uint32_t leaf, uint32_t subleaf) {
            questions.emplace_back(leaf, subleaf);
            return kAnswer;
        }));
        EXPECT_EQ(Execute(0x80000001, 7), kAnswer);
    }
    EXPECT_EQ(Execute(0, 0), real);
    EXPECT_EQ(questions, (std::vector<std::pair<uint32_t, uint32_t>>{{0x80000001, 7}}));
}

TEST(CpuidTrapTest, CanPassTheProcessorsOwnAnswerOn) {
    const uint32_t address = SiteAddress();
    const CpuidRegisters real = Execute(0, 0);
    CCpuidTrap trap;
    ASSERT_FALSE(trap.Set(nullptr, {&address, 1}, &AskProcessor));
    EXPECT_EQ(Execute(0, 0), real);
}

TEST(CpuidTrapTest, LeavesCodeThatCannotBeWrittenAlone) {
    const uint32_t address = SiteAddress();
    const CpuidRegisters real = Execute(0, 0);
    PATCH_IMPORT(protect, VirtualProtect, [](auto...) -> WINBOOL {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    });
    {
        CCpuidTrap trap;
        const auto error = trap.Set(nullptr, {&address, 1}, [](auto...) { return kAnswer; });
        ASSERT_TRUE(error);
        EXPECT_EQ(error->call, "VirtualProtect");
        EXPECT_EQ(Execute(0, 0), real);
    }
    EXPECT_EQ(Execute(0, 0), real);
}

TEST(HoldsCpuidAtTest, IsTrueOfTheInstructionsPlacesOnly) {
    const auto program = CPeImage::OfModule(nullptr);
    const uint32_t site = SiteAddress();
    const auto holds = [&](const std::vector<uint32_t>& addresses) {
        return HoldsCpuidAt(program, addresses);
    };
    EXPECT_TRUE(holds({site}));
    EXPECT_FALSE(holds({site, site + 2}));
    EXPECT_FALSE(holds({site + 1}));
    EXPECT_FALSE(holds({program.Headers().OptionalHeader.SizeOfImage - 1}));
    EXPECT_FALSE(holds({0xFFFFFFFF}));
}

}  // namespace
}  // namespace zorvane
