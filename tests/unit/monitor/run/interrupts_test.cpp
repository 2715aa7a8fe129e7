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

TEST_F(InterruptsTest, KeepsAnInterruptThatCameBeforeTheRun) {
    m_interrupts->Take();
    Interrupt();
    PATCH_IMPORT(console, SetConsoleCtrlHandler,
                 [](PHANDLER_ROUTINE, WINBOOL) -> WINBOOL { return TRUE; });
    CInterrupts next;
    ASSERT_FALSE(next.Install());
    EXPECT_EQ(WaitForSingleObject(next.Event(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(next.Take(), 1u);
}

TEST_F(InterruptsTest, NamesTheCallThatFails) {
    {
        PATCH_IMPORT(console, SetConsoleCtrlHandler,
                     [](PHANDLER_ROUTINE, WINBOOL) -> WINBOOL { return FALSE; });
        const auto error = CInterrupts().Install();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->call, "SetConsoleCtrlHandler");
    }
    for (int failing = 1; failing <= 2; ++failing) {
        int calls = 0;
        PATCH_IMPORT(create, CreateEventW,
                     [&](LPSECURITY_ATTRIBUTES attributes, WINBOOL manual, WINBOOL initial,
                         LPCWSTR name) -> HANDLE {
                         return ++calls == failing
                                    ? nullptr
                                    : create.Original(attributes, manual, initial, name);
                     });
        const auto error = CInterrupts().Install();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->call, "CreateEventW");
    }
}

}  // namespace
}  // namespace zorvane
