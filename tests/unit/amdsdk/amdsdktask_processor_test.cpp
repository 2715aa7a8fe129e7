#include <gtest/gtest.h>

#include "src/amdsdk/amdsdktask.h"
#include "tests/support/fakecpuid.h"
#include "tests/support/testlog.h"

namespace {

using Lines = std::vector<std::string>;

class CSupportedProcessorTest : public testing::Test {
  protected:
    bool Ask(uint32_t signature, uint32_t packageBits) {
        const CFakeCpuid cpuid([=, this](uint32_t leaf) {
            m_leaves.push_back(leaf);
            // The other registers must not matter.
            return CpuidRegisters{signature, packageBits, 0x870F10, 0x70000000};
        });
        return IsSupportedProcessor(&m_skipVbsCheck);
    }

    CTestLog m_log;
    std::vector<uint32_t> m_leaves;
    bool m_skipVbsCheck = false;
};

TEST_F(CSupportedProcessorTest, NewerProcessorIsSupportedAndVbsNeedNotBeLookedAt) {
    EXPECT_TRUE(Ask(0xA50F00, 0x0FFFFFFF));
    EXPECT_TRUE(m_skipVbsCheck);
    EXPECT_EQ(m_leaves, std::vector<uint32_t>{0x80000001});
    EXPECT_EQ(m_log.Messages(), Lines{"[amdsdktask] pkgType:0, CPUID:10817280"});
}

TEST_F(CSupportedProcessorTest, OlderProcessorIsSupportedAndVbsMustBeLookedAt) {
    m_skipVbsCheck = true;
    EXPECT_TRUE(Ask(0x800F10, 0x70000000));
    EXPECT_FALSE(m_skipVbsCheck);
    EXPECT_EQ(m_log.Messages(), Lines{"[amdsdktask] pkgType:7, CPUID:8392464"});
}

TEST_F(CSupportedProcessorTest, UnknownProcessorIsNotSupported) {
    m_skipVbsCheck = true;
    EXPECT_FALSE(Ask(0xA50F00, 0x20000000));
    EXPECT_FALSE(m_skipVbsCheck);
}

TEST_F(CSupportedProcessorTest, PackageTypeIsTheHighestFourBitsAsASignedNumber) {
    for (uint32_t bits = 0; bits < 16; ++bits) {
        SCOPED_TRACE(bits);
        const CTestLog log;
        Ask(0xFFFFFFFF, bits << 28);
        const int type = bits < 8 ? static_cast<int>(bits) : static_cast<int>(bits) - 16;
        EXPECT_EQ(log.Messages(),
                  Lines{"[amdsdktask] pkgType:" + std::to_string(type) + ", CPUID:4294967295"});
    }
}

TEST_F(CSupportedProcessorTest, OnlyTypesZeroTwoAndSevenAreEverSupported) {
    for (uint32_t bits = 0; bits < 16; ++bits) {
        EXPECT_EQ(Ask(0x800F10, bits << 28), bits == 0 || bits == 2 || bits == 7) << bits;
    }
}

}  // namespace
