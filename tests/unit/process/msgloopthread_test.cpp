#include "src/process/msgloopthread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <new>

#include "tests/support/importpatch.h"
#include "tests/support/testlog.h"
#include "tests/unit/process/testevent.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kQuitLine[] = "[msgloopthread] CMsgLoopThread quit msg loop.";
constexpr char kNoWindowLine[] = "[msgloopthread] Create MsgLoopWnd failed.";

class CTestedLoop : public CMsgLoopThread {
  public:
    using CMsgLoopThread::ThreadHandle;
    using CMsgLoopThread::Window;

    BOOL ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                              LRESULT& result) override {
        const BOOL handled =
            CMsgLoopThread::ProcessWindowMessage(window, message, wParam, lParam, result);
        if (message == WM_CREATE) {
            ++creations;
            if (onCreate) {
                onCreate();
            }
        }
        if (message == WM_APP && onApp) {
            onApp();
        }
        return handled;
    }

    void OnClose() override {
        ++closes;
        CMsgLoopThread::OnClose();
    }

    std::function<void()> onCreate;
    std::function<void()> onApp;
    int creations = 0;
    int closes = 0;
};

// The answer of the message map, and the result that it wrote over 99.
struct Answer {
    BOOL handled;
    LRESULT result;
};

Answer Ask(CTestedLoop& loop, UINT message) {
    LRESULT result = 99;
    const BOOL handled = loop.CMsgLoopThread::ProcessWindowMessage(nullptr, message, 0, 0, result);
    return {handled, result};
}

}  // namespace

TEST(MsgLoopThread, HasAManualResetEventForItsWindow) {
    HANDLE event = nullptr;
    int events = 0;
    int sets = 0;
    int closes = 0;
    PATCH_IMPORT(creation, CreateEventW,
                 [&](SECURITY_ATTRIBUTES* security, BOOL manual, BOOL set, const wchar_t* name) {
                     ++events;
                     EXPECT_EQ(security, nullptr);
                     EXPECT_TRUE(manual);
                     EXPECT_FALSE(set);
                     EXPECT_EQ(name, nullptr);
                     return event = creation.Original(security, manual, set, name);
                 });
    PATCH_IMPORT(setting, SetEvent, [&](HANDLE object) {
        sets += object == event ? 1 : 0;
        return setting.Original(object);
    });
    PATCH_IMPORT(closing, CloseHandle, [&](HANDLE object) {
        closes += object == event ? 1 : 0;
        return closing.Original(object);
    });
    {
        CTestedLoop loop;
        EXPECT_EQ(loop.Window(), nullptr);
        EXPECT_EQ(events, 1);
        EXPECT_EQ(sets, 0);
        const Answer answer = Ask(loop, WM_CREATE);
        EXPECT_FALSE(answer.handled) << "falls through";
        EXPECT_EQ(sets, 1);
        EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_OBJECT_0});
    }
    EXPECT_EQ(closes, 0) << "the event outlives its object";
    CloseHandle(event);
}

TEST(MsgLoopThread, HandlesTheCloseMessageWithTheVirtualOperation) {
    CTestLog log;
    CTestedLoop loop;
    const Answer answer = Ask(loop, WM_CLOSE);
    EXPECT_TRUE(answer.handled);
    EXPECT_EQ(answer.result, 0);
    EXPECT_EQ(loop.closes, 1);
}

TEST(MsgLoopThread, LeavesEveryOtherMessageToOthers) {
    CTestedLoop loop;
    for (UINT message = 0; message < 0x400; ++message) {
        if (message != WM_CLOSE && message != WM_CREATE) {
            EXPECT_FALSE(Ask(loop, message).handled) << message;
        }
    }
    EXPECT_EQ(loop.closes, 0);
}

TEST(MsgLoopThread, MakesANeverShownToolWindowAndEndsWhenItIsClosed) {
    CTestLog log;
    CTestedLoop loop;
    LONG_PTR style = 0;
    LONG_PTR extendedStyle = 0;
    BOOL visible = TRUE;
    wchar_t name[32] = {};
    loop.onCreate = [&] {
        const HWND window = loop.Window();
        style = GetWindowLongPtrW(window, GWL_STYLE);
        extendedStyle = GetWindowLongPtrW(window, GWL_EXSTYLE);
        visible = IsWindowVisible(window);
        GetClassNameW(window, name, ARRAYSIZE(name));
        PostMessageW(window, WM_CLOSE, 0, 0);
    };
    loop.RunLoop();
    EXPECT_EQ(loop.creations, 1);
    EXPECT_EQ(loop.closes, 1);
    EXPECT_EQ(loop.Window(), nullptr);
    EXPECT_FALSE(visible);
    EXPECT_TRUE(style & WS_POPUP);
    EXPECT_FALSE(style & (WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN));
    EXPECT_TRUE(extendedStyle & WS_EX_TOOLWINDOW);
    EXPECT_EQ(std::wstring(name).substr(0, 4), L"ATL:");
    EXPECT_THAT(log.Messages(), ElementsAre(kQuitLine));
}

