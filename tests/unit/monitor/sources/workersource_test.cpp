#include "monitor/sources/workersource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/importpatch.h"
#include "tests/unit/client/workerrun.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using namespace std::chrono_literals;

class WorkerSourceTest : public CWorkerRunTest<Event>, public IEventSink {
  protected:
    void Start(const std::vector<std::wstring>& script) {
        m_options.worker = FakeWorker(script);
        m_source = std::make_unique<CWorkerSource>(m_options, StartEvent(), [this] {
            ++m_payloads;
            return m_now;
        });
        m_source->Start(*this, m_now);
    }

    void OnTime(Moment now) override { m_source->OnTime(now); }

    // As Pass, for a worker that says everything again and again.
    void PassWhileItSpeaks(int seconds) {
        for (int i = 0; i < seconds; ++i) {
            const size_t before = m_payloads;
            ASSERT_TRUE(PumpUntil([&] { return m_payloads >= before + 4; }));
            Pass(1);
        }
    }

    void OnEvent(const Event& event) override { m_events.push_back(event); }

    /** Grows with every payload that came, whether or not it is told: each asks for the time. */
    size_t m_payloads = 0;
    WorkerSourceOptions m_options;
    std::unique_ptr<CWorkerSource> m_source;
};

TEST_F(WorkerSourceTest, BeginsWithWhereItComesFromAndWithItsWorker) {
    Start({L"hello"});
    ASSERT_TRUE(WaitFor<HelloEvent>());
    ASSERT_EQ(m_events.size(), 3u);
    EXPECT_TRUE(std::holds_alternative<StartEvent>(m_events[0].body));
    EXPECT_EQ(std::get<WorkerStartEvent>(m_events[1].body).workerId,
              std::get<HelloEvent>(m_events[2].body).workerId);
    EXPECT_EQ(m_events[2].time, TimeOfTest());
}

TEST_F(WorkerSourceTest, TellsAWorkersSilenceOnce) {
    Start({L"hello", L"gpu:0", L"gpu:0"});
    ASSERT_TRUE(WaitFor<GpuReading>(2));
    Pass(4);
    EXPECT_TRUE(All<StaleEvent>().empty());
    Pass(1);
    ASSERT_EQ(All<StaleEvent>().size(), 1u);
    EXPECT_EQ(All<StaleEvent>()[0].since, TimeOfTest());
    Pass(1);
    EXPECT_EQ(All<StaleEvent>().size(), 1u);
}

TEST_F(WorkerSourceTest, EndsASilentWorkerAndStartsItAgain) {
    m_options.stop = {20ms, 20ms};
    Start({L"deaf", L"blind", L"hello", L"gpu:0"});
    ASSERT_TRUE(WaitFor<GpuReading>());
    Pass(29);
    EXPECT_TRUE(All<NoticeEvent>().empty());
    Pass(1);
    ASSERT_TRUE(WaitFor<ExitEvent>());
    const ExitEvent exit = All<ExitEvent>()[0];
    EXPECT_TRUE(exit.exit.forced);
    EXPECT_EQ(exit.restartIn, 1s);
    EXPECT_EQ(All<NoticeEvent>()[0].id, "worker.given_up");
    EXPECT_EQ(m_source->DueTick(), m_now.tick + 1s);
    Pass(1);
    EXPECT_EQ(All<WorkerStartEvent>().size(), 2u);
}

TEST_F(WorkerSourceTest, TakesNoWorkerForSilentWhoseTemperatureCannotBe) {
    Start({L"hello", LR"(cpu:{"CpuTemp":-2147483648})", L"repeat:1"});
    PassWhileItSpeaks(40);
    EXPECT_GE(All<CpuUnreadEvent>().size(), 40u);
    EXPECT_TRUE(All<StaleEvent>().empty());
    EXPECT_TRUE(All<NoticeEvent>().empty());
}

// After a new start it would say the same.
TEST_F(WorkerSourceTest, GivesUpNoWorkerThatSpeaksThoughNothingOfItCanBeRead) {
    Start({L"hello", L"bytes:3344:440", L"repeat:1"});
    PassWhileItSpeaks(40);
    EXPECT_EQ(All<StaleEvent>().size(), 1u);
    EXPECT_TRUE(All<NoticeEvent>().empty());
}

