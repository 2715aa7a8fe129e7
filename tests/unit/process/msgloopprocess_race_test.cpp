// A thousand workers, stopped at different moments in different ways.
#include <gtest/gtest.h>

#include <process.h>
#include <stdio.h>
#include <wchar.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <random>
#include <thread>

#include "src/log/logger.h"
#include "src/log/logsite.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/process/logfiles.h"
#include "tests/unit/process/runningprocess.h"
#include "zorvane/wire.h"

namespace {

constexpr char kLogSource[] = "tests\\msgloopprocess_race_test.cpp";

constexpr int kWorkers = 1000;
constexpr int kMaxTurns = 60;
// Widens a moment in which the threads could get into each other's way: long enough for the other
// thread to get there, and as long under load, where turns are worth little.
constexpr DWORD kWideMs = 2;

enum class Stop { kMessage, kQuit, kWorkReturns, kClose, kCount };

const char* NameOf(Stop stop) {
    constexpr const char* kNames[] = {"stop message", "Quit", "work returns", "close message"};
    return kNames[static_cast<int>(stop)];
}

void PassTurns(int turns) {
    for (int turn = 0; turn < turns; ++turn) {
        SwitchToThread();
    }
}

// An event of the test's own, signalled until it is reset.
class CMoment {
  public:
    CMoment() : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~CMoment() { CloseHandle(m_event); }
    CMoment(const CMoment&) = delete;
    CMoment& operator=(const CMoment&) = delete;

    void Come() { SetEvent(m_event); }
    void Reset() { ResetEvent(m_event); }
    void WaitAWhile() const { WaitForSingleObject(m_event, kWideMs); }

  private:
    HANDLE m_event;
};

// Follows the work thread's handle and the quit event of the worker that runs.
class CHandleWatch {
  public:
    // Forgets the last worker, whose work thread has ended.
    void Reset() {
        if (const HANDLE thread = m_thread.exchange(nullptr)) {
            CloseHandle(thread);
        }
        m_quitEvent = nullptr;
        m_events = 0;
        m_quitEventClosed.Reset();
        hasReturned.Reset();
        threadCloses = 0;
        lateThreadWaits = 0;
        lateSets = 0;
    }

    bool WaitForThread() const {
        return m_thread && WaitForSingleObject(m_thread, kPatienceMs) == WAIT_OBJECT_0;
    }

    // The host whose work thread is followed, and whether its loop has ended.
    std::atomic<void*> worker{nullptr};
    CMoment hasReturned;

    std::atomic<int> threadCloses{0};
    // The host's waits, which have no limit, on the thread's handle after it was closed.
    std::atomic<int> lateThreadWaits{0};
    // Settings of the quit event after it was closed.
    std::atomic<int> lateSets{0};

  private:
    // Gives a loop thread that wrongly does not wait the time to end before the work thread.
    void WaitForWrongEnd() const {
        if (threadCloses > 0) {
            hasReturned.WaitAWhile();
        }
    }

    HANDLE MakeEvent(HANDLE made) {
        if (++m_events == 2) {  // the first is the window's
            m_quitEvent = made;
        }
        return made;
    }

    uintptr_t Begun(uintptr_t made, void* parameter) {
        const auto thread = reinterpret_cast<HANDLE>(made);
        if (parameter == worker) {
            m_thread = thread;
        }
        return made;
    }

    // The thread's handle stays open until Reset: another object could take over its value.
    bool IsClosedNow(HANDLE handle) {
        if (handle && handle == m_thread) {
            ++threadCloses;
            return false;
        }
        if (handle && handle == m_quitEvent) {
            m_quitEvent = nullptr;
            m_quitEventClosed.Come();
        }
        return true;
    }

    std::atomic<int> m_events{0};
    std::atomic<HANDLE> m_thread{nullptr};
    std::atomic<HANDLE> m_quitEvent{nullptr};
    CMoment m_quitEventClosed;

    const DWORD m_loopThread = GetCurrentThreadId();

