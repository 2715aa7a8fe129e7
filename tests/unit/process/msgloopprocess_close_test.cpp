#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <process.h>
#include <wchar.h>

#include <atomic>
#include <mutex>
#include <new>
#include <thread>

#include "tests/support/importpatch.h"
#include "tests/support/testlog.h"
#include "tests/unit/process/runningprocess.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr char kCloseLine[] = "[msgloopprocess] CMsgLoopProcess OnClose.";
constexpr char kOnCreateFailedLine[] = "[msgloopprocess] OnCreate failed, process quit.";
constexpr char kLoopEndLine[] = "[msgloopthread] CMsgLoopThread quit msg loop.";

// The calls on the host's handles and window, in order, from any thread.
class CCalls {
  public:
    void Add(const std::string& call) {
        const std::lock_guard lock(m_mutex);
        m_calls.push_back(call);
    }
    std::vector<std::string> All() {
        const std::lock_guard lock(m_mutex);
        return m_calls;
    }

  private:
    std::mutex m_mutex;
    std::vector<std::string> m_calls;
};

// Records what one host, made inside the record's life, does with its handles and its window.
class CHandleRecord {
  public:
    CCalls calls;

    std::atomic<HANDLE> thread{nullptr};
    std::atomic<HANDLE> quitEvent{nullptr};

    // The name of a handle in the record; empty for handles of others.
    std::string NameOf(HANDLE handle) const {
        if (handle && handle == thread) {
            return "thread";
        }
        return handle && handle == quitEvent ? "event" : "";
    }

    void Note(const char* call, HANDLE handle, const std::string& more = {}) {
        const std::string name = NameOf(handle);
        if (!name.empty()) {
            calls.Add(std::string(call) + " " + name + more);
        }
    }

  private:
    std::atomic<int> m_events{0};

    PATCH_IMPORT(m_event, CreateEventW, [this](auto... arguments) {
        const HANDLE made = m_event.Original(arguments...);
        if (++m_events == 2) {  // the first is the window's
            quitEvent = made;
        }
        return made;
    });
    PATCH_IMPORT(m_begin, _beginthreadex, [this](auto... arguments) {
        const uintptr_t made = m_begin.Original(arguments...);
        thread = reinterpret_cast<HANDLE>(made);
        return made;
    });
    PATCH_IMPORT(m_set, SetEvent, [this](HANDLE handle) {
        Note("set", handle);
        return m_set.Original(handle);
    });
    // A closed handle's value may be used again, but only the host waits without a limit.
    PATCH_IMPORT(m_wait, WaitForSingleObject, [this](HANDLE handle, DWORD timeout) {
        if (handle == thread && timeout == INFINITE) {
            Note("wait", handle, " without limit");
        }
        return m_wait.Original(handle, timeout);
    });
    PATCH_IMPORT(m_close, CloseHandle, [this](HANDLE handle) {
        Note("close", handle);
        return m_close.Original(handle);
    });
    PATCH_IMPORT(m_destroy, DestroyWindow, [this](HWND window) {
        calls.Add("destroy window");
        return m_destroy.Original(window);
    });
    PATCH_IMPORT(m_quit, PostQuitMessage, [this](int code) {
        calls.Add("quit " + std::to_string(code));
        m_quit.Original(code);
    });
};

void CloseAtOnce(CTestedProcess& process) { PostMessageW(process.Window(), WM_CLOSE, 0, 0); }

}  // namespace

TEST(MsgLoopProcessClose, EndsARunningWorkThreadInOrder) {
    CTestLog log;
    CHandleRecord record;
    CTestedProcess process;
    process.Init(L"", [&] {
        CloseAtOnce(process);
        process.WaitQuit(INFINITE);
    });
    process.Run();
    EXPECT_THAT(record.calls.All(),
                ElementsAre("set event", "wait thread without limit", "close thread", "close event",
                            "destroy window", "quit 0"));
    const auto messages = log.Messages();
    EXPECT_THAT(std::vector(messages.end() - 3, messages.end()),
                ElementsAre(kCloseLine, kWorkEndLine, kLoopEndLine));
}

TEST(MsgLoopProcessClose, DoesNotWaitForAWorkThreadThatHasEnded) {
    CTestLog log;
    CHandleRecord record;
    CTestedProcess process;
    process.Init(L"", [] {});
    process.Run();
    EXPECT_THAT(record.calls.All(), ElementsAre("close thread", "set event", "close event",
                                                "destroy window", "quit 0"));
    const auto messages = log.Messages();
    EXPECT_THAT(std::vector(messages.end() - 2, messages.end()),
                ElementsAre(kCloseLine, kLoopEndLine));
    EXPECT_THAT(messages, Contains(kWorkEndLine).Times(1));
}

