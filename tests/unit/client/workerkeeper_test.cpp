#include "client/workerkeeper.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/logfile.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/client/workerrun.h"

namespace zorvane {
namespace {

using namespace std::chrono_literals;

// A folder of a library that has a log.
class CLogFolder {
  public:
    std::wstring Library() const { return m_folder.PathOf(L"Zorvane.dll"); }

    void WriteLog(DWORD workerId, const std::vector<std::string>& lines) const {
        CreateDirectoryW(m_folder.PathOf(L"Log").c_str(), nullptr);
        std::string text;
        for (const std::string& line : lines) {
            text += LoggedLine(workerId, line);
        }
        WriteFileBytes(m_folder.PathOf(L"Log\\Qorvella_HardwareDll.log"), text);
    }

  private:
    CTempFolder m_folder;
};

class WorkerKeeperTest : public CWorkerRunTest<SessionEvent> {
  protected:
    void Start(const std::vector<std::wstring>& script) {
        m_options.worker = FakeWorker(script);
        m_options.worker.libraryPath = m_libraryPath;
        m_keeper = std::make_unique<CWorkerKeeper>(
            m_options,
            [this](SessionEvent&& event) {
                m_events.push_back(std::move(event));
                if (m_onEvent) {
                    m_onEvent(m_events.back().body);
                }
            },
            [this] { return m_now; });
        m_keeper->Start();
    }

    void OnTime(Moment now) override { m_keeper->OnTime(now); }

    // As Pass, for a worker that gives readings without an end.
    void PassWhileItSpeaks(int seconds) {
        for (int i = 0; i < seconds; ++i) {
            ASSERT_TRUE(WaitFor<GpuReading>(All<GpuReading>().size() + 2));
            Pass(1);
        }
    }

    // As Pass, for a worker that sends anything without an end.
    void PassWhileMessagesCome(int seconds) {
        for (int i = 0; i < seconds; ++i) {
            // Asked once before the first message.
            int asked = 0;
            ASSERT_TRUE(PumpUntil([&] { return ++asked > 3; }));
            Pass(1);
        }
    }

    bool EndsWith(SessionEnd reason) {
        return WaitFor<EndEvent>() && All<EndEvent>()[0].reason == reason &&
               std::holds_alternative<EndEvent>(m_events.back().body) && !m_keeper->IsActive() &&
               !m_keeper->DueTick();
    }

