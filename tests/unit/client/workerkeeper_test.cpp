#include "client/workerkeeper.h"

#include <gtest/gtest.h>

#include "tests/unit/client/fakeworker.h"
#include "tests/unit/client/readings.h"

namespace zorvane {
namespace {

using namespace std::chrono_literals;

// Keeps a fake worker; the time is what the test says.
class WorkerKeeperTest : public testing::Test {
  protected:
    void Start(const std::vector<std::wstring>& script) {
        m_options.worker = FakeWorker(script);
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

    // Lets so many seconds pass, a step each.
    void Pass(int seconds) {
        for (int i = 0; i < seconds; ++i) {
            m_now.utc += 1s;
            m_now.tick += 1s;
            m_keeper->OnTime(m_now);
        }
    }

    template <typename T>
    std::vector<T> All() const {
        std::vector<T> result;
        for (const SessionEvent& event : m_events) {
            if (const auto* body = std::get_if<T>(&event.body)) {
                result.push_back(*body);
            }
        }
        return result;
    }

    template <typename T>
    bool WaitFor(size_t count = 1) {
        return PumpUntil([&] { return All<T>().size() >= count; });
    }

    bool EndsWith(SessionEnd reason) {
        return WaitFor<EndEvent>() && All<EndEvent>()[0].reason == reason &&
               std::holds_alternative<EndEvent>(m_events.back().body) && !m_keeper->IsActive() &&
               !m_keeper->DueTick();
    }

    Moment m_now{TimeOfTest(), 1000s};
    KeeperOptions m_options;
    std::function<void(const SessionEventBody& body)> m_onEvent;
    std::vector<SessionEvent> m_events;
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

TEST_F(WorkerKeeperTest, TellsAWorkerThatEndsByItself) {
    Start({L"hello", L"exit:0"});
    EXPECT_TRUE(EndsWith(SessionEnd::kWorkerEnded));
}

TEST_F(WorkerKeeperTest, TakesAWorkerForALiveOneWhoseOnlySourceSaysNonsense) {
    Start({L"hello", L"cpu:{\"CpuTemp\":999}", L"cpu:{\"CpuTemp\":999}"});
    EXPECT_TRUE(WaitFor<CpuUnreadEvent>(2));
    EXPECT_EQ(All<ErrorEvent>().size(), 1u);
}

TEST_F(WorkerKeeperTest, AnnouncesEveryStart) {
    int starts = 0;
    m_options.beforeStart = [&] {
        ++starts;
        EXPECT_TRUE(starts > 1 || m_events.empty());
    };
    Start({L"hello", L"crash"});
    ASSERT_TRUE(WaitFor<ExitEvent>());
    Pass(1);
    EXPECT_EQ(starts, 2);
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
