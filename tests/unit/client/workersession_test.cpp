#include "client/workersession.h"

#include <gtest/gtest.h>

#include <atomic>

#include "base/messagewindow.h"
#include "tests/support/importpatch.h"
#include "tests/unit/client/fakeworker.h"

namespace zorvane {
namespace {

using namespace std::chrono_literals;
using Steps = std::vector<StopStep>;

// Records what a session reports.
class CRecorder : public IWorkerListener {
  public:
    void OnHello(const Hello& hello) override { hellos.push_back(hello); }
    void OnGpuStatic(const GpuStatic& fixed) override { statics.push_back(fixed); }
    void OnGpuReading(const GpuReading& reading) override { readings.push_back(reading); }
    void OnCpuTemperature(const CpuTemperature& value) override { cpus.push_back(value.celsius); }
    void OnCpuUnread() override { ++unreadCpus; }
    void OnPayloadError(const PayloadError& error) override { faults.push_back(error.fault); }
    void OnStopStep(StopStep step, const std::string& reason) override {
        steps.push_back(step);
        reasons.push_back(reason);
    }
    void OnExit(const WorkerExit& exit) override { exits.push_back(exit); }

    std::vector<Hello> hellos;
    std::vector<GpuStatic> statics;
    std::vector<GpuReading> readings;
    std::vector<int> cpus;
    int unreadCpus = 0;
    std::vector<PayloadFault> faults;
    Steps steps;
    std::vector<std::string> reasons;
    std::vector<WorkerExit> exits;
};

class WorkerSessionTest : public testing::Test {
  protected:
    // Grace times long enough for every healthy worker.
    static constexpr StopTimes kPatient{60s, 60s};
    static constexpr StopTimes kImpatient{50ms, 50ms};

    void Start(const std::vector<std::wstring>& script, const StopTimes& times = kPatient) {
        m_session = std::make_unique<CWorkerSession>(m_told, times);
        const auto error = m_session->Start(FakeWorker(script));
        ASSERT_FALSE(error) << Describe(*error);
    }

    bool WaitForHello() {
        return PumpUntil([this] { return !m_told.hellos.empty(); });
    }

    bool WaitForExit(size_t count = 1) {
        return PumpUntil([this, count] { return m_told.exits.size() == count; });
    }

    // A window of this process, and so none of the worker's.
    std::wstring OwnWindow() {
        EXPECT_FALSE(m_window.Create([](UINT, WPARAM, LPARAM) { return std::nullopt; }));
        return std::to_wstring(reinterpret_cast<uintptr_t>(m_window.Handle()));
    }