    KeeperOptions m_options;
    std::wstring m_libraryPath;
    std::function<void(const SessionEventBody& body)> m_onEvent;
    std::unique_ptr<CWorkerKeeper> m_keeper;
};

TEST_F(WorkerKeeperTest, TellsWhatAWorkerReportsAndItsEnd) {
    Start({L"hello", L"static:0", L"gpu:0", L"cpu:{\"CpuTemp\":47}"});
    ASSERT_TRUE(WaitFor<CpuTemperature>());
    m_keeper->Stop();
    ASSERT_TRUE(EndsWith(SessionEnd::kStopped));
    ASSERT_EQ(m_events.size(), 8u);
    EXPECT_EQ(std::get<WorkerStartEvent>(m_events[0].body).workerId,
              std::get<HelloEvent>(m_events[1].body).workerId);
    EXPECT_EQ(m_events[1].time, TimeOfTest());
    EXPECT_EQ(std::get<StopStepEvent>(m_events[5].body).step, StopStep::kAsked);
    EXPECT_TRUE(std::get<ExitEvent>(m_events[6].body).exit.asked);
}

TEST_F(WorkerKeeperTest, TellsAFurtherHelloToNobody) {
    Start({L"hello", L"hello", L"gpu:0"});
    ASSERT_TRUE(WaitFor<GpuReading>());
    EXPECT_EQ(All<HelloEvent>().size(), 1u);
}

TEST_F(WorkerKeeperTest, TellsWhyAWorkerCannotBeStarted) {
    m_options.worker.host = L"Z:\\missing.exe";
    m_keeper = std::make_unique<CWorkerKeeper>(
        m_options, [this](SessionEvent&& event) { m_events.push_back(std::move(event)); });
    m_keeper->Start();
    ASSERT_EQ(All<StartFailedEvent>().size(), 1u);
    EXPECT_EQ(All<StartFailedEvent>()[0].error.code, DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_TRUE(EndsWith(SessionEnd::kNotStarted));
}

TEST_F(WorkerKeeperTest, StartsACrashedWorkerAgainAfterAPauseThatGrows) {
    Start({L"hello", L"crash"});
    ASSERT_TRUE(WaitFor<ExitEvent>());
    EXPECT_EQ(All<ExitEvent>()[0].restartIn, 1s);
    Pass(1);
    ASSERT_TRUE(WaitFor<ExitEvent>(2));
    EXPECT_EQ(All<ExitEvent>()[1].restartIn, 2s);
    EXPECT_EQ(m_keeper->DueTick(), m_now.tick + 2s);
    m_keeper->Stop();
    EXPECT_TRUE(EndsWith(SessionEnd::kStopped));
}

TEST_F(WorkerKeeperTest, LeavesACrashedWorkerWhereNoRestartIsWanted) {
    m_options.restart = false;
    Start({L"hello", L"crash"});
    EXPECT_TRUE(EndsWith(SessionEnd::kWorkerEnded));
}

TEST_F(WorkerKeeperTest, TellsAHostThatReportsAFailure) {
    Start({L"exit:2"});
    EXPECT_TRUE(EndsWith(SessionEnd::kNotStarted));
    EXPECT_FALSE(All<ExitEvent>()[0].restartIn);
}

TEST_F(WorkerKeeperTest, SaysThatNothingCouldBeRead) {
    Start({L"hello", L"exit:0"});
    ASSERT_TRUE(EndsWith(SessionEnd::kWorkerEnded));
    EXPECT_EQ(All<NoticeEvent>()[0].id, "worker.nothing_read");
}

TEST_F(WorkerKeeperTest, TellsASilenceAndItsEnd) {
    Start({L"hello", L"gpu:0", L"gpu:0"});
    ASSERT_TRUE(WaitFor<GpuReading>(2));
    Pass(4);
    EXPECT_TRUE(All<StaleEvent>().empty());
    Pass(1);
    ASSERT_EQ(All<StaleEvent>().size(), 1u);
    EXPECT_EQ(All<StaleEvent>()[0].since, TimeOfTest());
}

TEST_F(WorkerKeeperTest, EndsASilentWorkerAndStartsItAgain) {
    m_options.stop = {20ms, 20ms};
    Start({L"deaf", L"blind", L"hello", L"gpu:0"});
    ASSERT_TRUE(WaitFor<GpuReading>());
    Pass(30);
    ASSERT_TRUE(WaitFor<ExitEvent>());
    EXPECT_EQ(All<NoticeEvent>()[0].id, "worker.given_up");
    EXPECT_TRUE(All<ExitEvent>()[0].exit.forced);
    EXPECT_EQ(All<ExitEvent>()[0].restartIn, 1s);
    Pass(1);
    EXPECT_EQ(All<WorkerStartEvent>().size(), 2u);
}

TEST_F(WorkerKeeperTest, GivesUpASilentWorkerThatIsNotToBeStartedAgain) {
    m_options.stop = {20ms, 20ms};
    m_options.restart = false;
    Start({L"deaf", L"blind"});
    Pass(30);
    EXPECT_TRUE(EndsWith(SessionEnd::kWorkerEnded));
}

TEST_F(WorkerKeeperTest, KeepsAWorkerWhosePayloadsNobodyUnderstands) {
    Start({L"hello", L"bytes:999:1", L"repeat:1"});
    PassWhileMessagesCome(35);
    EXPECT_EQ(All<StaleEvent>().size(), 1u);
    EXPECT_TRUE(All<NoticeEvent>().empty());
}

TEST_F(WorkerKeeperTest, GivesAWorkerUpInWhoseNameOthersSend) {
    const std::wstring window = std::to_wstring(HandleToLong(GetDesktopWindow()));
    Start({L"hello", L"sender:" + window, L"repeat:1"});
    PassWhileMessagesCome(30);
    ASSERT_FALSE(All<ErrorEvent>().empty());
    EXPECT_EQ(All<ErrorEvent>()[0].error.fault, PayloadFault::kForeignSender);
    ASSERT_TRUE(WaitFor<ExitEvent>());
    EXPECT_EQ(All<NoticeEvent>()[0].id, "worker.given_up");
}

TEST_F(WorkerKeeperTest, RunsNoWorkerWhilePaused) {
    Start({L"hello"});
    ASSERT_TRUE(WaitFor<HelloEvent>());
    m_keeper->Pause();
    m_keeper->Pause();
    ASSERT_TRUE(WaitFor<PausedEvent>());
    EXPECT_EQ(All<ExitEvent>()[0].exit.code, 0u);
    EXPECT_EQ(All<StopStepEvent>().size(), 1u);
    EXPECT_FALSE(m_keeper->DueTick());
    Pass(60);
    EXPECT_TRUE(All<StaleEvent>().empty());
    m_keeper->Resume();
    ASSERT_TRUE(WaitFor<HelloEvent>(2));
    EXPECT_EQ(All<PausedEvent>().size(), 1u);
    EXPECT_EQ(All<ResumedEvent>().size(), 1u);
}

TEST_F(WorkerKeeperTest, StartsAWorkerWhenItIsResumedBeforeTheOneBeforeHasEnded) {
    Start({L"hello"});
    ASSERT_TRUE(WaitFor<HelloEvent>());
    m_keeper->Pause();
    m_keeper->Resume();
    ASSERT_TRUE(WaitFor<ExitEvent>());
    EXPECT_EQ(All<ExitEvent>()[0].restartIn, 0s);
    EXPECT_EQ(m_keeper->DueTick(), m_now.tick);
    m_keeper->OnTime(m_now);
    ASSERT_TRUE(WaitFor<HelloEvent>(2));
    EXPECT_TRUE(All<PausedEvent>().empty());
}

TEST_F(WorkerKeeperTest, StartsNoCrashedWorkerAgainWhilePaused) {
    Start({L"hello", L"crash"});
    ASSERT_TRUE(WaitFor<ExitEvent>());
    m_keeper->Pause();
    EXPECT_EQ(All<PausedEvent>().size(), 1u);
    Pass(5);
    EXPECT_EQ(All<WorkerStartEvent>().size(), 1u);
    m_keeper->Resume();
    EXPECT_EQ(All<WorkerStartEvent>().size(), 2u);
}

TEST_F(WorkerKeeperTest, PressesAWorkerThatEndsForAPauseOnlyWhenStoppedTwice) {
    m_options.stop = {60s, 60s};
    Start({L"deaf", L"blind", L"hello"});
    ASSERT_TRUE(WaitFor<HelloEvent>());
    m_keeper->Pause();
    m_keeper->Stop();
    EXPECT_EQ(All<StopStepEvent>().size(), 1u);
    m_keeper->Stop();
    EXPECT_EQ(All<StopStepEvent>().size(), 2u);
    m_keeper->Stop();
    EXPECT_TRUE(EndsWith(SessionEnd::kStopped));
    EXPECT_TRUE(All<ExitEvent>()[0].exit.forced);
}

TEST_F(WorkerKeeperTest, EndsAtOnceWhenItIsStoppedWhilePaused) {
    Start({L"hello"});
    ASSERT_TRUE(WaitFor<HelloEvent>());
    m_keeper->Pause();
    ASSERT_TRUE(WaitFor<PausedEvent>());
    m_keeper->Stop();
    EXPECT_TRUE(EndsWith(SessionEnd::kStopped));
}

TEST_F(WorkerKeeperTest, StartsItsFirstWorkerAtResumeWhenItIsStartedPaused) {
    m_options.worker = FakeWorker({L"hello"});
    m_keeper = std::make_unique<CWorkerKeeper>(
        m_options, [this](SessionEvent&& event) { m_events.push_back(std::move(event)); });
    m_keeper->StartPaused();
    ASSERT_EQ(m_events.size(), 1u);
    EXPECT_TRUE(std::holds_alternative<PausedEvent>(m_events[0].body));
    EXPECT_TRUE(m_keeper->IsActive());
    EXPECT_FALSE(m_keeper->DueTick());
    m_keeper->Resume();
    EXPECT_TRUE(WaitFor<HelloEvent>());
}

TEST_F(WorkerKeeperTest, TellsAnEndLastWhateverIsCalledFromInsideOfIt) {
    m_onEvent = [&](const SessionEventBody& body) {
        if (std::holds_alternative<ExitEvent>(body)) {
            m_keeper->Pause();
            m_keeper->Stop();
        }
    };
    Start({L"hello", L"crash"});
    EXPECT_TRUE(EndsWith(SessionEnd::kStopped));
    EXPECT_TRUE(All<PausedEvent>().empty());
}

TEST_F(WorkerKeeperTest, StartsAWorkerThatIsResumedFromInsideOfItsEnd) {
    m_onEvent = [&](const SessionEventBody& body) {
        if (std::holds_alternative<ExitEvent>(body)) {
            m_keeper->Resume();
        }
    };
    Start({L"hello"});
    ASSERT_TRUE(WaitFor<HelloEvent>());
    m_keeper->Pause();
    EXPECT_TRUE(WaitFor<HelloEvent>(2));
    EXPECT_TRUE(All<PausedEvent>().empty());
}

TEST_F(WorkerKeeperTest, ReplacesAWorkerInOrderThatHasReachedItsGreatestAge) {
    m_options.maxAge = 10s;
    Start({L"hello", L"gpu:0", L"repeat:1"});
    ASSERT_TRUE(WaitFor<GpuReading>());
    PassWhileItSpeaks(9);
    EXPECT_TRUE(All<NoticeEvent>().empty());
    PassWhileItSpeaks(1);
    ASSERT_TRUE(WaitFor<ExitEvent>());
    ASSERT_EQ(All<NoticeEvent>().size(), 1u);
    EXPECT_EQ(All<NoticeEvent>()[0].id, "worker.max_age");
    const ExitEvent exit = All<ExitEvent>()[0];
    EXPECT_EQ(exit.exit.kind, ExitKind::kOrderly);
    EXPECT_EQ(exit.restartIn, 0s);
    m_keeper->OnTime(m_now);
    ASSERT_TRUE(WaitFor<HelloEvent>(2));
    PassWhileItSpeaks(9);
    EXPECT_EQ(All<NoticeEvent>().size(), 1u);
}

// Its end is no failure, so --no-restart of a program does not concern it.
TEST_F(WorkerKeeperTest, ReplacesAnOldWorkerAlsoWhereNoRestartIsWanted) {
    m_options.maxAge = 1s;
    m_options.restart = false;
    Start({L"hello"});
    ASSERT_TRUE(WaitFor<HelloEvent>());
    Pass(1);
    ASSERT_TRUE(WaitFor<ExitEvent>());
    EXPECT_EQ(All<ExitEvent>()[0].restartIn, 0s);
}

TEST_F(WorkerKeeperTest, PausesInPlaceOfReplacingAnOldWorker) {
    m_options.maxAge = 1s;
    Start({L"hello"});
    ASSERT_TRUE(WaitFor<HelloEvent>());
    Pass(1);
    m_keeper->Pause();
    ASSERT_TRUE(WaitFor<PausedEvent>());
    EXPECT_FALSE(All<ExitEvent>()[0].restartIn);
    Pass(5);
    EXPECT_EQ(All<WorkerStartEvent>().size(), 1u);
}

TEST_F(WorkerKeeperTest, TellsWhyReadingsAreMissingFromTheLogOfItsWorker) {
    const CLogFolder folder;
    m_libraryPath = folder.Library();
    Start({L"hello"});
    ASSERT_TRUE(WaitFor<HelloEvent>());
    folder.WriteLog(All<WorkerStartEvent>()[0].workerId,
                    {"[I][  99][amdsdktask] User is not admin...",
                     "[I][  55][zorvaneprocess] add AmdSdkTask failed"});
    Pass(1);
    ASSERT_EQ(All<MissingEvent>().size(), 1u);
    EXPECT_EQ(All<MissingEvent>()[0].what, "cpu");
    EXPECT_EQ(All<MissingEvent>()[0].id, "amd.not_admin");
    EXPECT_NE(All<MissingEvent>()[0].remedy, "");
    Pass(1);
    EXPECT_EQ(All<MissingEvent>().size(), 1u);
}

TEST_F(WorkerKeeperTest, TellsWithASilenceThatTheLogWillNotExplainIt) {
    const CLogFolder folder;
    m_libraryPath = folder.Library();
    Start({L"hello", L"gpu:0", L"gpu:0"});
    ASSERT_TRUE(WaitFor<GpuReading>(2));
    folder.WriteLog(All<WorkerStartEvent>()[0].workerId, {"-------log off"});
    Pass(4);
    EXPECT_TRUE(All<MissingEvent>().empty());
    Pass(1);
    ASSERT_EQ(All<MissingEvent>().size(), 1u);
    EXPECT_EQ(All<MissingEvent>()[0].id, "log.off");
}

TEST_F(WorkerKeeperTest, TellsALostGpuBetweenItsReadings) {
    Start({L"hello", L"gpu:1", L"unread:1", L"gpu:1"});
    ASSERT_TRUE(WaitFor<GpuReading>(3));
    ASSERT_EQ(All<GpuLostEvent>().size(), 1u);
    EXPECT_EQ(All<GpuLostEvent>()[0].gpu.index, 1u);
    EXPECT_FALSE(All<GpuReading>()[1].gpuUtilizationPercent);
    EXPECT_EQ(All<GpuBackEvent>().size(), 1u);
}

TEST_F(WorkerKeeperTest, TellsThatTheCpuTemperatureIsNoLongerReportedWhileTheGpusGoOn) {
    Start({L"hello", L"cpu:{\"CpuTemp\":47}", L"gpu:0", L"gpu:0", L"gpu:0", L"gpu:0", L"gpu:0"});
    ASSERT_TRUE(WaitFor<MissingEvent>());
    EXPECT_EQ(All<MissingEvent>()[0].id, "cpu.stopped");
    const auto missing = std::find_if(
        m_events.begin(), m_events.end(),
        [](const SessionEvent& event) { return std::holds_alternative<MissingEvent>(event.body); });
    // One round with it, and three without.
    EXPECT_EQ(std::count_if(m_events.begin(), missing,
                            [](const SessionEvent& event) {
                                return std::holds_alternative<GpuReading>(event.body);
                            }),
              4);
}

TEST_F(WorkerKeeperTest, ForgetsTheCpuTemperatureOfTheWorkerBefore) {
    Start({L"hello", L"gpu:0", L"gpu:0", L"gpu:0", L"gpu:0", L"gpu:0", L"gpu:0",
           L"cpu:{\"CpuTemp\":47}", L"gpu:0", L"gpu:0", L"crash"});
    ASSERT_TRUE(WaitFor<ExitEvent>());
    Pass(1);
    ASSERT_TRUE(WaitFor<CpuTemperature>(2));
    EXPECT_TRUE(All<MissingEvent>().empty());
}

TEST_F(WorkerKeeperTest, CanBeStartedAgainFromItsLastEvent) {
    int ends = 0;
    m_onEvent = [&](const SessionEventBody& body) {
        if (std::holds_alternative<EndEvent>(body) && ++ends == 1) {
            m_keeper->Start();
        }
    };
    Start({L"hello"});
    ASSERT_TRUE(WaitFor<HelloEvent>());
    m_keeper->Stop();
    ASSERT_TRUE(WaitFor<HelloEvent>(2));
    EXPECT_TRUE(m_keeper->IsActive());
    m_keeper->Stop();
    EXPECT_TRUE(WaitFor<EndEvent>(2));
}

TEST_F(WorkerKeeperTest, IsStartedOnceAndResumedOnlyWhilePaused) {
    Start({L"hello"});
    m_keeper->Start();
    m_keeper->StartPaused();
    m_keeper->Resume();
    ASSERT_TRUE(WaitFor<HelloEvent>());
    m_keeper->Stop();
    m_keeper->Resume();
    m_keeper->Pause();
    EXPECT_TRUE(EndsWith(SessionEnd::kStopped));
    EXPECT_EQ(All<HelloEvent>().size(), 1u);
    EXPECT_TRUE(All<ResumedEvent>().empty());
    EXPECT_TRUE(All<PausedEvent>().empty());
}

TEST_F(WorkerKeeperTest, DoesNothingWithoutAStart) {
    m_options.worker = FakeWorker({});
    m_keeper = std::make_unique<CWorkerKeeper>(
        m_options, [this](SessionEvent&& event) { m_events.push_back(std::move(event)); });
    m_keeper->Stop();
    m_keeper->Pause();
    m_keeper->Resume();
    m_keeper->OnTime(m_now);
    EXPECT_TRUE(m_events.empty());
    EXPECT_FALSE(m_keeper->DueTick());
}

}  // namespace
}  // namespace zorvane