TEST(MsgLoopProcessClose, LogsBeforeItSetsTheEvent) {
    CTestLog log;
    CTestedProcess process;
    int sets = 0;
    PATCH_IMPORT(setting, SetEvent, [&](HANDLE event) {
        ++sets;
        EXPECT_THAT(log.Messages(), ElementsAre(kCloseLine));
        return setting.Original(event);
    });
    process.OnClose();
    EXPECT_EQ(sets, 1);
    EXPECT_THAT(log.Messages(), ElementsAre(kCloseLine, kLoopEndLine));
}

TEST(MsgLoopProcessClose, ClosesTheEventAgainWhenItIsClosedAlready) {
    CTestLog log;
    CTestedProcess process;
    process.OnClose();
    std::vector<HANDLE> closed;
    int sets = 0;
    PATCH_IMPORT(closing, CloseHandle, [&](HANDLE handle) {
        closed.push_back(handle);
        return closing.Original(handle);
    });
    PATCH_IMPORT(setting, SetEvent, [&](HANDLE) -> BOOL { return ++sets; });
    process.OnClose();
    EXPECT_THAT(closed, ElementsAre(nullptr));
    EXPECT_EQ(sets, 0);
}

TEST(MsgLoopProcessClose, HappensOnceHoweverOftenItIsPosted) {
    CTestLog log;
    CTestEvent goOn;
    CRunningProcess process(L"", [&](CTestedProcess&) { EXPECT_TRUE(goOn.Wait()); });
    ASSERT_NE(process.Window(), nullptr);
    for (int time = 0; time < 3; ++time) {
        SCOPED_TRACE(time);
        EXPECT_TRUE(PostMessageW(process.Window(), WM_CLOSE, 0, 0));
    }
    goOn.Set();
    ASSERT_TRUE(process.WaitForEnd());
    EXPECT_THAT(log.Messages(), Contains(kCloseLine).Times(1));
    EXPECT_THAT(log.Messages(), Contains(kLoopEndLine).Times(1));
}

TEST(MsgLoopProcessClose, FollowsWhenTheWorkThreadCannotBeStarted) {
    CTestLog log;
    std::vector<std::string> calls;
    PATCH_IMPORT(begin, _beginthreadex, [](auto...) -> uintptr_t { return 0; });
    PATCH_IMPORT(post, PostMessageW, [&](HWND window, UINT message, WPARAM w, LPARAM l) {
        calls.push_back("post " + std::to_string(message) + " after " +
                        std::to_string(log.Messages().size()) + " lines");
        return post.Original(window, message, w, l);
    });
    PATCH_IMPORT(set, SetTimer, [&](auto...) -> UINT_PTR {
        calls.emplace_back("timer");
        return 1;
    });
    PATCH_IMPORT(wait, WaitForSingleObject, [&](HANDLE handle, DWORD timeout) {
        EXPECT_NE(timeout, INFINITE) << "there is no thread to wait for";
        return wait.Original(handle, timeout);
    });
    CTestedProcess process;
    process.Init(L"", [] { ADD_FAILURE() << "the work function was called"; });
    process.Run();
    EXPECT_THAT(calls, ElementsAre("post 16 after 1 lines"));
    EXPECT_THAT(log.Messages(),
                ElementsAre("[msgloopprocess] cmd:", kOnCreateFailedLine, kCloseLine, kLoopEndLine))
        << "no hello was tried";
}

TEST(MsgLoopProcessClose, FollowsWhenThereIsNoEventThatCouldStopTheWork) {
    CTestLog log;
    int events = 0;
    int threads = 0;
    PATCH_IMPORT(creation, CreateEventW, [&](auto... arguments) -> HANDLE {
        return ++events == 2 ? nullptr : creation.Original(arguments...);
    });
    PATCH_IMPORT(begin, _beginthreadex, [&](auto...) -> uintptr_t {
        ++threads;
        return 0;
    });
    CMsgLoopProcess process;
    process.Init(L"", [] {});
    process.Run();
    EXPECT_EQ(threads, 0);
    EXPECT_THAT(log.Messages(), ElementsAre("[msgloopprocess] cmd:", kOnCreateFailedLine,
                                            kCloseLine, kLoopEndLine));
}

TEST(MsgLoopProcessClose, IsNotReachedWhenTheWindowCannotBeCreated) {
    CTestLog log;
    int sets = 0;
    PATCH_IMPORT(setting, SetEvent, [&](HANDLE) -> BOOL { return ++sets; });
    PATCH_IMPORT(creation, CreateWindowExW, [](auto...) -> HWND { return nullptr; });
    CTestedProcess process;
    process.Init(L"", [] { ADD_FAILURE() << "the work function was called"; });
    process.Run();
    EXPECT_THAT(log.Messages(),
                ElementsAre("[msgloopprocess] cmd:", "[msgloopthread] Create MsgLoopWnd failed."));
    EXPECT_EQ(sets, 0) << "there is no work thread to be woken";
}

