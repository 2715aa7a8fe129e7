#include "src/process/thread.h"

#include <gtest/gtest.h>
#include <objbase.h>
#include <process.h>

#include <atomic>
#include <functional>
#include <new>

#include "tests/support/importpatch.h"
#include "tests/unit/process/testevent.h"

namespace {

class CTestedThread : public CThread {
  public:
    using CThread::ThreadHandle;
    using CThread::ThreadId;

    void ThreadMain() override {
        ++bodies;
        body();
    }

    std::atomic<int> bodies{0};
    std::function<void()> body = [] {};
};

// Lets the thread's body return and waits for the thread's end, however the test ended.
class CBodyThatWaits {
  public:
    explicit CBodyThatWaits(CTestedThread& thread) {
        thread.body = [this] {
            began.Set();
            EXPECT_TRUE(end.Wait());
        };
    }

    CTestEvent began;
    CTestEvent end;
};

[[gnu::noinline]] void LeaveApartment() { CoUninitialize(); }

bool WaitFor(HANDLE thread) { return WaitForSingleObject(thread, kPatienceMs) == WAIT_OBJECT_0; }

}  // namespace

TEST(Thread, IsStoppedAndHasNoHandleWhenFresh) {
    CTestedThread thread;
    EXPECT_EQ(thread.ThreadHandle(), nullptr);
    EXPECT_EQ(thread.ThreadId(), 0u);
    EXPECT_EQ(thread.RequestStop(), 1);
}

TEST(Thread, AnswersWhatTheStopFlagWas) {
    CTestedThread thread;
    EXPECT_EQ(thread.RequestStop(), 1);
    EXPECT_EQ(thread.ResetStop(), 1);
    EXPECT_EQ(thread.ResetStop(), 0);
    EXPECT_EQ(thread.RequestStop(), 0);
    EXPECT_EQ(thread.RequestStop(), 1);
}

TEST(Thread, RunsItsBodyWithTheStopFlagClearAndSetsItAtTheEnd) {
    CTestedThread thread;
    LONG duringBody = -1;
    unsigned idDuringBody = 0;
    thread.body = [&] {
        duringBody = thread.ResetStop();
        idDuringBody = GetCurrentThreadId();
    };
    HANDLE handle = nullptr;
    unsigned id = 0;
    {
        CTestEvent go;
        const auto inner = thread.body;
        thread.body = [&] {
            ASSERT_TRUE(go.Wait());
            inner();
        };
        thread.Start();
        handle = thread.ThreadHandle();
        id = thread.ThreadId();
        go.Set();
        ASSERT_TRUE(WaitFor(handle));
    }
    EXPECT_EQ(duringBody, 0);
    EXPECT_EQ(idDuringBody, id);
    EXPECT_EQ(thread.ThreadHandle(), nullptr);
    EXPECT_EQ(thread.ThreadId(), 0u);
    EXPECT_EQ(thread.RequestStop(), 1);
    DWORD exitCode = 0;
    EXPECT_TRUE(GetExitCodeThread(handle, &exitCode)) << "the handle is still open";
    EXPECT_EQ(exitCode, 1u);
    CloseHandle(handle);
}

TEST(Thread, StartsOnceWhileItRuns) {
    int starts = 0;
    PATCH_IMPORT(begin, _beginthreadex,
                 [&](void* security, unsigned stack, auto entry, void* parameter, unsigned flags,
                     unsigned* id) {
                     ++starts;
                     EXPECT_EQ(security, nullptr);
                     EXPECT_EQ(stack, 0u);
                     EXPECT_EQ(flags, 0u);
                     EXPECT_NE(id, nullptr);
                     return begin.Original(security, stack, entry, parameter, flags, id);
                 });
    CTestedThread thread;
    CBodyThatWaits body(thread);
    thread.Start();
    ASSERT_TRUE(body.began.Wait());
    const HANDLE handle = thread.ThreadHandle();
    thread.Start();
    EXPECT_EQ(thread.ThreadHandle(), handle);
    body.end.Set();
    ASSERT_TRUE(WaitFor(handle));
    EXPECT_EQ(starts, 1);
    EXPECT_EQ(thread.bodies, 1);
    CloseHandle(handle);
}

TEST(Thread, CanBeStartedAgainAfterAFailedStart) {
    CTestedThread thread;
    {
        PATCH_IMPORT(begin, _beginthreadex, [](auto...) -> uintptr_t { return 0; });
        thread.Start();
    }
    EXPECT_EQ(thread.ThreadHandle(), nullptr);
    EXPECT_EQ(thread.bodies, 0);
    CBodyThatWaits body(thread);
    thread.Start();
    const HANDLE handle = thread.ThreadHandle();
    ASSERT_NE(handle, nullptr);
    body.end.Set();
    ASSERT_TRUE(WaitFor(handle));
    EXPECT_EQ(thread.bodies, 1);
    CloseHandle(handle);
}