TEST_F(WorkerSourceTest, GivesUpAHostThatNeverSaysHello) {
    m_options.stop = {20ms, 20ms};
    m_options.restart = false;
    Start({L"deaf", L"blind"});
    Pass(30);
    EXPECT_EQ(All<StaleEvent>().size(), 1u);
    ASSERT_TRUE(WaitFor<ExitEvent>());
    EXPECT_FALSE(All<ExitEvent>()[0].restartIn);
    EXPECT_EQ(m_source->End(), EndReason::kWorkerEnded);
}

TEST_F(WorkerSourceTest, TellsThatTheCpuTemperatureIsNoLongerReportedWhileTheGpusGoOn) {
    Start({L"hello", LR"(cpu:{"CpuTemp":47})", L"gpu:0", L"gpu:0", L"gpu:0", L"gpu:0", L"gpu:0",
           L"gpu:0"});
    ASSERT_TRUE(WaitFor<GpuReading>(6));
    ASSERT_EQ(All<MissingEvent>().size(), 1u);
    EXPECT_EQ(All<MissingEvent>()[0].id, "cpu.stopped");
    const auto missing = std::find_if(m_events.begin(), m_events.end(), [](const Event& event) {
        return std::holds_alternative<MissingEvent>(event.body);
    });
    // One round with it, and three without.
    EXPECT_EQ(std::count_if(m_events.begin(), missing,
                            [](const Event& event) {
                                return std::holds_alternative<GpuReading>(event.body);
                            }),
              4);
}

TEST_F(WorkerSourceTest, SaysThatItsWorkerHasMoreRightsAndSoDoesNotHearTheStopMessage) {
    Start({L"hello"});
    ASSERT_TRUE(WaitFor<HelloEvent>());
    PATCH_IMPORT(denied, SendMessageTimeoutW,
                 [](HWND, UINT, WPARAM, LPARAM, UINT, UINT, PDWORD_PTR) -> LRESULT {
                     SetLastError(ERROR_ACCESS_DENIED);
                     return 0;
                 });
    m_source->Stop();
    ASSERT_TRUE(WaitFor<NoticeEvent>());
    EXPECT_EQ(All<NoticeEvent>()[0].id, "worker.window_taken");
    EXPECT_THAT(All<NoticeEvent>()[0].text,
                testing::StartsWith("stopping the worker: the worker has more rights than this "
                                    "program, so Windows keeps the stop message from it"));
    ASSERT_TRUE(WaitFor<ExitEvent>());
}

TEST_F(WorkerSourceTest, TellsALostGpu) {
    Start({L"hello", L"gpu:0", L"unread:0"});
    ASSERT_TRUE(WaitFor<GpuLostEvent>());
    EXPECT_EQ(All<GpuLostEvent>()[0].gpu.index, 0u);
    EXPECT_EQ(All<GpuLostEvent>()[0].gpu.busId, "00000000:09:00.0");
}

TEST_F(WorkerSourceTest, TellsOneErrorOfAKindAMinute) {
    Start({L"hello", L"bytes:77:1", L"bytes:77:1", L"gpu:0"});
    ASSERT_TRUE(WaitFor<GpuReading>());
    EXPECT_EQ(All<ErrorEvent>().size(), 1u);
}

TEST_F(WorkerSourceTest, KnowsWhetherAnEndWasAskedFor) {
    Start({L"hello"});
    ASSERT_TRUE(WaitFor<HelloEvent>());
    m_source->Stop();
    ASSERT_TRUE(WaitFor<ExitEvent>());
    EXPECT_TRUE(All<ExitEvent>()[0].exit.asked);
    EXPECT_FALSE(m_source->DueTick());
    EXPECT_EQ(m_source->End(), EndReason::kWorkerEnded);

    m_events.clear();
    Start({L"hello", L"exit:0"});
    ASSERT_TRUE(WaitFor<ExitEvent>());
    EXPECT_FALSE(All<ExitEvent>()[0].exit.asked);
    EXPECT_EQ(All<NoticeEvent>()[0].id, "worker.nothing_read");
}