TEST(MsgLoopProcessClose, WakesAndAwaitsAWorkThreadThatTheLoopHasLeft) {
    CTestLog log;
    CHandleRecord record;
    CTestedProcess process;
    const DWORD loopThread = GetCurrentThreadId();
    process.Init(L"", [&] {
        PostThreadMessageW(loopThread, WM_QUIT, 0, 0);
        process.WaitQuit(INFINITE);
    });
    process.Run();
    EXPECT_THAT(record.calls.All(),
                ElementsAre("set event", "wait thread without limit", "close thread"));
    EXPECT_THAT(log.Messages(), testing::Not(Contains(kCloseLine)));
}

TEST(MsgLoopProcessWork, RunsOnceOnAThreadOfItsOwn) {
    CTestLog log;
    int runs = 0;
    DWORD thread = 0;
    CTestedProcess process;
    process.Init(L"", [&] {
        ++runs;
        thread = GetCurrentThreadId();
    });
    process.Run();
    EXPECT_EQ(runs, 1);
    EXPECT_NE(thread, GetCurrentThreadId());
}

TEST(MsgLoopProcessWork, ClosesItsThreadsHandleThenLogsThenPostsTheCloseMessage) {
    CTestLog log;
    CHandleRecord record;
    PATCH_IMPORT(post, PostMessageW, [&](HWND window, UINT message, WPARAM w, LPARAM l) {
        EXPECT_EQ(message, UINT{WM_CLOSE});
        EXPECT_EQ(w, 0u);
        EXPECT_EQ(l, 0);
        EXPECT_THAT(log.Messages(), Contains(kWorkEndLine));
        record.calls.Add("post");
        return post.Original(window, message, w, l);
    });
    PATCH_IMPORT(close, CloseHandle, [&](HANDLE handle) {
        if (!record.NameOf(handle).empty() && record.calls.All().empty()) {
            EXPECT_THAT(log.Messages(), testing::Not(Contains(kWorkEndLine)));
        }
        return close.Original(handle);
    });
    CTestedProcess process;
    process.Init(L"", [] {});
    process.Run();
    const auto calls = record.calls.All();
    EXPECT_THAT(std::vector(calls.begin(), calls.begin() + 2), ElementsAre("close thread", "post"));
}

TEST(MsgLoopProcessWork, HasAnEntryThatEndsWithZeroAlsoWithoutAnObject) {
    CTestLog log;
    unsigned(__stdcall * entry)(void*) = nullptr;
    void* parameter = nullptr;
    PATCH_IMPORT(begin, _beginthreadex,
                 [&](void*, unsigned, auto function, void* argument, auto...) -> uintptr_t {
                     entry = function;
                     parameter = argument;
                     return 0;
                 });
    int runs = 0;
    CTestedProcess process;
    process.Init(L"", [&] { ++runs; });
    process.Run();
    ASSERT_NE(entry, nullptr);
    const size_t lines = log.Messages().size();
    EXPECT_EQ(entry(nullptr), 0u);
    EXPECT_EQ(runs, 0);
    EXPECT_THAT(log.Messages(), SizeIs(lines));
    EXPECT_EQ(entry(parameter), 0u);
    EXPECT_EQ(runs, 1);
}

TEST(MsgLoopProcessWork, HasLoggedBeforeACloseThatOvertakesItsEndGoesOn) {
    CTestLog log;
    CTestedProcess process;
    std::atomic<HANDLE> thread{nullptr};
    std::atomic<bool> isEnding{false};
    std::atomic<bool> hasReturned{false};
    const DWORD loopThread = GetCurrentThreadId();
    PATCH_IMPORT(begin, _beginthreadex, [&](auto... arguments) {
        const uintptr_t made = begin.Original(arguments...);
        thread = reinterpret_cast<HANDLE>(made);
        return made;
    });
    PATCH_IMPORT(close, CloseHandle, [&](HANDLE handle) {
        if (handle && handle == thread && !isEnding) {
            // The work thread closes its handle and has not logged its end yet; let the loop
            // thread close now.
            PostMessageW(process.Window(), WM_CLOSE, 0, 0);
            EXPECT_TRUE(process.closing.Wait());
            isEnding = true;
        }
        return close.Original(handle);
    });
    // A va_list is a char*.
    const CImportPatch<int(const wchar_t*, char*)> format(
        "_vscwprintf", [&](const wchar_t* text, char* arguments) {
            // Give the loop thread the time to end before the work thread logs its last line.
            const bool isWorkThread = GetCurrentThreadId() != loopThread;
            for (int turn = 0; turn < 50000 && isWorkThread && isEnding && !hasReturned; ++turn) {
                SwitchToThread();
            }
            return format.Original(text, arguments);
        });
    process.Init(L"", [&] { EXPECT_TRUE(process.created.Wait()); });
    process.Run();
    hasReturned = true;
    EXPECT_THAT(log.Messages(), Contains(kWorkEndLine).Times(1));
    EXPECT_EQ(log.Messages().back(), kLoopEndLine) << "the work thread had the last word";
}

