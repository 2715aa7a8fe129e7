#include "host/systemend.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>

#include "tests/support/enumeratedwindow.h"
#include "tests/support/importpatch.h"
#include "tests/unit/host/exportthread.h"

namespace {

// The console and the session are played by the test. Windows calls the handler on a thread of its
// own, which stays in it when the process is to end.
class SystemEnd : public testing::Test {
  protected:
    void Hold(zorvane::CUniqueHandle stub) {
        PATCH_IMPORT(console, SetConsoleCtrlHandler,
                     [this](PHANDLER_ROUTINE handler, WINBOOL) -> WINBOOL {
                         m_handler = handler;
                         return TRUE;
                     });
        m_worker.emplace(std::move(stub));
        ASSERT_FALSE(HoldSystemEnd(m_worker->running));
        ASSERT_NE(m_handler, nullptr);
    }

    void Raise(DWORD event) {
        std::thread([this, event] {
            m_answer = m_handler(event);
            SetEvent(m_answered.get());
        }).detach();
    }

    bool IsAnswered() const { return WaitForSingleObject(m_answered.get(), 0) == WAIT_OBJECT_0; }

    bool WaitUntilAsked() {
        return m_worker->PumpUntil([this] { return m_worker->asked > 0; });
    }

    PHANDLER_ROUTINE m_handler = nullptr;
    std::optional<CExportThread> m_worker;
    const zorvane::CUniqueHandle m_answered{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    BOOL m_answer = FALSE;
};

}  // namespace

TEST_F(SystemEnd, LeavesCtrlCAndCtrlBreakToTheStub) {
    Hold(FakeStub());
    EXPECT_EQ(m_handler(CTRL_C_EVENT), TRUE);
    EXPECT_EQ(m_handler(CTRL_BREAK_EVENT), TRUE);
    EXPECT_EQ(m_worker->asked, 0);
}

TEST_F(SystemEnd, TakesCtrlBreakForARequestToEndWhenNoStubIsKnown) {
    Hold(nullptr);
    Raise(CTRL_BREAK_EVENT);
    ASSERT_TRUE(WaitUntilAsked());
    ASSERT_TRUE(m_worker->PumpUntil([this] { return IsAnswered(); }));
    EXPECT_EQ(m_answer, TRUE);
}

TEST_F(SystemEnd, EndsTheWorkerOfAStubThatHasGone) {
    Hold(FakeStub(true));
    Raise(CTRL_BREAK_EVENT);
    EXPECT_TRUE(WaitUntilAsked());
}

TEST_F(SystemEnd, HoldsAClosingConsoleUpUntilTheProcessHasEnded) {
    for (const int event : {CTRL_CLOSE_EVENT, CTRL_LOGOFF_EVENT, CTRL_SHUTDOWN_EVENT}) {
        Hold(nullptr);
        Raise(static_cast<DWORD>(event));
        ASSERT_TRUE(WaitUntilAsked());
        m_worker->running.SetEnded();
        // Windows ends the process on an answer: main's return has to come first.
        EXPECT_EQ(WaitForSingleObject(m_answered.get(), 100), static_cast<DWORD>(WAIT_TIMEOUT));
    }
}

TEST_F(SystemEnd, AsksTheWorkerWhenTheStubDoesNotEndItInTime) {
    Hold(FakeStub());
    Raise(CTRL_CLOSE_EVENT);
    EXPECT_TRUE(WaitUntilAsked());
}

TEST_F(SystemEnd, AsksNoWorkerThatItsStubHasEnded) {
    Hold(FakeStub());
    m_worker->running.SetEnded();
    Raise(CTRL_CLOSE_EVENT);
    EXPECT_EQ(WaitForSingleObject(m_answered.get(), 100), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_EQ(m_worker->asked, 0);
}

TEST_F(SystemEnd, AgreesToTheEndOfTheSessionAndThenHoldsItUp) {
    Hold(nullptr);
    const HWND window = FindBroadcastWindow(GetCurrentProcessId(), m_worker->Window());
    ASSERT_NE(window, nullptr);
    EXPECT_FALSE(IsWindowVisible(window));
    EXPECT_EQ(SendMessageW(window, WM_QUERYENDSESSION, 0, ENDSESSION_LOGOFF), TRUE);
    SendMessageW(window, WM_ENDSESSION, FALSE, 0);
    EXPECT_EQ(m_worker->asked, 0);
    PostMessageW(window, WM_ENDSESSION, TRUE, ENDSESSION_LOGOFF);
    ASSERT_TRUE(WaitUntilAsked());
    // While the window's thread waits for the worker to take its message, it still answers.
    LRESULT answered = 1;
    for (int turn = 0; turn < 100 && answered; ++turn) {
        DWORD_PTR answer = 0;
        answered = SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, 100, &answer);
    }
    EXPECT_EQ(answered, 0);
}

TEST_F(SystemEnd, IsToldOfTheEndOfTheSessionAfterItsStub) {
    DWORD usual = 0;
    DWORD flags = 0;
    ASSERT_TRUE(GetProcessShutdownParameters(&usual, &flags));
    Hold(nullptr);
    DWORD level = 0;
    ASSERT_TRUE(GetProcessShutdownParameters(&level, &flags));
    EXPECT_LT(level, usual);
}