TEST(Thread, CanBeStartedAgainAsSoonAsItHasEnded) {
    CTestedThread thread;
    for (int start = 1; start <= 50; ++start) {
        SCOPED_TRACE(start);
        CTestEvent go;
        thread.body = [&] { ASSERT_TRUE(go.Wait()); };
        thread.Start();
        const HANDLE handle = thread.ThreadHandle();
        ASSERT_NE(handle, nullptr);
        ASSERT_NE(thread.ThreadId(), 0u);
        go.Set();
        if (start % 2 == 0) {
            ASSERT_TRUE(WaitFor(handle));
        }
        // Without the wait above, the next start would come while this thread is still ending.
        while (thread.ThreadHandle()) {
            SwitchToThread();
        }
        CTestEvent goAgain;
        LONG flag = 1;
        thread.body = [&] {
            ASSERT_TRUE(goAgain.Wait());
            flag = thread.ResetStop();
        };
        thread.Start();
        const HANDLE next = thread.ThreadHandle();
        ASSERT_NE(next, nullptr);
        ASSERT_TRUE(WaitFor(handle));
        EXPECT_NE(thread.ThreadId(), 0u) << "the first thread cleared the second one's id";
        goAgain.Set();
        ASSERT_TRUE(WaitFor(next));
        ASSERT_EQ(flag, 0) << "the first thread set the second one's stop flag";
        CloseHandle(handle);
        CloseHandle(next);
    }
}

TEST(Thread, EntersASingleThreadedApartmentAndNeverLeavesItItself) {
    int entered = 0;
    int left = 0;
    PATCH_IMPORT(initialise, CoInitializeEx, [&](void* reserved, DWORD kind) {
        ++entered;
        EXPECT_EQ(reserved, nullptr);
        EXPECT_EQ(kind, DWORD{COINIT_APARTMENTTHREADED});
        return initialise.Original(reserved, kind);
    });
    PATCH_IMPORT(uninitialise, CoUninitialize, [&] { ++left; });
    CTestedThread thread;
    HRESULT inBody = S_OK;
    CTestEvent go;
    thread.body = [&] {
        ASSERT_TRUE(go.Wait());
        // Initialising COM with the other threading model fails on a thread that is in an
        // apartment.
        inBody = initialise.Original(nullptr, COINIT_MULTITHREADED);
    };
    thread.Start();
    const HANDLE handle = thread.ThreadHandle();
    go.Set();
    ASSERT_TRUE(WaitFor(handle));
    EXPECT_EQ(entered, 1);
    EXPECT_EQ(inBody, RPC_E_CHANGED_MODE);
    EXPECT_EQ(left, 0);
    LeaveApartment();
    EXPECT_EQ(left, 1) << "leaving would have been counted";
    CloseHandle(handle);
}

TEST(Thread, RunsItsBodyAlsoWhenTheApartmentIsRefused) {
    PATCH_IMPORT(initialise, CoInitializeEx, [](auto...) { return E_OUTOFMEMORY; });
    CTestedThread thread;
    CBodyThatWaits body(thread);
    thread.Start();
    const HANDLE handle = thread.ThreadHandle();
    body.end.Set();
    ASSERT_TRUE(WaitFor(handle));
    EXPECT_EQ(thread.bodies, 1);
    CloseHandle(handle);
}

TEST(Thread, EndsAsUsualWhenItsBodyThrows) {
    CTestedThread thread;
    CTestEvent go;
    thread.body = [&] {
        EXPECT_TRUE(go.Wait());
        throw std::bad_alloc();
    };
    thread.Start();
    const HANDLE handle = thread.ThreadHandle();
    go.Set();
    ASSERT_TRUE(WaitFor(handle));
    EXPECT_EQ(thread.ThreadHandle(), nullptr);
    EXPECT_EQ(thread.ThreadId(), 0u);
    EXPECT_EQ(thread.RequestStop(), 1);
    DWORD exitCode = 0;
    EXPECT_TRUE(GetExitCodeThread(handle, &exitCode));
    EXPECT_EQ(exitCode, 1u);
    CloseHandle(handle);
}

TEST(Thread, DoesNotWaitForItselfWhenItStopsItself) {
    CTestedThread thread;
    CTestEvent go;
    LONG flag = 0;
    thread.body = [&] {
        ASSERT_TRUE(go.Wait());
        thread.Stop(true);
        flag = thread.RequestStop();
    };
    thread.Start();
    const HANDLE handle = thread.ThreadHandle();
    go.Set();
    ASSERT_TRUE(WaitFor(handle));
    EXPECT_EQ(flag, 1);
    CloseHandle(handle);
}

