#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <process.h>

#include <atomic>
#include <thread>

#include "tests/support/importpatch.h"
#include "tests/support/testlog.h"
#include "tests/unit/process/runningprocess.h"

using testing::UnorderedElementsAre;

TEST(MsgLoopProcessQuit, HasAManualResetEventOfItsOwn) {
    std::vector<HANDLE> events;
    PATCH_IMPORT(creation, CreateEventW,
                 [&](SECURITY_ATTRIBUTES* security, BOOL manual, BOOL set, const wchar_t* name) {
                     EXPECT_EQ(security, nullptr);
                     EXPECT_TRUE(manual);
                     EXPECT_FALSE(set);
                     EXPECT_EQ(name, nullptr);
                     events.push_back(creation.Original(security, manual, set, name));
                     return events.back();
                 });
    CMsgLoopProcess process;
    ASSERT_EQ(events.size(), 2u) << "the window's and its own";
    EXPECT_FALSE(process.WaitQuit(0));
    process.Quit();
    EXPECT_EQ(WaitForSingleObject(events[0], 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForSingleObject(events[1], 0), DWORD{WAIT_OBJECT_0});
}

TEST(MsgLoopProcessQuit, SetsTheEventThenPostsTheCloseMessageAndAnswersItsResult) {
    for (const BOOL result : {TRUE, FALSE, 7}) {
        SCOPED_TRACE(result);
        CTestedProcess quitting;
        bool postedAfterSetting = false;
        PATCH_IMPORT(post, PostMessageW, [&](HWND, UINT message, WPARAM wParam, LPARAM lParam) {
            EXPECT_EQ(message, 16u);
            EXPECT_EQ(wParam, 0u);
            EXPECT_EQ(lParam, 0);
            postedAfterSetting = quitting.WaitQuit(0);
            return result;
        });
        EXPECT_EQ(quitting.Quit(), result);
        EXPECT_TRUE(postedAfterSetting);
    }
}

TEST(MsgLoopProcessQuit, PostsToTheHiddenWindow) {
    CTestLog log;
    HWND posted = nullptr;
    CRunningProcess process(L"");
    const HWND window = process.Window();
    ASSERT_NE(window, nullptr);
    {
        PATCH_IMPORT(post, PostMessageW, [&](HWND target, UINT message, WPARAM w, LPARAM l) {
            posted = message == WM_CLOSE && !posted ? target : posted;
            return post.Original(target, message, w, l);
        });
        process->Quit();
        ASSERT_TRUE(process.WaitForEnd());
    }
    EXPECT_EQ(posted, window);
}

TEST(MsgLoopProcessQuit, IsSeenByAPollAtOnceAndStaysSet) {
    CMsgLoopProcess process;
    EXPECT_FALSE(process.WaitQuit(0));
    process.Quit();
    EXPECT_TRUE(process.WaitQuit(0));
    EXPECT_TRUE(process.WaitQuit(INFINITE)) << "stays set";
    process.Quit();
    EXPECT_TRUE(process.WaitQuit(0));
}

TEST(MsgLoopProcessQuit, IsOnlyTrueWhenTheEventIsSignalled) {
    CMsgLoopProcess process;
    struct {
        DWORD answer;
        bool quit;
    } const rows[] = {{WAIT_OBJECT_0, true},
                      {WAIT_TIMEOUT, false},
                      {WAIT_ABANDONED, false},
                      {WAIT_FAILED, false}};
    for (const auto& row : rows) {
        DWORD timeout = 0;
        PATCH_IMPORT(wait, WaitForSingleObject, [&](HANDLE, DWORD timeoutMs) {
            timeout = timeoutMs;
            return row.answer;
        });
        EXPECT_EQ(process.WaitQuit(1234), row.quit) << row.answer;
        EXPECT_EQ(timeout, 1234u);
    }
}

TEST(MsgLoopProcessQuit, WorksWithoutAnEvent) {
    int sets = 0;
    PATCH_IMPORT(creation, CreateEventW, [](auto...) -> HANDLE { return nullptr; });
    PATCH_IMPORT(setting, SetEvent, [&](HANDLE) -> BOOL { return ++sets; });
    PATCH_IMPORT(post, PostMessageW, [](auto...) -> BOOL { return TRUE; });
    CMsgLoopProcess process;
    EXPECT_TRUE(process.Quit());
    EXPECT_EQ(sets, 0);
    int waits = 0;
    PATCH_IMPORT(wait, WaitForSingleObject, [&](auto...) -> DWORD {
        ++waits;
        return WAIT_OBJECT_0;
    });
    EXPECT_FALSE(process.WaitQuit(INFINITE));
    EXPECT_EQ(waits, 0);
}

TEST(MsgLoopProcessQuit, CalledTwiceClosesOnce) {
    CTestLog log;
    CTestEvent goOn;
    CRunningProcess process(L"", [&](CTestedProcess&) { EXPECT_TRUE(goOn.Wait()); });
    ASSERT_NE(process.Window(), nullptr);
    EXPECT_TRUE(process->Quit());
    EXPECT_TRUE(process->Quit());
    goOn.Set();
    ASSERT_TRUE(process.WaitForEnd());
    EXPECT_THAT(log.Messages(),
                UnorderedElementsAre("[msgloopprocess] cmd:",
                                     "[msgloopprocess] Send msg to stub wnd failed, msg=3343",
                                     "[msgloopprocess] CMsgLoopProcess OnClose.",
                                     "[msgloopprocess] WorkThreadFun process quit.",
                                     "[msgloopthread] CMsgLoopThread quit msg loop."));
}

TEST(MsgLoopProcessQuit, WakesAWorkFunctionThatPausesAndIsFalseOnceTheEventIsClosed) {
    CTestLog log;
    bool woke = false;
    CRunningProcess process(L"", [&](CTestedProcess& host) { woke = host.WaitQuit(INFINITE); });
    ASSERT_NE(process.Window(), nullptr);
    PostMessageW(process.Window(), WM_CLOSE, 0, 0);
    ASSERT_TRUE(process.WaitForEnd());
    EXPECT_TRUE(woke);
    EXPECT_FALSE(process->WaitQuit(INFINITE)) << "the event is closed";
    EXPECT_FALSE(process->WaitQuit(0));
}

TEST(MsgLoopProcessQuit, WaitersOnOtherThreadsLetGoBeforeTheEventIsClosed) {
    CTestLog log;
    HANDLE quitEvent = nullptr;
    CTestEvent waiting;
    std::atomic<bool> inWait{false};
    std::atomic<bool> closedUnderWaiter{false};
    int events = 0;
    PATCH_IMPORT(creation, CreateEventW, [&](auto... arguments) {
        const HANDLE made = creation.Original(arguments...);
        if (++events == 2) {  // the first is the window's, later ones are the test's
            quitEvent = made;
        }
        return made;
    });
    const auto process = std::make_shared<CTestedProcess>();
    const HANDLE event = quitEvent;
    std::atomic<DWORD> waiterId{0};
    PATCH_IMPORT(wait, WaitForSingleObject, [&](HANDLE object, DWORD timeout) {
        if (object != event || waiterId != GetCurrentThreadId()) {
            return wait.Original(object, timeout);
        }
        inWait = true;
        waiting.Set();
        const DWORD result = wait.Original(object, timeout);
        // Gives a loop thread that wrongly does not wait the time to close the event.
        for (int turn = 0; turn < 1000 && !closedUnderWaiter; ++turn) {
            SwitchToThread();
        }
        inWait = false;
        return result;
    });
    PATCH_IMPORT(close, CloseHandle, [&](HANDLE object) {
        if (object == event && inWait) {
            closedUnderWaiter = true;
        }
        return close.Original(object);
    });
    bool quit = false;
    std::thread waiter([&] {
        waiterId = GetCurrentThreadId();
        quit = process->WaitQuit(INFINITE);
    });
    EXPECT_TRUE(waiting.Wait());
    process->OnClose();
    waiter.join();
    EXPECT_TRUE(quit);
    EXPECT_FALSE(closedUnderWaiter);
}

TEST(MsgLoopProcessQuit, IsSeenWhenTheEventCannotBeSet) {
    PATCH_IMPORT(setting, SetEvent, [](HANDLE) -> BOOL { return FALSE; });
    PATCH_IMPORT(post, PostMessageW, [](auto...) -> BOOL { return TRUE; });
    CMsgLoopProcess process;
    EXPECT_FALSE(process.WaitQuit(0));
    process.Quit();
    EXPECT_TRUE(process.WaitQuit(0));
}

// Windows refuses to post to a thread whose queue is full.
TEST(MsgLoopProcessQuit, FromAnotherThreadEndsTheLoopWhenNothingCanBePosted) {
    CTestLog log;
    CRunningProcess process(L"");
    ASSERT_NE(process.Window(), nullptr);
    PATCH_IMPORT(post, PostMessageW, [](auto...) -> BOOL { return FALSE; });
    EXPECT_FALSE(process->Quit());
    EXPECT_TRUE(process.WaitForEnd());
}

TEST(MsgLoopProcessQuit, ByAStopMessageEndsTheLoopWhenNothingCanBePosted) {
    CTestLog log;
    CRunningProcess process(L"");
    ASSERT_NE(process.Window(), nullptr);
    PATCH_IMPORT(post, PostMessageW, [](auto...) -> BOOL { return FALSE; });
    COPYDATASTRUCT stop{3345, 0, nullptr};
    EXPECT_EQ(SendMessageW(process.Window(), WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&stop)),
              TRUE);
    EXPECT_TRUE(process.WaitForEnd());
}

TEST(MsgLoopProcessQuit, ByAStubThatHasGoneEndsTheLoopWhenNothingCanBePosted) {
    CTestLog log;
    CRunningProcess process(L"");
    ASSERT_NE(process.Window(), nullptr);
    int posts = 0;
    PATCH_IMPORT(post, PostMessageW, [&](auto... arguments) -> BOOL {
        return posts++ > 0 && post.Original(arguments...);
    });
    SendMessageW(process.Window(), WM_TIMER, 9601, 0);
    EXPECT_TRUE(process.WaitForEnd());
}

TEST(MsgLoopProcessQuit, WithoutAWorkThreadEndsTheLoopWhenNothingCanBePosted) {
    CTestLog log;
    PATCH_IMPORT(start, _beginthreadex, [](auto...) -> uintptr_t { return 0; });
    PATCH_IMPORT(post, PostMessageW, [](auto...) -> BOOL { return FALSE; });
    CMsgLoopProcess process;
    process.Init(L"", [] {});
    process.Run();
    EXPECT_EQ(log.Messages().back(), "[msgloopprocess] OnCreate failed, process quit.");
}