TEST_F(WorkerSourceTest, SaysThatAWorkerCannotBeStarted) {
    m_options.worker.host = L"Z:\\missing.exe";
    CWorkerSource source(m_options, StartEvent());
    source.Start(*this, m_now);
    ASSERT_EQ(All<NoticeEvent>().size(), 1u);
    EXPECT_EQ(All<NoticeEvent>()[0].id, "worker.not_started");
    EXPECT_THAT(All<NoticeEvent>()[0].text, testing::HasSubstr("missing.exe"));
    EXPECT_EQ(source.End(), EndReason::kNotStarted);
}

TEST_F(WorkerSourceTest, KnowsAHostThatReportsAFailureAlsoWhenItIsStoppedMeanwhile) {
    Start({L"exit:2"});
    m_source->Stop();
    ASSERT_TRUE(WaitFor<ExitEvent>());
    EXPECT_EQ(m_source->End(), EndReason::kNotStarted);
}

// Whether the computer runs on battery is what the test says.
class BatteryTest : public WorkerSourceTest {
  protected:
    BatteryTest() { m_options.pausesOnBattery = true; }

    BYTE m_line = 1;
    PATCH_IMPORT(m_power, GetSystemPowerStatus, [this](LPSYSTEM_POWER_STATUS status) -> WINBOOL {
        *status = {};
        status->ACLineStatus = m_line;
        return TRUE;
    });
};

TEST_F(BatteryTest, EndsItsWorkerInOrderUntilTheComputerIsOnMainsAgain) {
    Start({L"hello", L"gpu:0"});
    ASSERT_TRUE(WaitFor<GpuReading>());
    m_line = 0;
    Pass(5);
    ASSERT_TRUE(WaitFor<PausedEvent>());
    EXPECT_EQ(All<ExitEvent>()[0].exit.kind, ExitKind::kOrderly);
    EXPECT_EQ(m_source->DueTick(), m_now.tick + CBatteryWatch::kPause);
    Pass(60);
    EXPECT_TRUE(All<StaleEvent>().empty());
    EXPECT_EQ(All<WorkerStartEvent>().size(), 1u);
    m_line = 1;
    Pass(5);
    EXPECT_EQ(All<ResumedEvent>().size(), 1u);
    EXPECT_TRUE(WaitFor<HelloEvent>(2));
}

TEST_F(BatteryTest, StartsNoWorkerBeforeTheComputerIsOnMains) {
    m_line = 0;
    Start({L"hello"});
    EXPECT_EQ(All<PausedEvent>().size(), 1u);
    EXPECT_TRUE(All<WorkerStartEvent>().empty());
    EXPECT_FALSE(m_source->End());
    m_line = 1;
    Pass(5);
    EXPECT_TRUE(WaitFor<HelloEvent>());
}

TEST_F(BatteryTest, EndsAtOnceWhenItIsStoppedWhilePaused) {
    m_line = 0;
    Start({L"hello"});
    m_source->Stop();
    EXPECT_EQ(m_source->End(), EndReason::kWorkerEnded);
}

TEST_F(BatteryTest, MattersToNobodyWhoHasNotAskedForIt) {
    m_options.pausesOnBattery = false;
    m_line = 0;
    Start({L"hello"});
    EXPECT_TRUE(WaitFor<HelloEvent>());
    Pass(5);
    EXPECT_TRUE(All<PausedEvent>().empty());
}

TEST_F(WorkerSourceTest, StartsNothingAgainOnceItIsStopped) {
    Start({L"hello", L"crash"});
    ASSERT_TRUE(WaitFor<ExitEvent>());
    EXPECT_TRUE(m_source->DueTick());
    m_source->Stop();
    EXPECT_EQ(m_source->End(), EndReason::kWorkerEnded);
    EXPECT_FALSE(m_source->DueTick());
}

}  // namespace
}  // namespace zorvane