    CMessageWindow m_window;
    CRecorder m_told;
    std::unique_ptr<CWorkerSession> m_session;
};

TEST_F(WorkerSessionTest, TellsEverythingThatAWorkerSendsBeforeItsEnd) {
    Start({L"hello", L"static:0", L"gpu:1", L"cpu:{\"CpuTemp\":47}", L"exit:0"});
    ASSERT_TRUE(WaitForExit());
    ASSERT_EQ(m_told.hellos.size(), 1u);
    EXPECT_EQ(m_told.hellos[0].entry, L"test worker");
    ASSERT_EQ(m_told.statics.size(), 1u);
    EXPECT_EQ(m_told.statics[0].driverVersion, L"535.98");
    ASSERT_EQ(m_told.readings.size(), 1u);
    EXPECT_EQ(m_told.readings[0].name, L"Fake GPU 1");
    EXPECT_EQ(m_told.cpus, std::vector<int>{47});
    EXPECT_TRUE(m_told.faults.empty());
    EXPECT_EQ(m_told.exits[0].kind, ExitKind::kByItself);
    EXPECT_TRUE(m_told.exits[0].greeted);
    EXPECT_FALSE(m_told.exits[0].forced);
    EXPECT_FALSE(m_session->IsRunning());
}

TEST_F(WorkerSessionTest, SkipsBadPayloadsAndGoesOn) {
    Start({L"hello", L"bytes:3344:447", L"bytes:3344:449", L"bytes:77:1", L"rawcpu:x", L"cpu:x",
           L"bytes:3344:448", L"gpu:0", L"exit:0"});
    ASSERT_TRUE(WaitForExit());
    EXPECT_EQ(m_told.faults,
              (std::vector<PayloadFault>{PayloadFault::kWrongSize, PayloadFault::kWrongSize,
                                         PayloadFault::kUnknownCode, PayloadFault::kNotTerminated,
                                         PayloadFault::kBadText, PayloadFault::kBadRecord}));
    EXPECT_EQ(m_told.readings.size(), 1u);
}

TEST_F(WorkerSessionTest, EndsAWorkerInOrderByTheStopMessage) {
    Start({L"hello", L"blind"});
    ASSERT_TRUE(WaitForHello());
    m_session->Stop();
    ASSERT_TRUE(WaitForExit());
    EXPECT_EQ(m_told.exits[0].code, 0u);
    EXPECT_EQ(m_told.steps, Steps{StopStep::kAsked});
}

TEST_F(WorkerSessionTest, SendsTheStopMessageThatWasAskedForBeforeTheHello) {
    Start({L"blind", L"sleep:50", L"hello"});
    m_session->Stop();
    ASSERT_TRUE(WaitForExit());
    EXPECT_EQ(m_told.exits[0].code, 0u);
    EXPECT_EQ(m_told.steps, Steps{StopStep::kAsked});
}

TEST_F(WorkerSessionTest, TakesTheStubWindowFromAWorkerThatIgnoresTheStopMessage) {
    Start({L"deaf", L"hello"}, {50ms, 60s});
    ASSERT_TRUE(WaitForHello());
    m_session->Stop();
    ASSERT_TRUE(WaitForExit());
    EXPECT_EQ(m_told.exits[0].code, 0u);
    EXPECT_EQ(m_told.steps, (Steps{StopStep::kAsked, StopStep::kWindowTaken}));
    EXPECT_EQ(m_told.reasons[1], "no end within 50 ms");
}

TEST_F(WorkerSessionTest, EndsAWorkerByForceThatIgnoresEverything) {
    Start({L"deaf", L"blind", L"hello"}, kImpatient);
    ASSERT_TRUE(WaitForHello());
    m_session->Stop();
    ASSERT_TRUE(WaitForExit());
    EXPECT_TRUE(m_told.exits[0].forced);
    EXPECT_EQ(m_told.exits[0].code, CWorkerProcess::kTerminatedCode);
    EXPECT_EQ(DescribeExit(m_told.exits[0]), "was ended by force");
    EXPECT_EQ(m_told.steps, (Steps{StopStep::kAsked, StopStep::kWindowTaken, StopStep::kForced}));
}

TEST_F(WorkerSessionTest, SaysWhyAWorkerCannotBeEndedByForceAndTriesNothingElse) {
    Start({L"deaf", L"blind", L"hello"});
    ASSERT_TRUE(WaitForHello());
    {
        PATCH_IMPORT(denied, TerminateProcess, [](auto...) -> WINBOOL {
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
        for (int i = 0; i < 4; ++i) {
            m_session->Stop();
        }
    }
    ASSERT_EQ(m_told.steps, (Steps{StopStep::kAsked, StopStep::kWindowTaken, StopStep::kForced,
                                   StopStep::kForced}));
    EXPECT_TRUE(m_told.reasons[3].starts_with("TerminateProcess: ")) << m_told.reasons[3];
    EXPECT_TRUE(m_session->IsRunning());
    // Somebody else ends it in the end.
    const CUniqueHandle worker(OpenProcess(PROCESS_TERMINATE, FALSE, m_session->WorkerId()));
    ASSERT_TRUE(TerminateProcess(worker.get(), 7));
    ASSERT_TRUE(WaitForExit());
    EXPECT_FALSE(m_told.exits[0].forced);
    EXPECT_EQ(m_told.exits[0].code, 7u);
}

TEST_F(WorkerSessionTest, StartsNoWorkerWithoutItsWindows) {
    // The window that hears of the worker's end, and the stub's.
    for (const int failing : {1, 2}) {
        int windows = 0;
        PATCH_IMPORT(create, CreateWindowExW, [&](auto... arguments) -> HWND {
            if (++windows < failing) {
                return create.Original(arguments...);
            }
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        });
        CWorkerSession session(m_told, kPatient);
        const auto error = session.Start(FakeWorker({L"hello"}));
        ASSERT_TRUE(error) << failing;
        EXPECT_EQ(error->call, "CreateWindowExW") << failing;
        EXPECT_EQ(windows, failing);
        EXPECT_FALSE(session.IsRunning()) << failing;
    }
}

TEST_F(WorkerSessionTest, TakesTheNextStepAtOnceWhenAskedAgain) {
    Start({L"deaf", L"blind", L"hello"});
    ASSERT_TRUE(WaitForHello());
    for (int i = 0; i < 4; ++i) {
        m_session->Stop();
    }
    ASSERT_TRUE(WaitForExit());
    EXPECT_TRUE(m_told.exits[0].forced);
    EXPECT_EQ(m_told.steps, (Steps{StopStep::kAsked, StopStep::kWindowTaken, StopStep::kForced}));
}

TEST_F(WorkerSessionTest, TakesTheStubWindowAtOnceWhenTheStopMessageIsKeptFromTheWorker) {
    Start({L"hello"});
    ASSERT_TRUE(WaitForHello());
    PATCH_IMPORT(denied, SendMessageTimeoutW,
                 [](HWND, UINT, WPARAM, LPARAM, UINT, UINT, PDWORD_PTR) -> LRESULT {
                     SetLastError(ERROR_ACCESS_DENIED);
                     return 0;
                 });
    m_session->Stop();
    EXPECT_EQ(m_told.steps, (Steps{StopStep::kAsked, StopStep::kWindowTaken}));
    EXPECT_TRUE(m_told.reasons[1].starts_with("the worker has more rights than this program"));
    ASSERT_TRUE(WaitForExit());
    EXPECT_EQ(m_told.exits[0].code, 0u);
}

TEST_F(WorkerSessionTest, TakesTheStubWindowAtOnceWhenTheStopMessageCannotBeSent) {
    Start({L"hello"});
    ASSERT_TRUE(WaitForHello());
    PATCH_IMPORT(failing, SendMessageTimeoutW, [](auto...) -> LRESULT {
        SetLastError(ERROR_NOT_ENOUGH_QUOTA);
        return 0;
    });
    m_session->Stop();
    EXPECT_EQ(m_told.steps, (Steps{StopStep::kAsked, StopStep::kWindowTaken}));
    EXPECT_TRUE(m_told.reasons[1].starts_with("SendMessageTimeoutW: ")) << m_told.reasons[1];
    ASSERT_TRUE(WaitForExit());
}

TEST_F(WorkerSessionTest, WaitsOnWhenTheStopMessageTimesOut) {
    Start({L"hello"});
    ASSERT_TRUE(WaitForHello());
    PATCH_IMPORT(late, SendMessageTimeoutW,
                 [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT flags,
                     UINT timeoutMs, PDWORD_PTR result) -> LRESULT {
                     late.Original(window, message, wParam, lParam, flags, timeoutMs, result);
                     SetLastError(ERROR_TIMEOUT);
                     return 0;
                 });
    m_session->Stop();
    EXPECT_EQ(m_told.steps, Steps{StopStep::kAsked});
    ASSERT_TRUE(WaitForExit());
    EXPECT_EQ(m_told.steps, Steps{StopStep::kAsked});
}

// The library that the fake worker has loaded, not the path that was asked for. It has ended before
// its hello is handed out.
TEST_F(WorkerSessionTest, KnowsWhichLibraryTheWorkerHasLoaded) {
    WorkerCommand command = FakeWorker({L"hello", L"exit:0"});
    command.libraryPath = L"nowhere\\KERNEL32.dll";
    m_session = std::make_unique<CWorkerSession>(m_told, kPatient);
    ASSERT_FALSE(m_session->Start(command));
    EXPECT_EQ(m_session->LibraryPath(), L"");
    ASSERT_TRUE(WaitForExit());
    EXPECT_EQ(m_session->LibraryPath(), ModulePath(GetModuleHandleW(L"kernel32.dll")));
}

TEST_F(WorkerSessionTest, TellsThatAWorkerCrashed) {
    Start({L"hello", L"gpu:0", L"crash"});
    ASSERT_TRUE(WaitForExit());
    EXPECT_EQ(m_told.exits[0].kind, ExitKind::kCrash);
    EXPECT_EQ(DescribeExit(m_told.exits[0]), "crashed: access violation (0xC0000005)");
    EXPECT_EQ(m_told.readings.size(), 1u);
}

TEST_F(WorkerSessionTest, TellsAHostsFailureFromACrash) {
    Start({L"exit:3"});
    ASSERT_TRUE(WaitForExit());
    EXPECT_EQ(m_told.exits[0].kind, ExitKind::kHostFailure);
    EXPECT_FALSE(m_told.exits[0].greeted);
}

TEST_F(WorkerSessionTest, RefusesAHelloThatNamesAWindowOfAnotherProcess) {
    Start({L"hello:" + OwnWindow(), L"hello:0", L"gpu:0", L"sleep:60000"});
    ASSERT_TRUE(PumpUntil([this] { return !m_told.readings.empty(); }));
    EXPECT_TRUE(m_told.hellos.empty());
    EXPECT_EQ(m_told.faults, (std::vector<PayloadFault>{PayloadFault::kForeignWindow,
                                                        PayloadFault::kForeignWindow}));
}

TEST_F(WorkerSessionTest, TakesPayloadsOfAWrongSenderAndSaysSo) {
    Start({L"hello", L"sender:0", L"gpu:0", L"sender:" + OwnWindow(), L"gpu:0", L"exit:0"});
    ASSERT_TRUE(WaitForExit());
    EXPECT_EQ(m_told.readings.size(), 2u);
    EXPECT_EQ(m_told.faults, std::vector<PayloadFault>{PayloadFault::kForeignSender});
}

TEST_F(WorkerSessionTest, LooksUpWhoseWindowItIsOnlyForTheHello) {
    std::atomic<int> lookUps{0};
    PATCH_IMPORT(owner, GetWindowThreadProcessId, [&](HWND window, LPDWORD process) {
        ++lookUps;
        return owner.Original(window, process);
    });
    Start({L"hello", L"gpu:0", L"gpu:1", L"gpu:0", L"gpu:1", L"exit:0"});
    ASSERT_TRUE(WaitForExit());
    EXPECT_EQ(m_told.readings.size(), 4u);
    EXPECT_EQ(lookUps, 2) << "the hello's sender, and the window that it names";
}

TEST_F(WorkerSessionTest, StartsAgainFromWithinTheNewsOfTheEnd) {
    class CRestarter : public CRecorder {
      public:
        void OnExit(const WorkerExit& exit) override {
            CRecorder::OnExit(exit);
            if (exits.size() > 1) {
                return;
            }
            ASSERT_FALSE(session->Start(FakeWorker({L"hello", L"exit:7"})));
        }
        CWorkerSession* session = nullptr;
    };
    CRestarter told;
    CWorkerSession session(told, kPatient);
    told.session = &session;
    ASSERT_FALSE(session.Start(FakeWorker({L"hello", L"crash"})));
    ASSERT_TRUE(PumpUntil([&] { return told.exits.size() == 2; }));
    EXPECT_EQ(told.hellos.size(), 2u);
    EXPECT_EQ(told.exits[1].code, 7u);
    EXPECT_EQ(told.exits[0].kind, ExitKind::kCrash);
}

TEST_F(WorkerSessionTest, LeavesTheWorkerToEndInOrderWhenItIsDestroyed) {
    Start({L"deaf", L"hello"});
    ASSERT_TRUE(WaitForHello());
    const CUniqueHandle process(
        OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, m_session->WorkerId()));
    m_session.reset();
    ASSERT_EQ(WaitForSingleObject(process.get(), 30000), WAIT_OBJECT_0);
    DWORD code = 1;
    EXPECT_TRUE(GetExitCodeProcess(process.get(), &code));
    EXPECT_EQ(code, 0u);
}

TEST_F(WorkerSessionTest, TellsAWorkerThatWasAskedFromOneThatWasNot) {
    Start({L"hello", L"exit:0"});
    ASSERT_TRUE(WaitForExit());
    EXPECT_FALSE(m_told.exits[0].asked);
    EXPECT_EQ(m_told.exits[0].kind, ExitKind::kByItself);
    EXPECT_EQ(DescribeExit(m_told.exits[0]), "ended by itself (0)");
    Start({L"hello"});
    m_session->Stop();
    ASSERT_TRUE(WaitForExit(2));
    EXPECT_TRUE(m_told.exits[1].asked);
    EXPECT_EQ(m_told.exits[1].kind, ExitKind::kOrderly);
    EXPECT_EQ(DescribeExit(m_told.exits[1]), "ended in order (0)");
}

TEST_F(WorkerSessionTest, GivesEachStepItsOwnGraceWhenAListenerPressesOn) {
    class CImpatient : public CRecorder {
      public:
        void OnStopStep(StopStep step, const std::string& reason) override {
            CRecorder::OnStopStep(step, reason);
            if (step == StopStep::kAsked) {
                session->Stop();
            }
        }
        CWorkerSession* session = nullptr;
    };
    std::vector<UINT> graces;
    PATCH_IMPORT(timer, SetTimer, [&](HWND, UINT_PTR, UINT graceMs, TIMERPROC) -> UINT_PTR {
        graces.push_back(graceMs);
        return 1;
    });
    CImpatient told;
    CWorkerSession session(told, {11s, 22s});
    told.session = &session;
    ASSERT_FALSE(session.Start(FakeWorker({L"deaf", L"hello"})));
    ASSERT_TRUE(PumpUntil([&] { return !told.hellos.empty(); }));
    session.Stop();
    EXPECT_EQ(told.steps, (Steps{StopStep::kAsked, StopStep::kWindowTaken}));
    ASSERT_FALSE(graces.empty());
    EXPECT_EQ(graces.back(), 22000u);
    ASSERT_TRUE(PumpUntil([&] { return !told.exits.empty(); }));
}

TEST_F(WorkerSessionTest, StopsNothingWhenNoWorkerRuns) {
    CWorkerSession session(m_told);
    session.Stop();
    EXPECT_TRUE(m_told.steps.empty());
}

TEST_F(WorkerSessionTest, TellsNoTemperatureThatCannotBe) {
    Start({L"hello", LR"(cpu:{"CpuTemp":-2147483648})", L"rawcpu:x", LR"(cpu:{"CpuTemp":47})"});
    ASSERT_TRUE(PumpUntil([this] { return !m_told.cpus.empty(); }));
    EXPECT_EQ(m_told.cpus, std::vector<int>{47});
    EXPECT_EQ(m_told.faults, (std::vector<PayloadFault>{PayloadFault::kImplausible,
                                                        PayloadFault::kNotTerminated}));
    EXPECT_EQ(m_told.unreadCpus, 2);
}

}  // namespace
}  // namespace zorvane