TEST(Thread, SetsTheFlagWithoutWaitingWhenNotAskedToWait) {
    CTestedThread thread;
    CBodyThatWaits body(thread);
    thread.Start();
    ASSERT_TRUE(body.began.Wait());
    const HANDLE handle = thread.ThreadHandle();
    thread.Stop(false);
    EXPECT_EQ(thread.ThreadHandle(), handle) << "the body still runs";
    EXPECT_EQ(thread.RequestStop(), 1);
    body.end.Set();
    ASSERT_TRUE(WaitFor(handle));
    CloseHandle(handle);
}

TEST(Thread, IsWaitedForWithoutLimitAndItsHandleForgottenButNotClosed) {
    CTestedThread thread;
    CBodyThatWaits body(thread);
    thread.Start();
    ASSERT_TRUE(body.began.Wait());
    const HANDLE handle = thread.ThreadHandle();
    bool waited = false;
    {
        PATCH_IMPORT(wait, WaitForSingleObject, [&](HANDLE object, DWORD timeout) {
            if (object == handle) {
                waited = true;
                EXPECT_EQ(timeout, INFINITE);
                EXPECT_EQ(thread.RequestStop(), 1) << "the flag is set first";
                body.end.Set();
            }
            return wait.Original(object, timeout);
        });
        thread.Stop(true);
    }
    EXPECT_TRUE(waited);
    EXPECT_EQ(thread.ThreadHandle(), nullptr);
    EXPECT_EQ(thread.bodies, 1);
    DWORD flags = 0;
    EXPECT_TRUE(GetHandleInformation(handle, &flags)) << "the handle was closed";
    CloseHandle(handle);
}

TEST(Thread, IsForgottenWhenItsEndCannotBeAwaited) {
    CTestedThread thread;
    CBodyThatWaits body(thread);
    thread.Start();
    ASSERT_TRUE(body.began.Wait());
    const HANDLE handle = thread.ThreadHandle();
    int waits = 0;
    {
        PATCH_IMPORT(wait, WaitForSingleObject, [&](HANDLE object, DWORD timeout) -> DWORD {
            if (object != handle) {
                return wait.Original(object, timeout);
            }
            ++waits;
            return WAIT_FAILED;
        });
        thread.Stop(true);
        EXPECT_EQ(thread.ThreadHandle(), nullptr);
        thread.Stop(true);
    }
    EXPECT_EQ(waits, 1);
    body.end.Set();
    ASSERT_TRUE(WaitFor(handle));
    CloseHandle(handle);
}

TEST(Thread, KeepsTheHandleOfOneThatIsStartedWhileAnEarlierOneIsAwaited) {
    CTestedThread thread;
    CBodyThatWaits body(thread);
    thread.Start();
    ASSERT_TRUE(body.began.Wait());
    const HANDLE first = thread.ThreadHandle();
    HANDLE second = nullptr;
    CTestEvent end;
    {
        PATCH_IMPORT(wait, WaitForSingleObject, [&](HANDLE object, DWORD timeout) {
            const bool isStopping = object == first && !second;
            if (!isStopping) {
                return wait.Original(object, timeout);
            }
            body.end.Set();
            const DWORD result = wait.Original(object, timeout);
            thread.body = [&] { EXPECT_TRUE(end.Wait()); };
            thread.Start();
            second = thread.ThreadHandle();
            return result;
        });
        thread.Stop(true);
    }
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(thread.ThreadHandle(), second);
    end.Set();
    ASSERT_TRUE(WaitFor(second));
    CloseHandle(first);
    CloseHandle(second);
}

TEST(Thread, StopsWithoutAThreadAtOnce) {
    CTestedThread thread;
    thread.ResetStop();
    thread.Stop(true);
    EXPECT_EQ(thread.RequestStop(), 1);
}

TEST(Thread, IsNeitherAwaitedNorClosedByItsObjectsEnd) {
    const HANDLE handle = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    bool touched = false;
    {
        PATCH_IMPORT(begin, _beginthreadex,
                     [&](auto...) { return reinterpret_cast<uintptr_t>(handle); });
        PATCH_IMPORT(wait, WaitForSingleObject, [&](HANDLE object, DWORD timeout) {
            touched = touched || object == handle;
            return wait.Original(object, timeout);
        });
        PATCH_IMPORT(close, CloseHandle, [&](HANDLE object) {
            touched = touched || object == handle;
            return close.Original(object);
        });
        CTestedThread thread;
        thread.Start();
        ASSERT_EQ(thread.ThreadHandle(), handle);
    }
    EXPECT_FALSE(touched);
    CloseHandle(handle);
}
