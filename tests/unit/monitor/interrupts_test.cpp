#include "monitor/interrupts.h"

#include <gtest/gtest.h>

#include <thread>

#include "support/importpatch.h"

namespace zorvane {
namespace {

/** Installs interrupts with a console that the test plays. */
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
    EXPECT_EQ(m_interrupts->Take(), 2U);
    EXPECT_EQ(m_interrupts->Take(), 0U);
}

TEST_F(InterruptsTest, LetsAClosingConsoleWaitForTheEndOfTheRun) {
    m_interrupts->Take();
    std::atomic<bool> returned{false};
    std::thread closing([&] {
        m_handler(CTRL_CLOSE_EVENT);
        returned = true;
    });
    EXPECT_EQ(WaitForSingleObject(m_interrupts->Event(), 30000), WAIT_OBJECT_0);
    EXPECT_EQ(m_interrupts->Take(), 1U);
    EXPECT_FALSE(returned);
    m_interrupts.reset();
    closing.join();
    EXPECT_TRUE(returned);
}

}  // namespace
}  // namespace zorvane
