#include <windows.h>

#include <gtest/gtest.h>

#include "sim/cpu/cpuidanswer.h"
#include "sim/cpu/cpuidpatch.h"

// void AskProcessor(uint32_t leaf, uint32_t subleaf, CpuidRegisters* answer), with its one CPUID
// instruction at a place that has a name.
extern "C" {
void AskProcessor(uint32_t leaf, uint32_t subleaf, CpuidRegisters* answer);
extern const unsigned char kAskProcessorSite[];
}
asm(R"(
    .text
    .globl AskProcessor
    .globl kAskProcessorSite
AskProcessor:
    pushq %rbx
    movl %ecx, %eax
    movl %edx, %ecx
kAskProcessorSite:
    cpuid
    movl %eax, (%r8)
    movl %ebx, 4(%r8)
    movl %ecx, 8(%r8)
    movl %edx, 12(%r8)
    popq %rbx
    ret
)");

namespace {

constexpr CpuidRegisters kReal{1, 0x52345678, 3, 4};

bool operator==(const CpuidRegisters& left, const CpuidRegisters& right) {
    return left.eax == right.eax && left.ebx == right.ebx && left.ecx == right.ecx &&
           left.edx == right.edx;
}

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
    EXPECT_TRUE(AnswerCpuid(Ryzen(), 1, kReal) == kReal);
    EXPECT_TRUE(AnswerCpuid(Ryzen(), 0x80000000, kReal) == kReal);
    EXPECT_TRUE(AnswerCpuid(Ryzen(), 0x80000002, kReal) == kReal);
}

class CCpuidPatchTest : public testing::Test {
  protected:
    static unsigned char* Base() {
        return reinterpret_cast<unsigned char*>(GetModuleHandleW(nullptr));
    }
    static CpuidImage Image(std::span<const uint32_t> addresses) {
        const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(Base());
        const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(Base() + dos->e_lfanew);
        return {headers->OptionalHeader.SizeOfImage, headers->OptionalHeader.CheckSum, addresses};
    }
    static uint32_t AddressOf(const unsigned char* place) {
        return static_cast<uint32_t>(place - Base());
    }
};

TEST_F(CCpuidPatchTest, AnotherImageIsRefusedAndLeftAlone) {
    const uint32_t address = AddressOf(kAskProcessorSite);
    CpuidImage image = Image({&address, 1});
    ++image.checkSum;
    EXPECT_NE(PatchCpuid(Base(), image, Ryzen()), L"");
    image = Image({&address, 1});
    image.sizeOfImage += 0x1000;
    EXPECT_NE(PatchCpuid(Base(), image, Ryzen()), L"");
    EXPECT_NE(kAskProcessorSite[0], 0xCC);
}

TEST_F(CCpuidPatchTest, PlaceWithoutTheInstructionIsRefusedAndNoneIsPatched) {
    const uint32_t addresses[] = {AddressOf(kAskProcessorSite), AddressOf(kAskProcessorSite) + 2};
    EXPECT_NE(PatchCpuid(Base(), Image(addresses), Ryzen()), L"");
    const uint32_t outside[] = {AddressOf(kAskProcessorSite), 0xFFFFFFFF};
    EXPECT_NE(PatchCpuid(Base(), Image(outside), Ryzen()), L"");
    EXPECT_NE(kAskProcessorSite[0], 0xCC);
}

// Patches this program for good, so it is named to come last.
TEST_F(CCpuidPatchTest, ZPatchedInstructionAnswersForTheSimulatedProcessor) {
    CpuidRegisters before{};
    AskProcessor(1, 0, &before);
    CpuidRegisters highest{};
    AskProcessor(0x80000000, 0, &highest);

    const uint32_t address = AddressOf(kAskProcessorSite);
    Cpu cpu = Ryzen();
    cpu.vendor = "SimulatedCPU";
    ASSERT_EQ(PatchCpuid(Base(), Image({&address, 1}), cpu), L"");
    EXPECT_EQ(kAskProcessorSite[0], 0xCC);

    CpuidRegisters answer{};
    AskProcessor(0, 0, &answer);
    EXPECT_EQ(answer.ebx, 0x756D6953u);  // "Simu"
    AskProcessor(0x80000001, 0, &answer);
    EXPECT_EQ(answer.eax, 0x870F10u);
    EXPECT_EQ(answer.ebx >> 28, 7u);
    AskProcessor(0x80000000, 0, &answer);
    EXPECT_EQ(answer.eax, highest.eax);
    AskProcessor(1, 0, &answer);
    EXPECT_EQ(answer.eax, before.eax);
}

}  // namespace