TEST(MsgLoopThread, DestroysItsWindowThenPostsTheEndThenLogs) {
    CTestLog log;
    CTestedLoop loop;
    std::vector<std::string> calls;
    PATCH_IMPORT(destruction, DestroyWindow, [&](HWND window) {
        EXPECT_EQ(window, loop.Window());
        EXPECT_THAT(log.Messages(), IsEmpty());
        calls.emplace_back("destroy");
        return destruction.Original(window);
    });
    PATCH_IMPORT(end, PostQuitMessage, [&](int code) {
        EXPECT_EQ(code, 0);
        EXPECT_THAT(log.Messages(), IsEmpty());
        calls.emplace_back("quit");
        end.Original(code);
    });
    loop.onCreate = [&] { PostMessageW(loop.Window(), WM_CLOSE, 0, 0); };
    loop.RunLoop();
    EXPECT_THAT(calls, ElementsAre("destroy", "quit"));
    EXPECT_THAT(log.Messages(), ElementsAre(kQuitLine));
}

TEST(MsgLoopThread, PostsNoEndWhenItsWindowIsGone) {
    CTestLog log;
    CTestedLoop loop;
    int quits = 0;
    PATCH_IMPORT(end, PostQuitMessage, [&](int) { ++quits; });
    loop.OnClose();
    loop.OnClose();
    EXPECT_EQ(quits, 0);
    EXPECT_THAT(log.Messages(), ElementsAre(kQuitLine, kQuitLine));
}

TEST(MsgLoopThread, EndsAtOnceWhenTheWindowCannotBeCreated) {
    CTestLog log;
    CTestedLoop loop;
    int gets = 0;
    PATCH_IMPORT(creation, CreateWindowExW, [](auto...) -> HWND { return nullptr; });
    PATCH_IMPORT(get, GetMessageW, [&](auto...) -> BOOL {
        ++gets;
        return 0;
    });
    loop.RunLoop();
    EXPECT_EQ(loop.creations, 0);
    EXPECT_EQ(gets, 0);
    EXPECT_THAT(log.Messages(), ElementsAre(kNoWindowLine));
}

TEST(MsgLoopThread, CanRunItsLoopOnAThreadOfItsOwn) {
    CTestLog log;
    CTestedLoop loop;
    CTestEvent created;
    loop.onCreate = [&] { created.Set(); };
    loop.Start();
    const HANDLE thread = loop.ThreadHandle();
    ASSERT_TRUE(created.Wait());
    EXPECT_NE(GetWindowThreadProcessId(loop.Window(), nullptr), GetCurrentThreadId());
    PostMessageW(loop.Window(), WM_CLOSE, 0, 0);
    ASSERT_EQ(WaitForSingleObject(thread, kPatienceMs), DWORD{WAIT_OBJECT_0});
    CloseHandle(thread);
    EXPECT_THAT(log.Messages(), ElementsAre(kQuitLine));
}

TEST(MsgLoopThreadException, ClosesTheWindowInOrderAndLeavesTheLoop) {
    CTestLog log;
    CTestedLoop loop;
    HWND window = nullptr;
    loop.onCreate = [&] {
        window = loop.Window();
        PostMessageW(window, WM_APP, 0, 0);
    };
    loop.onApp = [] { throw std::bad_alloc(); };
    EXPECT_THROW(loop.RunLoop(), std::bad_alloc);
    EXPECT_EQ(loop.closes, 1);
    EXPECT_NE(window, nullptr);
    EXPECT_FALSE(IsWindow(window));
    EXPECT_THAT(log.Messages(), ElementsAre(kQuitLine));
    MSG left{};
    EXPECT_FALSE(PeekMessageW(&left, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
}

TEST(MsgLoopThreadException, FromTheCreationLeavesTheLoopThatCouldNotBegin) {
    CTestLog log;
    CTestedLoop loop;
    loop.onCreate = [] { throw std::bad_alloc(); };
    EXPECT_THROW(loop.RunLoop(), std::bad_alloc);
    EXPECT_EQ(loop.Window(), nullptr);
    EXPECT_THAT(log.Messages(), ElementsAre(kNoWindowLine));
}

TEST(MsgLoopThreadException, EndsAThreadOfItsOwn) {
    CTestLog log;
    CTestedLoop loop;
    CTestEvent go;
    loop.onCreate = [&] {
        EXPECT_TRUE(go.Wait());
        throw std::bad_alloc();
    };
    loop.Start();
    const HANDLE thread = loop.ThreadHandle();
    go.Set();
    ASSERT_EQ(WaitForSingleObject(thread, kPatienceMs), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(loop.ThreadHandle(), nullptr);
    CloseHandle(thread);
}
