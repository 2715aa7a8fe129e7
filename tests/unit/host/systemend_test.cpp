#include "host/systemend.h"

#include <gtest/gtest.h>

#include <optional>

#include "base/detachedthread.h"
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
        zorvane::RunDetached([this, event] {
            m_answer = m_handler(event);
            SetEvent(m_answered.get());
        });
    }

    // Windows ends the process when its call is answered: main's return has to come first.
    bool StaysInTheHandler() const {
        return WaitForSingleObject(m_asleep.get(), 30000) == WAIT_OBJECT_0 && !IsAnswered();
    }

    bool IsAnswered() const { return WaitForSingleObject(m_answered.get(), 0) == WAIT_OBJECT_0; }

    bool WaitUntilAsked() {
        return m_worker->PumpUntil([this] { return m_worker->asked > 0; });
    }

    PHANDLER_ROUTINE m_handler = nullptr;
    std::optional<CExportThread> m_worker;
    const zorvane::CUniqueHandle m_answered{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    BOOL m_answer = FALSE;
    const zorvane::CUniqueHandle m_asleep{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    PATCH_IMPORT(m_sleep, Sleep, [this](DWORD timeMs) {
        // The threads runtime takes short naps of its own.
        if (timeMs == INFINITE) {
            SetEvent(m_asleep.get());
        }
        m_sleep.Original(timeMs);
    });
};

}  // namespace

TEST_F(SystemEnd, NamesTheCallThatFails) {
    PATCH_IMPORT(console, SetConsoleCtrlHandler, [](auto...) -> WINBOOL {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    });
    m_worker.emplace(FakeStub());
    const auto error = HoldSystemEnd(m_worker->running);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "SetConsoleCtrlHandler");
    EXPECT_EQ(error->code, DWORD{ERROR_NOT_ENOUGH_MEMORY});
}

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
        EXPECT_TRUE(StaysInTheHandler());
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
    bool asked = false;
    PATCH_IMPORT(enumerate, EnumThreadWindows, [&asked](DWORD, WNDENUMPROC, LPARAM) -> WINBOOL {
        asked = true;
        return TRUE;
    });
    Raise(CTRL_CLOSE_EVENT);
    EXPECT_TRUE(StaysInTheHandler());
    EXPECT_FALSE(asked);
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
    EXPECT_TRUE(StaysInTheHandler());
    DWORD_PTR answer = 0;
    EXPECT_EQ(SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, 100, &answer), 0);
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