    PATCH_IMPORT(m_eventPatch, CreateEventW, [this](auto... arguments) {
        return MakeEvent(m_eventPatch.Original(arguments...));
    });
    PATCH_IMPORT(m_beginPatch, _beginthreadex,
                 [this](void* security, unsigned stack, auto entry, void* parameter, unsigned flags,
                        unsigned* id) {
                     return Begun(
                         m_beginPatch.Original(security, stack, entry, parameter, flags, id),
                         parameter);
                 });
    PATCH_IMPORT(m_setPatch, SetEvent, [this](HANDLE handle) {
        const bool isQuitEvent = handle && handle == m_quitEvent;
        if (isQuitEvent) {
            m_quitEventClosed.WaitAWhile();
            lateSets += m_quitEvent == nullptr ? 1 : 0;
        }
        return m_setPatch.Original(handle);
    });
    PATCH_IMPORT(m_waitPatch, WaitForSingleObject, [this](HANDLE handle, DWORD timeout) {
        if (timeout == INFINITE && handle && handle == m_thread && threadCloses > 0) {
            ++lateThreadWaits;
        }
        return m_waitPatch.Original(handle, timeout);
    });
    // Widens the moment between the work thread's closing of its handle and its last line; a
    // va_list is a char*.
    const CImportPatch<int(const wchar_t*, char*)> m_formatPatch{
        "_vscwprintf", [this](const wchar_t* text, char* arguments) {
            if (GetCurrentThreadId() != m_loopThread) {
                WaitForWrongEnd();
            }
            return m_formatPatch.Original(text, arguments);
        }};
    PATCH_IMPORT(m_closePatch, CloseHandle, [this](HANDLE handle) {
        return IsClosedNow(handle) ? m_closePatch.Original(handle) : TRUE;
    });
};

struct Plan {
    Stop stop;
    int turnsBeforeStop;
    int linesOfWork;
    int turnsBetweenLines;
};

class CWorker {
  public:
    explicit CWorker(const Plan& plan) : m_plan(plan) {}

    // As the export does: from the host's making to the logger's end. Answers how often the work
    // function logged.
    int RunOnce(CHandleWatch& watch, const std::wstring& logPath) {
        ZorLog::InitLogger(logPath.c_str(), L"E");
        const auto host = std::make_shared<CTestedProcess>();
        watch.worker = static_cast<CMsgLoopProcess*>(host.get());
        host->Init(L"--entry=race", [this, host = host.get()] { Work(*host); });
        std::thread stopper([this, host] { Stop(*host); });
        host->Run();
        ZorLog::ShutdownLogger();
        watch.hasReturned.Come();
        EXPECT_TRUE(watch.WaitForThread());
        stopper.join();
        return m_linesLogged;
    }

  private:
    void Work(CTestedProcess& host) {
        for (int line = 0; line < m_plan.linesOfWork; ++line) {
            LOG_INFO(L"line of work");
            ++m_linesLogged;
            PassTurns(m_plan.turnsBetweenLines);
            if (host.WaitQuit(0)) {
                break;
            }
        }
        if (m_plan.stop != Stop::kWorkReturns) {
            host.WaitQuit(INFINITE);
        }
    }

    void Stop(CTestedProcess& host) const {
        EXPECT_TRUE(host.created.Wait());
        PassTurns(m_plan.turnsBeforeStop);
        COPYDATASTRUCT stop{kCopyDataStop, 0, nullptr};
        switch (m_plan.stop) {
            case Stop::kMessage:
                SendMessageW(host.Window(), WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&stop));
                break;
            case Stop::kClose:
                PostMessageW(host.Window(), WM_CLOSE, 0, 0);
                break;
            default:
                host.Quit();
                break;
        }
        // A host that is ending may be told so again, at any moment.
        PassTurns(m_plan.turnsBetweenLines);
        host.Quit();
    }

    const Plan m_plan;
    std::atomic<int> m_linesLogged{0};
};

int CountOf(const std::string& text, const std::string& part) {
    int count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

}  // namespace

TEST(MsgLoopProcessRace, EndsInOrderAtWhateverMomentAndInWhateverWayItIsStopped) {
    CTempFolder folder;
    CHandleWatch watch;
    CLogFiles files;
    std::mt19937 random(20240229);
    const auto pick = [&](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    ZorLog::ShutdownLogger();
    for (int number = 0; number < kWorkers; ++number) {
        const Plan plan{static_cast<Stop>(number % static_cast<int>(Stop::kCount)), pick(kMaxTurns),
                        pick(4), pick(kMaxTurns / 4)};
        SCOPED_TRACE(std::string("worker ") + std::to_string(number) + ", " + NameOf(plan.stop));
        const std::wstring logPath = folder.PathOf(L"worker" + std::to_wstring(number) + L".log");
        watch.Reset();
        CWorker worker(plan);
        const int linesOfWork = worker.RunOnce(watch, logPath);
        const std::string log = ReadFileBytes(logPath);
        files.CloseAll();
        _wremove(logPath.c_str());
        ASSERT_EQ(CountOf(log, "line of work"), linesOfWork);
        ASSERT_EQ(CountOf(log, "WorkThreadFun process quit."), 1) << log;
        ASSERT_EQ(CountOf(log, "CMsgLoopProcess OnClose."), 1);
        ASSERT_EQ(CountOf(log, "CMsgLoopThread quit msg loop."), 1);
        ASSERT_TRUE(log.ends_with("CMsgLoopThread quit msg loop.\r\n")) << log;
        ASSERT_EQ(watch.threadCloses, 1);
        ASSERT_EQ(watch.lateThreadWaits, 0);
        ASSERT_EQ(watch.lateSets, 0);
    }
    watch.Reset();
}
