// A patch stays for the life of the process: each test has a process of its own.
#include <windows.h>

#include <gtest/gtest.h>

#include "base/peimage.h"
#include "sim/cpu/cpuidpatch.h"
#include "tests/support/cpuidsite.h"

using zorvane::CpuidRegisters;

namespace {

Cpu Ryzen() {
    Cpu cpu;
    cpu.signature = 0x870F10;
    cpu.packageType = 7;
    return cpu;
}

class CCpuidPatchTest : public testing::Test {
  protected:
    static unsigned char* Base() {
        return reinterpret_cast<unsigned char*>(GetModuleHandleW(nullptr));
    }
    static CpuidImage Image(std::span<const uint32_t> addresses) {
        const auto program = zorvane::CPeImage::OfModule(nullptr);
        const IMAGE_OPTIONAL_HEADER64& header = program.Headers().OptionalHeader;
        return {header.SizeOfImage, header.CheckSum, addresses};
    }
    static uint32_t AddressOf(const unsigned char* place) {
        return static_cast<uint32_t>(place - Base());
    }
};

TEST_F(CCpuidPatchTest, AnotherImageIsRefusedAndLeftAlone) {
    const uint32_t address = AddressOf(kCpuidSite);
    CpuidImage image = Image({&address, 1});
    ++image.checkSum;
    EXPECT_NE(PatchCpuid(Base(), image, Ryzen()), L"");
    image = Image({&address, 1});
    image.sizeOfImage += 0x1000;
    EXPECT_NE(PatchCpuid(Base(), image, Ryzen()), L"");
    EXPECT_NE(kCpuidSite[0], 0xCC);
}

TEST_F(CCpuidPatchTest, PlaceWithoutTheInstructionIsRefusedAndNoneIsPatched) {
    const uint32_t addresses[] = {AddressOf(kCpuidSite), AddressOf(kCpuidSite) + 2};
    EXPECT_NE(PatchCpuid(Base(), Image(addresses), Ryzen()), L"");
    const uint32_t outside[] = {AddressOf(kCpuidSite), 0xFFFFFFFF};
    EXPECT_NE(PatchCpuid(Base(), Image(outside), Ryzen()), L"");
    EXPECT_NE(kCpuidSite[0], 0xCC);
}

TEST_F(CCpuidPatchTest, PatchedInstructionAnswersForTheSimulatedProcessor) {
    CpuidRegisters before{};
    ExecuteCpuid(1, 0, &before);
    CpuidRegisters highest{};
    ExecuteCpuid(0x80000000, 0, &highest);

    const uint32_t address = AddressOf(kCpuidSite);
    Cpu cpu = Ryzen();
    cpu.vendor = "SimulatedCPU";
    ASSERT_EQ(PatchCpuid(Base(), Image({&address, 1}), cpu), L"");
    EXPECT_EQ(kCpuidSite[0], 0xCC);

    CpuidRegisters answer{};
    ExecuteCpuid(0, 0, &answer);
    EXPECT_EQ(answer.ebx, 0x756D6953u);  // "Simu"
    ExecuteCpuid(0x80000001, 0, &answer);
    EXPECT_EQ(answer.eax, 0x870F10u);
    EXPECT_EQ(answer.ebx >> 28, 7u);
    ExecuteCpuid(0x80000000, 0, &answer);
    EXPECT_EQ(answer.eax, highest.eax);
    ExecuteCpuid(1, 0, &answer);
    EXPECT_EQ(answer.eax, before.eax);
}

}  // namespace
