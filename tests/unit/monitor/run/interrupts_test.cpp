#include "monitor/run/interrupts.h"

#include <gtest/gtest.h>

#include <optional>

#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

// Installs interrupts with a console that the test plays.
class InterruptsTest : public testing::Test {
  protected:
    void SetUp() override {
        PATCH_IMPORT(console, SetConsoleCtrlHandler,
                     [this](PHANDLER_ROUTINE handler, WINBOOL) -> WINBOOL {
                         m_handler = handler;
                         return TRUE;
                     });
        ASSERT_FALSE(m_interrupts.emplace().Install());
        ASSERT_NE(m_handler, nullptr);
    }

    PHANDLER_ROUTINE m_handler = nullptr;
    std::optional<CInterrupts> m_interrupts;
};

TEST_F(InterruptsTest, CountsEachCtrlC) {
    m_interrupts->Take();
    EXPECT_EQ(m_handler(CTRL_C_EVENT), TRUE);
    EXPECT_EQ(m_handler(CTRL_BREAK_EVENT), TRUE);
    EXPECT_EQ(WaitForSingleObject(m_interrupts->Event(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(m_interrupts->Take(), 2u);
    EXPECT_EQ(m_interrupts->Take(), 0u);
}

TEST_F(InterruptsTest, LeavesNoneForTheNextRun) {
    m_handler(CTRL_C_EVENT);
    EXPECT_GE(m_interrupts->Take(), 1u);
    m_interrupts.reset();
    EXPECT_EQ(CInterrupts().Take(), 0u);
}

TEST_F(InterruptsTest, LetsAClosingConsoleWaitForTheEndOfTheRun) {
    HANDLE awaited = nullptr;
    PATCH_IMPORT(wait, WaitForSingleObject, [&](HANDLE handle, DWORD timeoutMs) -> DWORD {
        EXPECT_EQ(timeoutMs, INFINITE);
        awaited = handle;
        return WAIT_OBJECT_0;
    });
    m_interrupts->Take();
    m_handler(CTRL_CLOSE_EVENT);
    EXPECT_EQ(m_interrupts->Take(), 1u);
    ASSERT_NE(awaited, nullptr);
    EXPECT_NE(wait.Original(awaited, 0), WAIT_OBJECT_0);
    m_interrupts.reset();
    EXPECT_EQ(wait.Original(awaited, 0), WAIT_OBJECT_0);
}

}  // namespace
}  // namespace zorvane
