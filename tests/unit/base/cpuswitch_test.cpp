#include "base/cpuswitch.h"

#include <gtest/gtest.h>

#include "tests/support/tempfolder.h"

namespace zorvane {
namespace {

class CpuSwitchTest : public testing::Test {
  protected:
    void Write(const std::string& text) const { WriteFileBytes(m_switch.Path(), text); }
    std::string Text() const { return ReadFileBytes(m_switch.Path()); }

    const CTempFolder m_folder;
    const CCpuSwitch m_switch{m_folder.Path() + L"\\"};
};

TEST_F(CpuSwitchTest, LiesBesideTheHostUnderTheLibrarysName) {
    EXPECT_EQ(m_switch.Path(), m_folder.PathOf(L"Qorvella.set"));
}

TEST_F(CpuSwitchTest, IsOnUnlessTheFileSaysZero) {
    EXPECT_TRUE(m_switch.IsOn());
    for (const char* on : {"", "[cpu_kernel]\r\n", "[other]\r\nsdk_flag=0\r\n",
                           "[cpu_kernel]\r\nsdk_flag=1\r\n", "[CPU_KERNEL]\r\nSDK_FLAG=2\r\n"}) {
        Write(on);
        EXPECT_TRUE(m_switch.IsOn()) << on;
    }
    for (const char* off : {"[cpu_kernel]\r\nsdk_flag=0\r\n", "[cpu_kernel]\r\nsdk_flag=x\r\n"}) {
        Write(off);
        EXPECT_FALSE(m_switch.IsOn()) << off;
    }
}

TEST_F(CpuSwitchTest, TellsAnEmptyValueFromNone) {
    EXPECT_EQ(m_switch.Value(), std::nullopt);
    Write("[cpu_kernel]\r\nother=1\r\n");
    EXPECT_EQ(m_switch.Value(), std::nullopt);
    Write("[cpu_kernel]\r\nsdk_flag=\r\n");
    EXPECT_EQ(m_switch.Value(), L"");
    Write("[cpu_kernel]\r\nsdk_flag=0\r\n");
    EXPECT_EQ(m_switch.Value(), L"0");
}

TEST_F(CpuSwitchTest, IsWrittenAndRemoved) {
    EXPECT_FALSE(m_switch.Set(L"0"));
    EXPECT_FALSE(m_switch.IsOn());
    EXPECT_TRUE(m_switch.HasSection());
    EXPECT_FALSE(m_switch.Set(std::nullopt));
    EXPECT_EQ(m_switch.Value(), std::nullopt);
    m_switch.RemoveEmptySection();
    EXPECT_FALSE(m_switch.HasSection());
}

TEST_F(CpuSwitchTest, KeepsASectionThatHoldsMore) {
    Write("[cpu_kernel]\r\nother=1\r\n");
    m_switch.RemoveEmptySection();
    EXPECT_EQ(Text(), "[cpu_kernel]\r\nother=1\r\n");
}

TEST_F(CpuSwitchTest, NamesTheCallThatFails) {
    const CCpuSwitch nowhere(m_folder.PathOf(L"nowhere\\"));
    const auto error = nowhere.Set(L"1");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, DWORD{ERROR_PATH_NOT_FOUND});
}

}  // namespace
}  // namespace zorvane
