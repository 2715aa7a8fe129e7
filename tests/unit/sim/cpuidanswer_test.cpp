#include "sim/cpu/cpuidanswer.h"

#include <gtest/gtest.h>

using zorvane::CpuidRegisters;

namespace {

constexpr CpuidRegisters kReal{1, 0x52345678, 3, 4};

Cpu Ryzen() {
    Cpu cpu;
    cpu.signature = 0x870F10;
    cpu.packageType = 7;
    return cpu;
}

TEST(CpuidAnswer, LeafZeroHoldsTheVendorInEbxEdxEcxAndTheRealHighestLeaf) {
    const CpuidRegisters answer = AnswerCpuid(Ryzen(), 0, kReal);
    EXPECT_EQ(answer.eax, 1u);
    EXPECT_EQ(answer.ebx, 0x68747541u);  // "Auth"
    EXPECT_EQ(answer.edx, 0x69746E65u);  // "enti"
    EXPECT_EQ(answer.ecx, 0x444D4163u);  // "cAMD"
}

TEST(CpuidAnswer, ExtendedLeafOneHoldsTheSignatureAndThePackageTypeAboveTheRealBits) {
    const CpuidRegisters answer = AnswerCpuid(Ryzen(), 0x80000001, kReal);
    EXPECT_EQ(answer.eax, 0x870F10u);
    EXPECT_EQ(answer.ebx, 0x72345678u);
    EXPECT_EQ(answer.ecx, 3u);
    EXPECT_EQ(answer.edx, 4u);
}

TEST(CpuidAnswer, OtherLeavesAreTheRealProcessors) {
    EXPECT_EQ(AnswerCpuid(Ryzen(), 1, kReal), kReal);
    EXPECT_EQ(AnswerCpuid(Ryzen(), 0x80000000, kReal), kReal);
    EXPECT_EQ(AnswerCpuid(Ryzen(), 0x80000002, kReal), kReal);
}

}  // namespace