TEST(MsgLoopProcessWork, LeavesItsHandleToACloseThatIsAlreadyWaiting) {
    CTestLog log;
    CHandleRecord record;
    CTestedProcess process;
    CTestEvent awaited;
    PATCH_IMPORT(wait, WaitForSingleObject, [&](HANDLE handle, DWORD timeout) {
        if (handle == record.thread) {
            awaited.Set();
        }
        return wait.Original(handle, timeout);
    });
    process.Init(L"", [&] {
        CloseAtOnce(process);
        EXPECT_TRUE(awaited.Wait());
    });
    process.Run();
    EXPECT_THAT(record.calls.All(), Contains("close thread").Times(1));
    EXPECT_THAT(log.Messages(), Contains(kWorkEndLine).Times(1));
}

TEST(MsgLoopProcess, ClosesNoHandleInItsDestructor) {
    CTestLog log;
    std::vector<HANDLE> closed;
    PATCH_IMPORT(close, CloseHandle, [&](HANDLE handle) {
        closed.push_back(handle);
        return close.Original(handle);
    });
    {
        CMsgLoopProcess process;
        process.Init(L"--entry=e", [] {});
    }
    EXPECT_THAT(closed, IsEmpty());
}

TEST(MsgLoopProcessException, OfTheWorkEndsEverythingInOrderAndLeavesTheLoopThread) {
    CTestLog log;
    CHandleRecord record;
    CTestedProcess process;
    process.Init(L"", [] { throw std::bad_alloc(); });
    EXPECT_THROW(process.Run(), std::bad_alloc);
    EXPECT_THAT(record.calls.All(), ElementsAre("close thread", "set event", "close event",
                                                "destroy window", "quit 0"));
    const auto messages = log.Messages();
    EXPECT_THAT(messages, Contains(kWorkEndLine).Times(1));
    ASSERT_GE(messages.size(), 2u);
    EXPECT_THAT(std::vector(messages.end() - 2, messages.end()),
                ElementsAre(kCloseLine, kLoopEndLine));
}

TEST(MsgLoopProcessException, OfAHandlerEndsEverythingInOrderAndLeavesTheLoopThread) {
    class CFailingProcess final : public CTestedProcess {
      public:
        BOOL ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                                  LRESULT& result) override {
            if (message == WM_APP) {
                throw std::bad_alloc();
            }
            return CTestedProcess::ProcessWindowMessage(window, message, wParam, lParam, result);
        }
    };
    CTestLog log;
    CHandleRecord record;
    CFailingProcess process;
    bool isStopped = false;
    process.Init(L"", [&] {
        PostMessageW(process.Window(), WM_APP, 0, 0);
        isStopped = process.WaitQuit(INFINITE);
    });
    EXPECT_THROW(process.Run(), std::bad_alloc);
    EXPECT_TRUE(isStopped);
    EXPECT_THAT(record.calls.All(),
                ElementsAre("set event", "wait thread without limit", "close thread", "close event",
                            "destroy window", "quit 0"));
}

TEST(MsgLoopProcessException, OfClosingItselfStillAwaitsTheWorkThread) {
    class CFailingProcess final : public CTestedProcess {
      public:
        void OnClose() override { throw std::bad_alloc(); }
    };
    CTestLog log;
    CFailingProcess process;
    HWND window = nullptr;
    bool isStopped = false;
    process.Init(L"", [&] {
        window = process.Window();
        CloseAtOnce(process);
        isStopped = process.WaitQuit(INFINITE);
    });
    EXPECT_THROW(process.Run(), std::bad_alloc);
    EXPECT_TRUE(isStopped);
    EXPECT_FALSE(IsWindow(window));
}

TEST(MsgLoopProcessException, OfTheLoopThreadWinsOverALaterOneOfTheWork) {
    class CFailingProcess final : public CTestedProcess {
      public:
        void OnClose() override { throw 1; }
    };
    CTestLog log;
    CFailingProcess process;
    process.Init(L"", [&] {
        CloseAtOnce(process);
        process.WaitQuit(INFINITE);
        throw 2;
    });
    int caught = 0;
    try {
        process.Run();
    } catch (int number) {
        caught = number;
    }
    EXPECT_EQ(caught, 1);
}
